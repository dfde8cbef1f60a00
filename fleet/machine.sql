-- Shows what is to be done on one machine and when it reported, by its host name or hardware UUID:
--
--     psql -d fleet -v machine=mac-00007 -f fleet/machine.sql

\set ON_ERROR_STOP on

SELECT host, machine, taken_at, access FROM report
WHERE machine IN (SELECT machine FROM report WHERE host = :'machine' OR machine::text = lower(:'machine'))
ORDER BY taken_at DESC LIMIT 10;

SELECT fix, category, bundle, vendor, cpu, created, path
FROM latest
WHERE to_do AND (host = :'machine' OR machine::text = lower(:'machine'))
ORDER BY fix, category, path;
