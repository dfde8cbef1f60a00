-- Machines with legacy code week by week, and how many of them each fix would help; one machine may need
-- several. weeks.gnuplot draws it.

\set ON_ERROR_STOP on

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
GROUP BY week ORDER BY week;
