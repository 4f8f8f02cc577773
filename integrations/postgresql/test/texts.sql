-- The texts of the sample in a database of each encoding, and those of three damaged ones: a name
-- that is no UTF-8, a Hangul syllable that KS X 1001 lacks, and octets of a set that is not named.
CREATE EXTENSION corvid_pkc;
CREATE TABLE sample AS SELECT der, position('\xed998d'::bytea in der) at
                         FROM decode(:'sample', 'base64') der;
SELECT getdatabaseencoding(), damage, subject, pkc_error(changed)
  FROM sample, LATERAL (VALUES
    ('none', der),
    ('invalid', set_byte(der, at - 1, 255)),
    ('rare', overlay(der placing '\xeb98a0'::bytea from at for 3)),
    ('teletex', set_byte(der, at - 3, 20))) d (damage, changed), pkc_subject(changed) subject;
SELECT name FROM sample, pkc_names(der) WHERE kind = 'identityData';
