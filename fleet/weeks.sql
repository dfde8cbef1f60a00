-- Machines with legacy code week by week, and how many of them each fix would help; one machine may need
-- several. weeks.gnuplot draws it.

\set ON_ERROR_STOP on

SELECT week,
       count(DISTINCT machine) AS machines,
       count(DISTINCT machine) FILTER (WHERE to_do) AS with_legacy_code,
       count(*) FILTER (WHERE fix = 'Manual') AS "Manual",
       count(*) FILTER (WHERE fix = 'brew') AS brew,
       count(*) FILTER (WHERE fix = 'MacPorts') AS "MacPorts"
FROM weekly_report LEFT JOIN tally USING (report)
WHERE week > current_date - 366
GROUP BY week ORDER BY week;
