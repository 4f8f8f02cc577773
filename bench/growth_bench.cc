// How our time grows: with one element to ten thousand of each kind that a certificate, a
// revocation list or a question can have many of.
#include <map>
#include <memory>

#include "bench/peer.h"
#include "chain.h"
#include "corvid/crl.h"

namespace corvid::bench {
namespace {

// ---- certificates --------------------------------------------------------------------------

template <Octets (*kMake)(size_t count)>
const Octets& Made(size_t count) {
  static std::map<size_t, Octets> known;
  const auto found = known.find(count);
  return found != known.end() ? found->second : known.emplace(count, kMake(count)).first->second;
}

template <Octets (*kMake)(size_t count)>
Work DecodeMany(size_t count) {
  return [&der = Made<kMake>(count)] { return kCorvid.decode(der); };
}
template <Octets (*kMake)(size_t count)>
Work RecordMany(size_t count) {
  return [&der = Made<kMake>(count)] { return kCorvid.record(der); };
}

// ---- revocation lists ----------------------------------------------------------------------

using List = std::shared_ptr<CVD_CRL>;

List Load(const Octets& der) {
  const BIN in = View(der);
  CVD_CRL* list = nullptr;
  return {CVD_CRL_Load(&list, &in) == 0 ? list : nullptr, CVD_CRL_Free};
}

Work LoadList(size_t count) {
  return [&der = Made<RevocationList>(count)] { return Load(der) != nullptr; };
}

// Asks about a certificate that the list does not hold: the whole way down the index.
Work LookUp(size_t count) {
  return [list = Load(Made<RevocationList>(count)), certificate = Decode(ServerCertificate())] {
    return CVD_IsCertRevoked(nullptr, list.get(), certificate) == 0;
  };
}

// ---- chains --------------------------------------------------------------------------------

// All candidates have the issuer's name, and none has signed: the most that a search can cost.
Work SearchChain(size_t count) {
  const auto store = std::make_shared<tool::CertificateStore>();
  const auto target = std::make_shared<tool::Candidate>();
  const auto kept = std::make_shared<std::vector<Octets>>(IssuerCandidates(count));
  size_t index = 0;
  for (const Octets& der : *kept) {
    Check(store->Add({der.data(), der.size()}, true, &index).ok());
  }
  Check(target->Load({ServerCertificate().data(), ServerCertificate().size()}).ok());
  return [store, target, kept] {
    tool::SignatureCache cache;
    const tool::Question question{kNotBefore, 0, false};
    return !tool::VerifyChain(*store, {}, question, *target, &cache).valid;
  };
}

// ---- registration --------------------------------------------------------------------------

struct Growing {
  const char* name;
  Work (*prepare)(size_t count);
};
constexpr Growing kGrowing[] = {
    {"decode_rdns", DecodeMany<CertificateWithRdns>},
    {"decode_names", DecodeMany<CertificateWithNames>},
    {"decode_policies", DecodeMany<CertificateWithPolicies>},
    {"decode_extensions", DecodeMany<CertificateWithExtensions>},
    {"record_rdns", RecordMany<CertificateWithRdns>},
    {"record_names", RecordMany<CertificateWithNames>},
    {"record_policies", RecordMany<CertificateWithPolicies>},
    {"record_extensions", RecordMany<CertificateWithExtensions>},
    {"crl_load", LoadList},
    {"crl_lookup", LookUp},
    {"chain", SearchChain},
};

const bool kRegistered = [] {
  const auto add = [](const Growing& row, size_t count) {
    Register(std::string("growth/") + row.name + "/" + std::to_string(count),
             [prepare = row.prepare, count] { return prepare(count); });
  };
  for (const Growing& row : kGrowing) {
    for (const size_t count : {1, 10, 100, 1000, 10000}) add(row, count);
  }
  add({"crl_load", LoadList}, 1000000);
  add({"crl_lookup", LookUp}, 1000000);
  return true;
}();

}  // namespace
}  // namespace corvid::bench
