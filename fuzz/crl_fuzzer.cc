// A revocation list. Input: the number of an entry, then a list, DER or PEM, and behind it, if
// there is more, the certificate of an issuer. Contract: a list that loads says of itself what the
// decoded record says; asked about the serial number of one of its entries, and about one that it
// lacks, a list without issuing distribution point answers as a plain scan does; verifying changes
// no answer.
#include "corvid/der_reader.hpp"
#include "fuzz/input.h"

namespace {

using corvid::fuzz::Require;
using corvid::pkc::Octets;

constexpr int kRemoveFromCrl = 8;  // RFC 5280 section 5.3.1

using List = corvid::pkc::Decoded<CVD_CertificateList>;

struct Entry {
  Octets serial;
  bool revokes = true;
};

bool HasOid(const CVD_Extension& extension, uint8_t last) {
  const uint8_t oid[] = {0x55, 0x1D, last};
  return corvid::fuzz::Same(extension.extnID, {oid, sizeof oid});
}

bool HasExtension(const CVD_TBSCertList& tbs, uint8_t last) {
  for (const auto& node : corvid::pkc::Nodes(tbs.crlExtensions)) {
    if (HasOid(node.extension, last)) return true;
  }
  return false;
}

// One entry after the other, each by the decoder.
std::vector<Entry> Scan(const CVD_TBSCertList& tbs) {
  std::vector<Entry> entries;
  const Octets all = tbs.revokedCertificates;
  corvid::DerCursor in{all.begin(), all.end()};
  corvid::DerElement element;
  if (all.empty() || ReadDerElement(&in, &element) != corvid::DerFault::kNone) return entries;
  in = {element.content, element.end};
  while (ReadDerElement(&in, &element) == corvid::DerFault::kNone) {
    const BIN der = Octets(element.begin, static_cast<size_t>(element.end - element.begin)).bin();
    void* record = nullptr;
    Require(CVD_ASN_DecodePDU(&record, &der, CVD_PDU_REVOKED_CERTIFICATE) == 0,
            "entries of a loaded list decode");
    const auto* revoked = static_cast<const CVD_RevokedCertificate*>(record);
    corvid::DerCursor parts{element.content, element.end};
    corvid::DerElement serial;
    Require(ReadDerElement(&parts, &serial) == corvid::DerFault::kNone,
            "an entry has a serial number");
    Entry entry{{serial.content, serial.length()}};
    for (const auto& node : corvid::pkc::Nodes(revoked->crlEntryExtensions)) {
      const Octets value = node.extension.extnValue;
      if (HasOid(node.extension, 21)) entry.revokes = value[value.size() - 1] != kRemoveFromCrl;
    }
    entries.push_back(entry);
    CVD_ASN_FreePDU(record, CVD_PDU_REVOKED_CERTIFICATE);
  }
  return entries;
}

uint32_t Ask(const corvid::pkc::RevocationList& list, const CVD_Name& issuer, Octets serial) {
  CVD_Certificate certificate{};
  certificate.tbsCertificate.issuer = issuer;
  certificate.tbsCertificate.serialNumber = {static_cast<uint16_t>(serial.size()),
                                             const_cast<uint8_t*>(serial.data())};
  return CVD_IsCertRevoked(nullptr, list.get(), &certificate);
}

// A plain scan, of a list that speaks of its own issuer's certificates alone.
bool IsRevoked(const std::vector<Entry>& entries, Octets serial) {
  return std::any_of(entries.begin(), entries.end(), [&](const Entry& entry) {
    return entry.revokes && corvid::fuzz::Same(entry.serial, serial);
  });
}

void CheckInfo(const corvid::pkc::RevocationList& loaded, const CVD_TBSCertList& tbs,
               size_t entries) {
  CVD_CRLInfo info;
  Require(CVD_CRL_GetInfo(loaded.get(), &info) == 0, "a loaded list tells about itself");
  Require(info.count == entries, "the entries are counted");
  Require(info.thisUpdate == corvid::pkc::Seconds(tbs.thisUpdate), "thisUpdate is the list's");
  Require(
      info.nextUpdate == ((tbs.present & 0x40) != 0 ? corvid::pkc::Seconds(tbs.nextUpdate) : -1),
      "nextUpdate is the list's");
}

void CheckAnswers(const corvid::pkc::RevocationList& loaded, const CVD_TBSCertList& tbs,
                  const std::vector<Entry>& entries, Octets serial) {
  const uint32_t answer = Ask(loaded, tbs.issuer, serial);
  constexpr uint8_t kIssuingPoint = 28;
  if (HasExtension(tbs, kIssuingPoint)) {
    Require(answer <= 1 || answer == CVD_CRL_ERR_ISSUER || answer == CVD_CRL_ERR_SCOPE,
            "an answer is a documented one");
    Require(answer != 1 || IsRevoked(entries, serial), "only entries revoke");
    return;
  }
  Require(answer == (IsRevoked(entries, serial) ? 1 : 0), "the index answers as a scan does");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  corvid::fuzz::Input input(data, size);
  const uint32_t number = input.Octet();
  const Octets rest = input.Rest();
  corvid::DerCursor in{rest.begin(), rest.end()};
  corvid::DerElement element;
  Octets der = rest;
  Octets issuer;
  if (ReadDerElement(&in, &element) == corvid::DerFault::kNone) {
    der = {element.begin, static_cast<size_t>(element.end - element.begin)};
    issuer = rest.Slice(der.size());
  }
  corvid::pkc::RevocationList loaded;
  if (!loaded.Load(der).ok()) return 0;
  List list;
  if (!list.Decode(der).ok()) return 0;  // PEM
  const CVD_TBSCertList& tbs = list->tbsCertList;
  const std::vector<Entry> entries = Scan(tbs);
  CheckInfo(loaded, tbs, entries.size());
  const uint8_t unusual[] = {0x7A, 0x5B, static_cast<uint8_t>(number)};
  const Octets serial =
      entries.empty() ? Octets(unusual, sizeof unusual) : entries[number % entries.size()].serial;
  CheckAnswers(loaded, tbs, entries, serial);
  corvid::pkc::Certificate certificate;
  if (certificate.Decode(issuer).ok()) CVD_CRL_VerifySignature(loaded.get(), &*certificate);
  CheckAnswers(loaded, tbs, entries, {unusual, sizeof unusual});
  return 0;
}
