-- Machines with legacy code week by week, and how many of them each fix would help; one machine may need
-- several. weeks.gnuplot draws it.

\set ON_ERROR_STOP on

SELECT week, machines, with_legacy_code, "Manual", brew, "MacPorts" FROM machines_by_week ORDER BY week;
