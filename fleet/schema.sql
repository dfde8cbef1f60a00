-- Creates the tables for the reports of many machines, and sets what makes the queries fast. Run it once in
-- a new database, and then views.sql:
--
--     createdb fleet && psql -d fleet -f fleet/schema.sql -f fleet/views.sql
--
-- A component that many machines have is stored once, so a row of found, by far the largest table, has only
-- small fields; it has one partition a week. Weeks begin on Monday in UTC, by the times in the reports.

\set ON_ERROR_STOP on
BEGIN;

CREATE TABLE machine (
    uuid        uuid PRIMARY KEY,   -- of the hardware, so it stays when the machine is renamed or set up anew
    -- Set this for a machine that was given away. Its earlier reports stay in the history, and queries
    -- leave the machine out until it reports again.
    retired_at  timestamptz
);

CREATE TABLE report (
    id          int GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
    machine     uuid NOT NULL REFERENCES machine,
    taken_at    timestamptz NOT NULL,   -- by the machine's clock, when the scan had ended
    week        date NOT NULL GENERATED ALWAYS AS
                    (date_trunc('week', taken_at AT TIME ZONE 'UTC')::date) STORED,
    host        text NOT NULL,
    access      text NOT NULL,          -- full, no-full-disk-access or not-root
    digest      uuid NOT NULL,          -- of the whole file
    file        text NOT NULL,          -- the file's name, and a stamp that tells whether the file has changed
    stamp       text NOT NULL,
    loaded_at   timestamptz NOT NULL DEFAULT now(),
    expired     boolean NOT NULL DEFAULT false,     -- expire.sql has deleted its rows
    UNIQUE (machine, taken_at)
);

-- A row of a report without date and count, as these differ from machine to machine.
CREATE TABLE component (
    id          int GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
    digest      uuid NOT NULL UNIQUE,   -- of all fields, as a path may be too long for an index
    category    text NOT NULL,
    bundle      text NOT NULL,
    vendor      text NOT NULL,
    fix         text NOT NULL,
    cpu         text NOT NULL,
    apple_signed boolean NOT NULL,
    path        text NOT NULL,
    path_bytes  bytea,                  -- only if it is not UTF-8; path then shows some bytes as \xNN
    path_digest uuid NOT NULL,
    to_do       boolean NOT NULL GENERATED ALWAYS AS (fix NOT IN ('Keep', 'Apple')) STORED
);
CREATE INDEX ON component USING hash (bundle);   -- A hash, as a name may be too long for an ordered index.

-- This table has no foreign keys: checking them would double the time of a load, and only load.sql
-- writes to it.
CREATE TABLE found (
    week         date NOT NULL,
    report       int NOT NULL,
    component    int NOT NULL,
    legacy_count int NOT NULL,
    created      date,
    PRIMARY KEY (week, report, component)
) PARTITION BY RANGE (week);

-- The components of each report, counted by fix. The counts stay when expire.sql deletes the rows.
CREATE TABLE tally (
    report      int REFERENCES report,
    fix         text,
    components  int NOT NULL,
    files       bigint NOT NULL,
    to_do       boolean NOT NULL GENERATED ALWAYS AS (fix NOT IN ('Keep', 'Apple')) STORED,
    PRIMARY KEY (report, fix)
);

-- The difference between a report and the machine's report before it, by path and only among what is to be
-- done: a program that became native is gone, and one that was only signed anew is neither gone nor new.
-- A machine's first report has no difference.
CREATE TABLE change (
    report      int REFERENCES report,
    component   int REFERENCES component,
    change      text NOT NULL,          -- gone or new
    PRIMARY KEY (report, component)
);

CREATE TABLE refused (
    file        text PRIMARY KEY,
    reason      text NOT NULL,
    refused_at  timestamptz NOT NULL DEFAULT now()
);

-- Without JIT, because compiling a query takes longer than running it.
DO $$ BEGIN
    EXECUTE format('ALTER DATABASE %I SET jit = off', current_database());
    EXECUTE format('ALTER DATABASE %I SET work_mem = %L', current_database(), '64MB');
END $$;

COMMIT;
