-- What the questions look at. Run after schema.sql, and again when this file has changed.

\set ON_ERROR_STOP on
BEGIN;

-- Each machine's latest report by the machine's own time: there is no common day.
CREATE OR REPLACE VIEW latest_report AS
SELECT report.*
FROM machine
CROSS JOIN LATERAL (SELECT * FROM report WHERE report.machine = machine.uuid
                    ORDER BY taken_at DESC LIMIT 1) report
WHERE machine.retired_at IS NULL OR report.taken_at > machine.retired_at;

-- The one before it, while it is kept. Without one, nothing that a machine has is "new".
CREATE OR REPLACE VIEW previous_report AS
SELECT report.*
FROM latest_report
CROSS JOIN LATERAL (SELECT * FROM report WHERE report.machine = latest_report.machine
                    AND report.taken_at < latest_report.taken_at
                    ORDER BY taken_at DESC LIMIT 1) report
WHERE NOT report.expired;

-- What the machines have, by their latest reports.
CREATE OR REPLACE VIEW latest AS
SELECT report.machine, report.host, report.taken_at, component.*, found.legacy_count, found.created
FROM latest_report report
JOIN found ON found.week = report.week AND found.report = report.id
JOIN component ON component.id = found.component;

-- What there was to do before and is not now ("gone"), or the other way round ("new"), by path: a program
-- that became native is gone, one that was merely signed anew is neither.
CREATE OR REPLACE VIEW change AS
WITH now AS (
    SELECT report.machine, component.path_digest, component.id AS component
    FROM latest_report report
    JOIN previous_report USING (machine)
    JOIN found ON found.week = report.week AND found.report = report.id
    JOIN component ON component.id = found.component
    WHERE component.to_do
), before AS (
    SELECT report.machine, component.path_digest, component.id AS component
    FROM previous_report report
    JOIN found ON found.week = report.week AND found.report = report.id
    JOIN component ON component.id = found.component
    WHERE component.to_do
)
SELECT machine, CASE WHEN now.component IS NULL THEN 'gone' ELSE 'new' END AS change,
       coalesce(now.component, before.component) AS component
FROM now FULL JOIN before USING (machine, path_digest)
WHERE now.component IS NULL OR before.component IS NULL;

-- The report that stands for a machine in a week: its last one up to the week's end, for at most four
-- weeks, so that holidays leave no gap and machines that are gone leave the count.
CREATE OR REPLACE VIEW weekly_report AS
SELECT shown.week::date AS week, report.machine, report.id AS report
FROM (SELECT *, lead(week) OVER (PARTITION BY machine ORDER BY taken_at) AS next_week FROM report) report
CROSS JOIN LATERAL generate_series(
    report.week,
    least(report.week + 21, report.next_week - 7,
          (SELECT date_trunc('week', max(taken_at) AT TIME ZONE 'UTC') FROM report)::date),
    interval '7 days') shown(week);

COMMIT;
