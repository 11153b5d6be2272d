-- The ward collector's database: one row per message received from a tablet's `mvutil ship`.
-- Loaded by start.sh into the database tavro_logs.

CREATE TABLE IF NOT EXISTS log_entries (
    id          bigserial   PRIMARY KEY,
    host        text        NOT NULL,                -- HOSTNAME: the tablet
    app         text,                                -- APP-NAME: the program that logged
    procid      text,                                -- PROCID: its process id
    area        text,                                -- MSGID: the entry's area
    severity    smallint    NOT NULL,                -- 0 emergency ... 7 debug (E is 3, W 4, I 6, D 7)
    facility    smallint    NOT NULL,
    reported_at timestamptz NOT NULL,                -- TIMESTAMP: when the entry was written
    received_at timestamptz NOT NULL DEFAULT now(),  -- when the collector stored it
    -- The structured data as JSON: {"tavro@32473": {"thread": ..., "session": ..., "file": ...,
    -- "line": ..., "process": ..., "area": ..., "data": ...}, "origin": {"software": ...,
    -- "swversion": ...}}, names in lower case.
    fields      jsonb       NOT NULL DEFAULT '{}',
    message     text        NOT NULL                 -- the whole entry line as the tablet wrote it
);

-- The common question: one tablet, a time range.
CREATE INDEX IF NOT EXISTS log_entries_host_reported_at ON log_entries (host, reported_at);
