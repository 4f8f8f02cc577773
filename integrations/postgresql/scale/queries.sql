SELECT * FROM certificate ORDER BY sha256
SELECT issuer, count(*), min(not_after), max(serial COLLATE "C") FROM certificate GROUP BY issuer ORDER BY issuer COLLATE "C"
SELECT sha256, subject FROM certificate WHERE pkc_key_bits(der) = 2048 AND NOT pkc_valid_at(der, '2030-01-01Z') ORDER BY sha256
SELECT count(*) FROM certificate WHERE not_after < '2030-01-01Z' AND pkc_key_usage_flags(der) & 64 <> 0
SELECT sha256 FROM certificate WHERE pkc_subject(der) LIKE 'cn=GTS%' ORDER BY sha256
SELECT sha256 FROM certificate WHERE subject LIKE 'cn=GTS%' ORDER BY sha256
SELECT subject, der FROM certificate WHERE sha256 >= '\x7fff' ORDER BY sha256 LIMIT 50
SELECT sha256, name FROM certificate, pkc_names(der) WHERE kind = 'rfc822Name' ORDER BY sha256, name COLLATE "C"
SELECT c.sha256, i.sha256 FROM certificate c JOIN certificate i ON c.key_id = i.key_id WHERE c.sha256 < '\x01' AND i.sha256 < '\x01' AND pkc_signed_by(c.der, i.der) IS FALSE ORDER BY c.sha256, i.sha256
