-- What a node has: its rows, and with them the texts, which it makes itself. The front end of all
-- nodes has the same table, partitioned.
CREATE TABLE certificate (
  sha256 bytea NOT NULL,
  der bytea NOT NULL,
  subject text GENERATED ALWAYS AS (pkc_subject(der)) STORED,
  issuer text GENERATED ALWAYS AS (pkc_issuer(der)) STORED,
  serial text GENERATED ALWAYS AS (pkc_serial(der)) STORED,
  not_after timestamptz GENERATED ALWAYS AS (pkc_not_after(der)) STORED,
  key_id bytea GENERATED ALWAYS AS (pkc_key_id(der)) STORED
)
