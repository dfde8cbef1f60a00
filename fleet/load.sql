-- Loads the output of fleet/read-reports, completely or not at all. fleet/load runs both; by hand:
--
--     fleet/read-reports FOLDER | psql -d fleet -f fleet/load.sql
--
-- A report is identified by its machine and its time, so loading it again changes nothing.

\set ON_ERROR_STOP on
SET client_encoding = 'UTF8';
SET client_min_messages = warning;
BEGIN;
LOCK TABLE report IN SHARE ROW EXCLUSIVE MODE; -- Loads wait for one another, but queries do not wait.
SET LOCAL work_mem = '256MB';

CREATE TEMPORARY TABLE incoming_found (
    report int, component int, created date, legacy_count int) ON COMMIT DROP;
CREATE TEMPORARY TABLE incoming_component (
    number int, digest uuid, category text, bundle text, vendor text, fix text, cpu text,
    apple_signed boolean, path text, path_bytes bytea, path_digest uuid) ON COMMIT DROP;
CREATE TEMPORARY TABLE incoming_refused (file text, reason text);
CREATE TEMPORARY TABLE incoming_report (
    number int, machine uuid, taken_at timestamptz, access text, host text, digest uuid, file text,
    stamp text, rows int) ON COMMIT DROP;

\copy incoming_found FROM pstdin
\copy incoming_component FROM pstdin
\copy incoming_refused FROM pstdin
\copy incoming_report FROM pstdin
ANALYZE incoming_found, incoming_component, incoming_report;

DO $$ BEGIN
    IF EXISTS (SELECT FROM incoming_report
               FULL JOIN (SELECT report AS number, count(*) AS rows FROM incoming_found GROUP BY 1) came
                   USING (number)
               WHERE incoming_report.rows IS DISTINCT FROM coalesce(came.rows, 0)) THEN
        RAISE EXCEPTION 'the reports were cut off on their way; nothing was loaded';
    END IF;
END $$;

INSERT INTO machine (uuid) SELECT DISTINCT machine FROM incoming_report ON CONFLICT DO NOTHING;

CREATE TEMPORARY TABLE new_report ON COMMIT DROP AS
WITH inserted AS (
    INSERT INTO report (machine, taken_at, host, access, digest, file, stamp)
    SELECT machine, taken_at, host, access, digest, file, stamp
    FROM incoming_report ORDER BY taken_at, number
    ON CONFLICT (machine, taken_at) DO NOTHING
    RETURNING *)
SELECT inserted.id, inserted.week, number FROM inserted
JOIN incoming_report USING (machine, taken_at, file);

-- Two machines may have the same identity, or a clock may have been set back. The report that was loaded
-- first stays.
INSERT INTO incoming_refused
SELECT incoming_report.file, 'is another report of the same machine and time as ' || report.file
FROM incoming_report JOIN report USING (machine, taken_at)
WHERE incoming_report.digest <> report.digest;

INSERT INTO component (digest, category, bundle, vendor, fix, cpu, apple_signed,
                       path, path_bytes, path_digest)
SELECT digest, category, bundle, vendor, fix, cpu, apple_signed, path, path_bytes, path_digest
FROM incoming_component
ON CONFLICT (digest) DO NOTHING;

-- A partition is made as a table and then attached, since CREATE TABLE ... PARTITION OF would keep all
-- queries waiting until the load has ended.
DO $$
DECLARE monday date; partition text;
BEGIN
    FOR monday IN SELECT DISTINCT week FROM new_report LOOP
        partition := 'found_' || to_char(monday, 'YYYY_MM_DD');
        CONTINUE WHEN to_regclass(partition) IS NOT NULL;
        EXECUTE format('CREATE TABLE %I (LIKE found INCLUDING ALL)', partition);
        EXECUTE format('ALTER TABLE found ATTACH PARTITION %I FOR VALUES FROM (%L) TO (%L)',
                       partition, monday, monday + 7);
    END LOOP;
END $$;

