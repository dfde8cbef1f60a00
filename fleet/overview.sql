-- Answers the questions that an administrator asks first. "To do" means every component that is neither
-- Apple's nor also available as an arm64 build.

\set ON_ERROR_STOP on
\pset null ''

\echo How far are we? Silent machines have not reported for 14 days and count with their latest report.
SELECT count(*) AS machines,
       count(*) FILTER (WHERE taken_at < now() - interval '14 days') AS silent,
       count(*) FILTER (WHERE components > 0) AS with_legacy_code,
       count(*) FILTER (WHERE components IS NULL) AS clean,
       sum(components) AS components, sum(files) AS files
FROM latest_report
CROSS JOIN LATERAL (SELECT sum(components) AS components, sum(files) AS files
                    FROM tally WHERE to_do AND tally.report = latest_report.id) tally;

\echo Which machines have most to do?
SELECT host, machine, taken_at::date AS reported, sum(components) AS components, sum(files) AS files
FROM latest_report JOIN tally ON tally.report = latest_report.id
WHERE to_do GROUP BY machine, host, taken_at
ORDER BY components DESC, files DESC, machine LIMIT 10;

\echo What is to be done?
SELECT fix, category, components, machines FROM latest_by_kind ORDER BY fix, components DESC;

\echo Which products are on most machines?
SELECT bundle, vendor, fix, components, machines FROM latest_by_product
ORDER BY machines DESC, bundle, vendor LIMIT 15;

\echo Whose are they?
SELECT vendor, components, machines FROM latest_by_vendor ORDER BY machines DESC, vendor LIMIT 15;

\echo What has changed from the report before to the latest, on machines that have both?
SELECT change, count(*) AS components, count(DISTINCT report) AS machines
FROM latest_change GROUP BY change ORDER BY change;

\echo What has come newly, on most machines?
SELECT bundle, vendor, path, count(*) AS machines
FROM latest_change WHERE change = 'new'
GROUP BY bundle, vendor, path ORDER BY machines DESC, path LIMIT 10;

\echo Which machines have not reported for 14 days?
SELECT host, machine, taken_at AS last_report FROM latest_report
WHERE taken_at < now() - interval '14 days' ORDER BY taken_at, machine LIMIT 20;

\echo Which machines could not look everywhere?
SELECT access, count(*) AS machines, (array_agg(host ORDER BY host))[1:5] AS among_them
FROM latest_report WHERE access <> 'full' GROUP BY access ORDER BY access;

\echo Which machines have had several names? Copied virtual machines have one identity, too.
SELECT machine, array_agg(DISTINCT host) AS hosts
FROM report WHERE taken_at > now() - interval '90 days'
GROUP BY machine HAVING count(DISTINCT host) > 1 ORDER BY machine LIMIT 20;

\echo Which files were refused?
SELECT file, reason, refused_at FROM refused
WHERE refused_at > now() - interval '14 days' ORDER BY file LIMIT 20;
