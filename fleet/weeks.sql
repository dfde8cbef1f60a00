-- Lists the number of machines with legacy code in each week, and how many of them need each fix; a machine
-- may need several. weeks.gnuplot draws the result.

\set ON_ERROR_STOP on

SELECT week, machines, with_legacy_code, "Manual", brew, "MacPorts" FROM machines_by_week ORDER BY week;
