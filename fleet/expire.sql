-- Deletes the rows of old weeks. The reports and their counts stay, so the chart over the weeks does not
-- change. To keep half a year:
--
--     psql -d fleet -v weeks=26 -f fleet/expire.sql

\set ON_ERROR_STOP on
BEGIN;
LOCK TABLE report IN SHARE ROW EXCLUSIVE MODE;
SELECT date_trunc('week', now() AT TIME ZONE 'UTC')::date - 7 * :weeks AS first_kept \gset

UPDATE report SET expired = true WHERE week < :'first_kept' AND NOT expired;

DELETE FROM change USING report WHERE report.id = change.report AND report.expired;

SELECT format('DROP TABLE %I', relname)
FROM pg_inherits JOIN pg_class ON pg_class.oid = inhrelid
WHERE inhparent = 'found'::regclass AND to_date(relname, '"found_"YYYY_MM_DD') < :'first_kept'
ORDER BY relname \gexec
COMMIT;
