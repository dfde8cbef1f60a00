-- Creates the views that the queries use. Run it after schema.sql, and again whenever this file changes.

\set ON_ERROR_STOP on
SET client_min_messages = warning;
BEGIN;

-- Each machine's latest report by the machine's own time. Machines do not all report on the same day.
CREATE OR REPLACE VIEW latest_report AS
SELECT report.*
FROM machine
CROSS JOIN LATERAL (SELECT * FROM report WHERE report.machine = machine.uuid
                    ORDER BY taken_at DESC LIMIT 1) report
WHERE machine.retired_at IS NULL OR report.taken_at > machine.retired_at;

-- The components in the latest reports. OFFSET 0 makes the database look up each report in its own week;
-- without it, the planner may choose to read all weeks.
CREATE OR REPLACE VIEW latest AS
SELECT report.id AS report, report.machine, report.host, report.taken_at,
       component.*, found.legacy_count, found.created
FROM latest_report report
CROSS JOIN LATERAL (SELECT * FROM found WHERE found.week = report.week AND found.report = report.id
                    OFFSET 0) found
JOIN component ON component.id = found.component;

-- Counts of these. They are materialised, and refreshed by every load, since counting a million rows would
-- make each query slow.
DROP MATERIALIZED VIEW IF EXISTS latest_by_kind, latest_by_product, latest_by_vendor, machines_by_week;

CREATE MATERIALIZED VIEW latest_by_kind AS
SELECT fix, category, sum(components) AS components, count(*) AS machines
FROM (SELECT fix, category, report, count(*) AS components FROM latest GROUP BY fix, category, report) had
GROUP BY fix, category;

CREATE MATERIALIZED VIEW latest_by_product AS
WITH product AS (
    SELECT id, min(id) OVER (PARTITION BY bundle, vendor, fix) AS product FROM component WHERE to_do
), spread AS (
    SELECT product, count(*) AS components, count(DISTINCT report) AS machines
    FROM latest JOIN product USING (id) GROUP BY product
)
SELECT bundle, vendor, fix, spread.components, spread.machines
FROM spread JOIN component ON component.id = product;

CREATE MATERIALIZED VIEW latest_by_vendor AS
SELECT vendor, sum(components) AS components, count(*) AS machines
FROM (SELECT vendor, report, count(*) AS components FROM latest WHERE to_do GROUP BY vendor, report) had
GROUP BY vendor;

-- The differences between the latest reports and those before.
CREATE OR REPLACE VIEW latest_change AS
SELECT report.id AS report, report.machine, report.host, report.taken_at, change.change, component.*
FROM latest_report report
JOIN change ON change.report = report.id
JOIN component ON component.id = change.component;

-- The report that counts for a machine in a week: the last one before the end of the week, if it is at most
-- four weeks old. So a machine on holiday is still counted, and one that is gone is not.
CREATE OR REPLACE VIEW weekly_report AS
SELECT shown.week::date AS week, report.machine, report.id AS report
FROM (SELECT *, lead(week) OVER (PARTITION BY machine ORDER BY taken_at) AS next_week FROM report) report
CROSS JOIN LATERAL generate_series(
    report.week,
    least(report.week + 21, report.next_week - 7,
          (SELECT date_trunc('week', max(taken_at) AT TIME ZONE 'UTC') FROM report)::date),
    interval '7 days') shown(week);

-- The number of machines with legacy code in each week of the last year, and how many of them need each fix.
-- Refreshed by every load, as a late report may change any week.
CREATE MATERIALIZED VIEW machines_by_week AS
SELECT week, count(*) AS machines,
       count(*) FILTER (WHERE to_do) AS with_legacy_code,
       count(*) FILTER (WHERE "Manual") AS "Manual",
       count(*) FILTER (WHERE brew) AS brew,
       count(*) FILTER (WHERE "MacPorts") AS "MacPorts"
FROM weekly_report
LEFT JOIN (SELECT report, bool_or(to_do) AS to_do, bool_or(fix = 'Manual') AS "Manual",
                  bool_or(fix = 'brew') AS brew, bool_or(fix = 'MacPorts') AS "MacPorts"
           FROM tally GROUP BY report) needs USING (report)
WHERE week > current_date - 366
GROUP BY week;

COMMIT;