INSERT INTO found (week, report, component, legacy_count, created)
SELECT new_report.week, new_report.id, component.id, incoming_found.legacy_count, incoming_found.created
FROM incoming_found
JOIN new_report ON new_report.number = incoming_found.report
JOIN incoming_component ON incoming_component.number = incoming_found.component
JOIN component USING (digest)
ORDER BY new_report.week, new_report.id;

INSERT INTO tally (report, fix, components, files)
SELECT new_report.id, fix, count(*), sum(incoming_found.legacy_count)
FROM incoming_found
JOIN new_report ON new_report.number = incoming_found.report
JOIN incoming_component ON incoming_component.number = incoming_found.component
GROUP BY new_report.id, fix;

DO $$
DECLARE monday date;
BEGIN
    FOR monday IN SELECT DISTINCT week FROM new_report LOOP
        EXECUTE format('ANALYZE %I', 'found_' || to_char(monday, 'YYYY_MM_DD'));
    END LOOP;
END $$;
ANALYZE machine, report, component, tally, new_report;

-- Finds the differences from the report before. This concerns the new reports, and also a report before
-- which a late one has been loaded.
CREATE TEMPORARY TABLE pair ON COMMIT DROP AS
WITH affected AS (
    SELECT id FROM new_report
    UNION
    SELECT next.id FROM new_report JOIN report USING (id)
    CROSS JOIN LATERAL (SELECT id FROM report later
                        WHERE later.machine = report.machine AND later.taken_at > report.taken_at
                        ORDER BY taken_at LIMIT 1) next
)
SELECT report.id AS report, report.week, before.id AS before, before.week AS before_week
FROM affected JOIN report USING (id)
CROSS JOIN LATERAL (SELECT id, week, expired FROM report earlier
                    WHERE earlier.machine = report.machine AND earlier.taken_at < report.taken_at
                    ORDER BY taken_at DESC LIMIT 1) before
WHERE NOT report.expired AND NOT before.expired;
ANALYZE pair;

DELETE FROM change WHERE report IN (SELECT report FROM pair);

-- Components are compared first, since nearly all are unchanged; paths are compared for the others only.
WITH now AS (
    SELECT pair.report, found.component, true AS there
    FROM pair CROSS JOIN LATERAL (SELECT * FROM found WHERE found.week = pair.week
                                  AND found.report = pair.report OFFSET 0) found
), before AS (
    SELECT pair.report, found.component, true AS there
    FROM pair CROSS JOIN LATERAL (SELECT * FROM found WHERE found.week = pair.before_week
                                  AND found.report = pair.before OFFSET 0) found
), differing AS MATERIALIZED (
    SELECT report, id AS component, path_digest, CASE WHEN now.there THEN 'new' ELSE 'gone' END AS change
    FROM now FULL JOIN before USING (report, component)
    JOIN component ON component.id = component AND component.to_do
    WHERE now.there IS NULL OR before.there IS NULL
)
INSERT INTO change (report, component, change)
SELECT report, component, change FROM differing
WHERE (report, path_digest) NOT IN (
    SELECT report, path_digest FROM differing GROUP BY report, path_digest HAVING count(*) > 1);
ANALYZE change;

DELETE FROM refused WHERE file IN (SELECT file FROM incoming_report);
INSERT INTO refused (file, reason) SELECT file, reason FROM incoming_refused
ON CONFLICT (file) DO UPDATE SET reason = excluded.reason, refused_at = excluded.refused_at;

REFRESH MATERIALIZED VIEW latest_by_kind;
REFRESH MATERIALIZED VIEW latest_by_product;
REFRESH MATERIALIZED VIEW latest_by_vendor;
REFRESH MATERIALIZED VIEW machines_by_week;

SELECT count(*) AS loaded,
       (SELECT count(*) FROM incoming_report WHERE file NOT IN (SELECT file FROM incoming_refused))
           - count(*) AS already_there,
       (SELECT count(*) FROM incoming_refused) AS refused,
       (SELECT count(*) > 0 FROM incoming_refused) AS any_refused
FROM new_report \gset
COMMIT;

\echo reports loaded: :loaded, already there: :already_there, refused: :refused
\if :any_refused
SELECT file AS refused, reason FROM incoming_refused ORDER BY file;
\endif
