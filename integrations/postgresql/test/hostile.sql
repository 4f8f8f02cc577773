-- Damaged certificates, and what holds for every input: no function raises an error, and a null has
-- a reason. The values are stored compressed, or out of line.
CREATE TABLE hostile (original bytea, der bytea) WITH (toast_tuple_target = 128);
INSERT INTO hostile
  SELECT der, set_byte(der, n * 7919 % length(der), n * 31 % 256)
    FROM (SELECT der FROM certificate ORDER BY der LIMIT 20) c, generate_series(1, 150) n;
INSERT INTO hostile
  SELECT der, substr(der, 1, n * n) FROM certificate, generate_series(0, 36, 4) n
  UNION ALL SELECT der, der || der FROM certificate
  UNION ALL SELECT der, overlay(der placing '\x84ffffffff'::bytea from 2 for 3) FROM certificate
  UNION ALL SELECT der, der FROM certificate;

\echo enough rows of both kinds
SELECT count(*) > 3500, count(pkc_version(der)) > 1000, count(pkc_error(der)) > 800 FROM hostile;

\echo undecodable ones with an answer, or without a reason
SELECT sha256(der), pkc_error(der) FROM hostile
 WHERE pkc_version(der) IS NULL
   AND (pkc_error(der) !~ '^1\d\d\d .* at octet \d+' OR EXISTS (SELECT pkc_names(der))
        OR num_nonnulls(pkc_valid_at(der, 'epoch'), pkc_signed_by(original, der),
                        pkc_signed_by(der, original)) > 0);

\echo functions that differ from their column
SELECT sha256(der), pkc_info(der) FROM hostile
 WHERE (pkc_version(der), pkc_serial(der), pkc_signature_algorithm(der), pkc_issuer(der),
        pkc_not_before(der), pkc_not_after(der), pkc_subject(der), pkc_key_algorithm(der),
        pkc_key_bits(der), pkc_key_id(der), pkc_subject_key_id(der), pkc_authority_key_id(der),
        pkc_is_ca(der), pkc_path_length(der), pkc_key_usage(der), pkc_key_usage_flags(der),
        pkc_extended_key_usage(der), pkc_sha1(der), pkc_sha256(der))::text
       <> coalesce(pkc_info(der)::text, '(,,,,,,,,,,,,,,,,,,)');

\echo texts with octets that are no character, and names without text or reason
SELECT count(convert_from(convert_to(concat(i, n), 'UTF8'), 'UTF8')) > 3500
  FROM hostile, pkc_info(der) i LEFT JOIN LATERAL pkc_names(der) n ON true;
SELECT sha256(der) FROM hostile, pkc_names(der) WHERE name IS NULL AND pkc_error(der) IS NULL;

\echo the largest, and a larger one
SELECT pkc_error(der), num_nulls(pkc_serial(der), pkc_signed_by(der, der), pkc_valid_at(der, 'epoch'))
  FROM (SELECT convert_to(repeat('0', n), 'UTF8') der FROM unnest('{67108864,67108865}'::int[]) n) c;

\echo memory that more rounds over all rows have left
CREATE FUNCTION resident() RETURNS bigint LANGUAGE sql VOLATILE AS
  $$ SELECT split_part(pg_read_file('/proc/self/statm'), ' ', 2)::bigint * 4096 $$;
CREATE FUNCTION round() RETURNS bigint LANGUAGE sql VOLATILE AS
  $$ SELECT count(pkc_error(der)) + count(pkc_info(der)) + count(pkc_signed_by(der, original))
            + count((SELECT count(*) FROM pkc_names(der))) FROM hostile $$;
SELECT round() AS first \gset
SELECT resident() AS before \gset
SELECT round() + round() AS more \gset
SELECT CASE WHEN resident() - :before < 1048576 THEN 'little' ELSE (resident() - :before)::text END;
