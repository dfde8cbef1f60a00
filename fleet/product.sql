-- One product: which machines have it, wherever it lies there. By its name as the table shows it:
--
--     psql -d fleet -v bundle='Old Writer.app' -f fleet/product.sql

\set ON_ERROR_STOP on

SELECT host, machine, taken_at::date AS reported, vendor, fix, cpu, created, path
FROM latest WHERE bundle = :'bundle'
ORDER BY host, machine, path;
