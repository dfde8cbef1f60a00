-- Shows which machines have a product, and where, by its name as the overview shows it:
--
--     psql -d fleet -v bundle='Old Writer.app' -f fleet/product.sql

\set ON_ERROR_STOP on

SELECT host, machine, taken_at::date AS reported, vendor, fix, cpu, created, path
FROM latest WHERE bundle = :'bundle'
ORDER BY host, machine, path;
