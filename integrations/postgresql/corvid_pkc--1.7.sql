\echo Use "CREATE EXTENSION corvid_pkc" to load this file. \quit

CREATE TYPE pkc_certificate_info AS (
  version integer,
  serial text,
  signature_algorithm text,
  issuer text,
  not_before timestamptz,
  not_after timestamptz,
  subject text,
  key_algorithm text,
  key_bits integer,
  key_id bytea,
  subject_key_id bytea,
  authority_key_id bytea,
  is_ca boolean,
  path_length integer,
  key_usage text[],
  key_usage_flags integer,
  extended_key_usage text[],
  sha1 bytea,
  sha256 bytea
);
COMMENT ON TYPE pkc_certificate_info IS 'what a certificate says; absent things are null';

CREATE FUNCTION pkc_info(certificate bytea) RETURNS pkc_certificate_info
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 300;

CREATE FUNCTION pkc_version(certificate bytea) RETURNS integer
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_serial(certificate bytea) RETURNS text
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_signature_algorithm(certificate bytea) RETURNS text
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_issuer(certificate bytea) RETURNS text
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_not_before(certificate bytea) RETURNS timestamptz
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_not_after(certificate bytea) RETURNS timestamptz
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_subject(certificate bytea) RETURNS text
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_key_algorithm(certificate bytea) RETURNS text
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_key_bits(certificate bytea) RETURNS integer
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_key_id(certificate bytea) RETURNS bytea
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_subject_key_id(certificate bytea) RETURNS bytea
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_authority_key_id(certificate bytea) RETURNS bytea
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_is_ca(certificate bytea) RETURNS boolean
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_path_length(certificate bytea) RETURNS integer
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_key_usage(certificate bytea) RETURNS text[]
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_key_usage_flags(certificate bytea) RETURNS integer
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_extended_key_usage(certificate bytea) RETURNS text[]
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
CREATE FUNCTION pkc_sha1(certificate bytea) RETURNS bytea
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;
CREATE FUNCTION pkc_sha256(certificate bytea) RETURNS bytea
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100;

CREATE FUNCTION pkc_names(certificate bytea, OUT kind text, OUT name text) RETURNS SETOF record
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 100 ROWS 5;
COMMENT ON FUNCTION pkc_names IS 'the alternative names of the subject';

CREATE FUNCTION pkc_valid_at(certificate bytea, at timestamptz) RETURNS boolean
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 50;
COMMENT ON FUNCTION pkc_valid_at IS 'whether the time lies in the validity period, ends included';

CREATE FUNCTION pkc_signed_by(certificate bytea, issuer bytea) RETURNS boolean
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 5000;
COMMENT ON FUNCTION pkc_signed_by IS
  'whether the issuer''s key verifies the signature; names and times are not looked at';

CREATE FUNCTION pkc_error(certificate bytea) RETURNS text
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 300;
COMMENT ON FUNCTION pkc_error IS 'why a function gives null for the certificate; null when none does';

CREATE FUNCTION pkc_library_version() RETURNS text
  AS 'MODULE_PATHNAME' LANGUAGE C STABLE PARALLEL SAFE;
