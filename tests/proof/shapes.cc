#include "proof/shapes.h"

#include <algorithm>

namespace corvid::test {
namespace {

// One part after the other, each made of its number.
template <typename Make>
Octets Each(size_t count, Make make) {
  Octets all;
  for (size_t i = 0; i < count; ++i) {
    const Octets part = make(i);
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

// Two octets of a number, none of them zero.
Octets Digits(size_t i) {
  return {static_cast<uint8_t>('a' + i / 26 % 26), static_cast<uint8_t>('a' + i % 26)};
}

const Octets kCommonName = Hex("0603550403");
const Octets kSmallAttribute = Hex("3008 0603550403 130161");
Octets Attribute(const Octets& text) { return Der(0x30, Join({kCommonName, Der(0x0C, text)})); }

// ---- certificates --------------------------------------------------------------------------

Inputs WithCertificate(const CertificateParts& parts) {
  Inputs in;
  in.certificate = in.issuer = in.value = MakeCertificate(parts);
  return in;
}

Inputs OfName(const Octets& rdns) {
  const Octets name = Der(0x30, rdns);
  Inputs in = WithCertificate({.issuer = name, .subject = name});
  // The two names need the size twice.
  in.certificate = MakeCertificate({.subject = name});
  return in;
}

// A certificate with the extension, and its value for the decoders and hand-written readers.
Inputs OfExtension(const char* oid, const Octets& value) {
  Inputs in = WithCertificate({.extensions = {Extension(oid, value)}});
  in.value = in.subject_key_id = in.authority_key_id = in.identity_data = value;
  in.string = in.rsa_key = in.kcdsa_parameters = value;
  return in;
}
Inputs OfExtension(const char* oid, size_t count, const Octets& element) {
  return OfExtension(oid, Der(0x30, Repeat(element, count)));
}
// One extension again and again.
Inputs OfExtensions(size_t count, const Octets& extension) {
  return WithCertificate({.extensions = {Repeat(extension, count)}});
}

constexpr size_t kAnyOrder = 32;

// Sets of as many attributes as are compared in any order, in the two orders farthest apart.
Inputs Sets(size_t count) {
  const auto name = [count](bool backwards) {
    return Der(0x30, Each((count + kAnyOrder - 1) / kAnyOrder, [&](size_t) {
                 return Der(0x31, Each(std::min(count, kAnyOrder), [&](size_t i) {
                              return Attribute(Digits(backwards ? kAnyOrder - 1 - i : i));
                            }));
               }));
  };
  Inputs in;
  in.certificate = MakeCertificate({.subject = name(false)});
  in.issuer = MakeCertificate({.subject = name(true)});
  return in;
}

Inputs Qualifiers(size_t count) {
  const Octets qualifiers = Der(0x30, Repeat(Hex("3005 06012A 0500"), count));
  return OfExtension("2.5.29.32", Der(0x30, Der(0x30, Join({Hex("06012A"), qualifiers}))));
}
Inputs Notices(size_t count) {
  const Octets notice = Sequence({Oid("1.3.6.1.5.5.7.2.2"), Hex("3004 0C02C2A1")});
  const Octets qualifiers = Der(0x30, Repeat(notice, count));
  return OfExtension("2.5.29.32", Der(0x30, Der(0x30, Join({Hex("06012A"), qualifiers}))));
}
// Identifiers without a text, of which a renderer never has enough.
const Octets kTextlessOid = Der(0x06, Join({Hex("2A"), Octets(18, 0xFF), Hex("7F")}));
Inputs PointNames(size_t count) {
  const Octets names = Der(0xA0, Repeat(Hex("A4023000"), count));
  return OfExtension("2.5.29.31", Der(0x30, Der(0x30, Der(0xA0, names))));
}
Inputs UserInfo(size_t count) {
  return OfExtension(
      "2.5.29.17",
      Der(0x30, Join({Hex("0C00"), Der(0x30, Repeat(Hex("3005 06012A 0500"), count))})));
}
Inputs Nested(size_t count) {
  Octets headers;  // from the innermost outwards, turned at the end
  for (size_t i = 0, length = 0; i < count; ++i) {
    const Octets header = Der(0x30, Octets(length, 0));
    const size_t octets = header.size() - length;
    headers.insert(headers.end(), header.rend() - static_cast<std::ptrdiff_t>(octets),
                   header.rend());
    length += octets;
  }
  std::reverse(headers.begin(), headers.end());
  return OfExtension("2.5.29.17", headers);
}
Inputs LongOid(size_t octets) {
  const Octets oid = Der(0x06, Join({Octets(octets, 0x81), Hex("01")}));
  return OfExtension("2.5.29.37", Der(0x30, oid));
}
Inputs LongExtensionId(size_t octets) {
  const Octets oid = Der(0x06, Join({Octets(octets, 0x81), Hex("01")}));
  return WithCertificate({.extensions = {Sequence({oid, Hex("0400")})}});
}
Inputs LongKey(size_t octets) {
  const Octets modulus = Der(0x02, Octets(octets + 1, 0x41));
  const Octets key = Sequence({modulus, Hex("020103")});
  Inputs in = WithCertificate({.spki = Spki("1.2.840.113549.1.1.1", Hex("0500"), key)});
  in.rsa_key = key;
  in.kcdsa_parameters = Sequence({modulus, modulus, modulus});
  return in;
}

// ---- revocation lists ----------------------------------------------------------------------

Octets List(const Octets& issuer, const Octets& entries, const Octets& point) {
  ListParts parts{.issuer = issuer, .entries = {entries}};
  if (!point.empty()) parts.extensions = {Extension("2.5.29.28", point, true)};
  return MakeList(parts);
}

const Octets kDate = Der(0x17, "260101000000Z");

// A list, and a certificate that it is asked about.
Inputs WithList(const Octets& list, const CertificateParts& parts) {
  Inputs in;
  in.list = in.value = list;
  in.certificate = MakeCertificate(parts);
  in.issuer = in.certificate;
  return in;
}

Octets EntryOf(const Octets& serial, const Octets& issuer) {
  const Octets extension = Extension("2.5.29.29", Der(0x30, Der(0xA4, issuer)), true);
  return Sequence({Der(0x02, serial), kDate, Der(0x30, extension)});
}
const Octets kIndirect = Hex("30038401FF");

Inputs ListReadOneByOne(size_t count) {  // none of the usual forms
  const Octets entry = Sequence({Hex("020101"), kDate, Hex("3007 3005 06012A 0400")});
  return WithList(List(CertificateParts().issuer, Repeat(entry, count), {}), {});
}
// Entries of one serial number and many issuers, of which the certificate's is none.
Inputs ListIssuers(size_t count) {
  const Octets entries = Each(count, [](size_t i) {
    return EntryOf(Hex("0102"), Der(0x30, Der(0x31, Attribute(Digits(i)))));
  });
  return WithList(List(CertificateParts().issuer, entries, kIndirect), {});
}

// Entries of the certificate's serial number and another issuer, and one of its issuer and another
// number; the names are the same up to the last attribute.
Inputs ListLongIssuers(size_t count) {
  const auto issuer = [count](std::string_view last) {
    const Octets rdns = Repeat(Der(0x31, kSmallAttribute), count);
    return Der(0x30, Join({rdns, Der(0x31, Attribute(OctetsOf(last)))}));
  };
  const Octets entries =
      Join({EntryOf(Hex("0102"), issuer("x")), Repeat(Join({Hex("3013 02020102"), kDate}), count),
            EntryOf(Hex("0103"), issuer("y"))});
  return WithList(List(CertificateParts().issuer, entries, kIndirect), {.issuer = issuer("y")});
}

Octets LongNameUpTo(const Octets& last, size_t rdns) {
  return Join({Repeat(Der(0x31, kSmallAttribute), rdns), Der(0x31, Attribute(last))});
}

// Points that are compared with each of the list's, whose names differ in their last attributes.
Inputs ListPoints(size_t count) {
  const size_t names = std::min<size_t>(count, 60);
  const Octets point = Der(0xA0, Der(0xA0, Each(names, [](size_t i) {
                                       return Der(0xA4, Der(0x30, LongNameUpTo(Digits(i), 60)));
                                     })));
  const Octets issuer = Der(0x30, Repeat(Der(0x31, kSmallAttribute), 60));
  const Octets relative = Der(0xA0, Der(0xA1, Attribute(Hex("7A7A"))));
  return WithList(
      List(issuer, {}, Der(0x30, point)),
      {.issuer = issuer,
       .extensions = {Extension("2.5.29.31", Der(0x30, Repeat(Der(0x30, relative), count)))}});
}

// ---- texts ---------------------------------------------------------------------------------

Inputs OfText(const std::string& text) {
  Inputs in;
  in.name = in.attribute = in.base64 = in.dotted = in.utf8 = in.local = in.holder = text;
  in.pem = in.pem_list = OctetsOf("-----BEGIN X509 CRL-----\n" + text + "\n-----END X509 CRL-----");
  return in;
}

const Shape kShapes[] = {
    {"RDNs", [](size_t n) { return OfName(Repeat(Der(0x31, kSmallAttribute), n)); }},
    {"empty RDNs", [](size_t n) { return OfName(Repeat(Hex("3100"), n)); }},
    {"attributes of an RDN",
     [](size_t n) { return OfName(Der(0x31, Repeat(kSmallAttribute, n))); }},
    {"RDNs to convert",
     [](size_t n) { return OfName(Repeat(Der(0x31, Attribute(Hex("EAB080"))), n)); }},
    {"RDNs in BMPString",
     [](size_t n) { return OfName(Repeat(Hex("310B 3009 0603550403 1E02AC00"), n)); }},
    {"a long value",
     [](size_t n) { return OfName(Der(0x31, Attribute(Repeat(Hex("EAB080"), n)))); }},
    {"sets in another order", Sets},
    {"extensions", [](size_t n) { return OfExtensions(n, Hex("3005 06012A 0400")); }},
    {"subjectAltNames",
     [](size_t n) { return OfExtensions(n, Extension("2.5.29.17", Hex("3003820161"))); }},
    {"extKeyUsages",
     [](size_t n) { return OfExtensions(n, Extension("2.5.29.37", Hex("300306012A"))); }},
    {"certificatePolicies",
     [](size_t n) { return OfExtensions(n, Extension("2.5.29.32", Hex("3005300306012A"))); }},
    {"cRLDistributionPoints",
     [](size_t n) { return OfExtensions(n, Extension("2.5.29.31", Hex("3000"))); }},
    {"malformed extensions",
     [](size_t n) { return OfExtensions(n, Extension("2.5.29.19", Hex("0500"))); }},
    {"names", [](size_t n) { return OfExtension("2.5.29.17", n, Hex("820161")); }},
    {"empty names", [](size_t n) { return OfExtension("2.5.29.17", n, Hex("8200")); }},
    {"names without text", [](size_t n) { return OfExtension("2.5.29.17", n, Hex("88012A")); }},
    {"policies", [](size_t n) { return OfExtension("2.5.29.32", n, Hex("300306012A")); }},
    {"qualifiers", Qualifiers},
    {"notices", Notices},
    {"purposes", [](size_t n) { return OfExtension("2.5.29.37", n, Hex("06012A")); }},
    {"purposes without text", [](size_t n) { return OfExtension("2.5.29.37", n, kTextlessOid); }},
    {"distribution points", [](size_t n) { return OfExtension("2.5.29.31", n, Hex("3000")); }},
    {"names of a point", PointNames},
    {"access descriptions",
     [](size_t n) {
       return OfExtension("1.3.6.1.5.5.7.1.1", n,
                          Sequence({Oid("1.3.6.1.5.5.7.48.1"), Hex("88012A")}));
     }},
    {"user information", UserInfo},
    {"nested sequences", Nested},
    {"a long identifier", LongOid},
    {"a long extension's identifier", LongExtensionId},
    {"a long serial number",
     [](size_t n) { return WithCertificate({.serial = Octets(n + 1, 0x41)}); }},
    {"a long key", LongKey},
    {"list entries",
     [](size_t n) {
       return WithList(
           List(CertificateParts().issuer, Repeat(Join({Hex("3012 020101"), kDate}), n), {}), {});
     }},
    {"list entries in full", ListReadOneByOne},
    {"list entries of many issuers", ListIssuers},
    {"list entries of long issuers", ListLongIssuers},
    {"points against a list's", ListPoints},
    {"components", [](size_t n) { return OfText(Repeat(n, "cn=a,")); }},
    {"components of attributes",
     [](size_t n) { return OfText(Repeat(n, "c=KR+c=KR+c=KR+c=KR,")); }},
    {"commas", [](size_t n) { return OfText(Repeat(n, ",")); }},
    {"backslashes", [](size_t n) { return OfText(Repeat(n, "\\")); }},
    {"base64", [](size_t n) { return OfText(Repeat(n, "MAAA")); }},
    {"blanks", [](size_t n) { return OfText(Repeat(n, " ")); }},
    {"arcs", [](size_t n) { return OfText(Repeat(n, "1.")); }},
    {"digits", [](size_t n) { return OfText(Repeat(n, "9")); }},
    {"UTF-8", [](size_t n) { return OfText(Repeat(n, "\xEA\xB0\x80")); }},
    {"EUC-KR", [](size_t n) { return OfText(Repeat(n, "\xB0\xA1")); }},
};

size_t SizeOf(const Inputs& in) {
  return std::max(
      {in.certificate.size(), in.issuer.size(), in.list.size(), in.value.size(), in.name.size()});
}

}  // namespace

std::span<const Shape> Shapes() { return kShapes; }

Inputs Largest(const Shape& shape, size_t size) {
  size_t fits = 0;
  for (size_t step = size; step > 0; step /= 2) {
    if (SizeOf(shape.make(fits + step)) <= size) fits += step;
  }
  return shape.make(fits);
}

}  // namespace corvid::test
