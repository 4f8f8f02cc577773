-- The answers for certificates that are well made; openssl's own words on them stand beside them.
\pset null (null)
SELECT kind, name FROM certificate, pkc_names(der) WHERE pkc_subject(der) = 'cn=rsa,o=Example';
SELECT version, signature_algorithm, issuer, subject, key_algorithm, key_bits, is_ca, path_length,
       key_usage, key_usage_flags, extended_key_usage
  FROM certificate, pkc_info(der)
 WHERE issuer = 'cn=CA,o=Example' OR subject LIKE 'cn=홍길동%' ORDER BY subject COLLATE "C";

\echo who has signed what; EC keys are not verified
WITH made AS (SELECT der, pkc_subject(der) subject FROM certificate
               WHERE pkc_subject(der) ~ '^cn=(CA|rsa|ec|self)(,o=Example)?$')
SELECT c.subject, i.subject, pkc_signed_by(c.der, i.der) FROM made c, made i
 WHERE i.subject <> 'cn=ec,o=Example' ORDER BY c.subject COLLATE "C", i.subject COLLATE "C";

\echo differences from openssl, from the digest of the server, and between key identifiers
SELECT pkc_subject(der), serial, pkc_serial(der), pkc_not_before(der), pkc_not_after(der)
  FROM certificate
 WHERE pkc_serial(der) <> lower(serial) OR pkc_not_before(der) <> begins
    OR pkc_not_after(der) <> ends OR pkc_sha256(der) <> sha256(der) OR octet_length(pkc_sha1(der)) <> 20;
SELECT c.subject FROM certificate, pkc_info(der) c, pkc_info((SELECT der FROM certificate
         WHERE pkc_subject(der) = 'cn=CA,o=Example')) ca
 WHERE c.issuer = ca.subject AND (c.authority_key_id IS DISTINCT FROM ca.subject_key_id
       OR c.subject_key_id IS DISTINCT FROM c.key_id);

\echo certificates with an error
SELECT pkc_error(der) FROM certificate WHERE pkc_error(der) IS NOT NULL;

\echo validity: at its ends, a microsecond outside of them, and when nobody knows
SELECT shift, bool_and(pkc_valid_at(der, ends + shift)), bool_or(pkc_valid_at(der, ends + shift)),
       bool_and(pkc_valid_at(der, begins - shift)), bool_or(pkc_valid_at(der, begins - shift))
  FROM certificate, unnest('{0,0.000001s}'::interval[]) shift GROUP BY shift ORDER BY shift;
SELECT DISTINCT pkc_valid_at(der, 'infinity'), pkc_valid_at(der, NULL) FROM certificate;

\echo in parallel
SET parallel_setup_cost = 0;
SET parallel_tuple_cost = 0;
SET min_parallel_table_scan_size = 0;
EXPLAIN (COSTS OFF) SELECT count(*) FROM certificate WHERE pkc_is_ca(der) AND pkc_error(der) IS NULL;
