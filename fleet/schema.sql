-- The database of many machines' reports: tables, one partition a week, and the settings that the
-- questions want. Run once in a new database, then views.sql:
--
--     createdb fleet && psql -d fleet -f fleet/schema.sql -f fleet/views.sql
--
-- What many machines have in common is held once, in component; found, by far the largest table, is four
-- numbers and a date a row. Weeks begin on Monday in UTC and are those of the reports' own times.

\set ON_ERROR_STOP on
BEGIN;

CREATE TABLE machine (
    uuid        uuid PRIMARY KEY,   -- the hardware's; stays when the machine is renamed or set up anew
    -- Set it for a machine that was given away: its reports up to then stay in the history, and the
    -- questions pass over it until it reports again.
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
    file        text NOT NULL,          -- its name when it was loaded, and what shows that it has changed
    stamp       text NOT NULL,
    loaded_at   timestamptz NOT NULL DEFAULT now(),
    expired     boolean NOT NULL DEFAULT false,     -- expire.sql has dropped what it found
    UNIQUE (machine, taken_at)
);

-- A row of a report without its date and count, which differ from machine to machine.
CREATE TABLE component (
    id          int GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
    digest      uuid NOT NULL UNIQUE,   -- of all fields; a path may be longer than an index entry
    category    text NOT NULL,
    bundle      text NOT NULL,
    vendor      text NOT NULL,
    fix         text NOT NULL,
    cpu         text NOT NULL,
    apple_signed boolean NOT NULL,
    path        text NOT NULL,
    path_bytes  bytea,                  -- where the path is no UTF-8, and path shows some bytes as \xNN
    path_digest uuid NOT NULL,
    to_do       boolean NOT NULL GENERATED ALWAYS AS (fix NOT IN ('Keep', 'Apple')) STORED
);
CREATE INDEX ON component USING hash (bundle);   -- A report may hold a name of any length.

-- No foreign keys, since checking them would double the time of a load, and only load.sql writes here.
CREATE TABLE found (
    week         date NOT NULL,
    report       int NOT NULL,
    component    int NOT NULL,
    legacy_count int NOT NULL,
    created      date,
    PRIMARY KEY (week, report, component)
) PARTITION BY RANGE (week);

-- What a report found, counted by fix. It stays when expire.sql has dropped the week's partition.
CREATE TABLE tally (
    report      int REFERENCES report,
    fix         text,
    components  int NOT NULL,
    files       bigint NOT NULL,
    to_do       boolean NOT NULL GENERATED ALWAYS AS (fix NOT IN ('Keep', 'Apple')) STORED,
    PRIMARY KEY (report, fix)
);

-- How a report differs from the same machine's report before it, by path, in what there is to do: a program
-- that became native is gone, one that was merely signed anew is neither. A first report differs in nothing.
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

-- Compiling a query takes longer than any of the questions.
DO $$ BEGIN
    EXECUTE format('ALTER DATABASE %I SET jit = off', current_database());
    EXECUTE format('ALTER DATABASE %I SET work_mem = %L', current_database(), '64MB');
END $$;

COMMIT;
