// Reading: decode, whole record and name beside the peers and the floor, which is what nobody who
// fills the record can avoid; in one thread and in two, of one certificate and of collections.
#define OPENSSL_SUPPRESS_DEPRECATED  // the floor hashes without the cost of an algorithm context
#include <openssl/sha.h>

#include <cstdlib>
#include <cstring>
#include <map>

#include "bench/peer.h"
#include "corvid/pkc.h"

namespace corvid::bench {
namespace {

void Hex(const CVD_BitString& bits, char (&field)[1024]) {
  const BIN octets{static_cast<int32_t>(bits.bits / 8), bits.data};
  const int32_t capacity = sizeof field;
  CVD_PKC_BIN_ToHex(field, &capacity, &octets);
}

// Copy the DER, clear the record, hash, and write key and signature in hexadecimal.
bool Floor(const Octets& der, const CVD_Certificate& decoded) {
  thread_local PKCCertInfo info;
  auto* copy = static_cast<uint8_t*>(std::malloc(der.size()));
  if (copy == nullptr) return false;
  std::memcpy(copy, der.data(), der.size());
  std::memset(&info, 0, sizeof info);
  uint8_t digest[SHA_DIGEST_LENGTH];
  SHA_CTX context;
  SHA1_Init(&context);
  SHA1_Update(&context, copy, der.size());
  SHA1_Final(digest, &context);
  Hex(decoded.tbsCertificate.subjectPublicKeyInfo.subjectPublicKey, info.publicKeyHex);
  Hex(decoded.signature, info.signatureHex);
  benchmark::DoNotOptimize(info);
  benchmark::DoNotOptimize(digest);
  std::free(copy);
  return true;
}

Work FloorOfServer() {
  return [decoded = Decode(ServerCertificate())] { return Floor(ServerCertificate(), *decoded); };
}

// What a library does with DER.
using Reader = bool (*Peer::*)(const Octets& der);
struct Reading {
  const char* name;
  Reader reader;
};
constexpr Reading kReadings[] = {{"decode", &Peer::decode}, {"record", &Peer::record}};

// ---- collections ---------------------------------------------------------------------------

// What every library reads of a collection, so that all are timed with the same; what one of them
// refuses is counted.
struct Readable {
  Readable(const std::vector<Octets>& collection, Reader reader) : all(collection.size()) {
    for (const Octets& der : collection) {
      bool common = true;
      for (const Peer* peer : kPeers) {
        if (peer->*reader == nullptr || (peer->*reader)(der)) continue;
        ++refused[peer->name];
        common = false;
      }
      if (common) certificates.emplace_back(&der, Decode(der));
    }
  }
  size_t all;
  std::map<std::string, size_t> refused;
  std::vector<std::pair<const Octets*, const CVD_Certificate*>> certificates;
};

struct Collection {
  const char* name;
  const std::vector<Octets>& (*certificates)();
};
constexpr Collection kCollections[] = {{"roots", Roots}, {"corpus", Corpus}};

const Readable& ReadableOf(const Collection& collection, const Reading& reading) {
  static std::map<std::string, Readable> known;
  const std::string name = std::string(collection.name) + reading.name;
  return known.try_emplace(name, collection.certificates(), reading.reader).first->second;
}

// Of all that is readable; null is the floor.
Work ReadAll(const Readable& readable, const Peer* peer, Reader reader) {
  return [&readable, peer, reader] {
    for (const auto& [der, decoded] : readable.certificates) {
      if (peer == nullptr ? !Floor(*der, *decoded) : !(peer->*reader)(*der)) return false;
    }
    return true;
  };
}

void RegisterCollection(const Collection& collection, const Reading& reading, const Peer* peer) {
  const std::string name = std::string(collection.name) + "/" + reading.name + "/" +
                           (peer == nullptr ? "floor" : peer->name);
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    const Readable& readable = ReadableOf(collection, reading);
    const auto refused = readable.refused.find(peer == nullptr ? "" : peer->name);
    if (readable.certificates.empty()) return state.SkipWithError("no certificates");
    Measure(state, ReadAll(readable, peer, reading.reader));
    state.counters["refused"] =
        refused == readable.refused.end() ? 0 : static_cast<double>(refused->second);
    state.counters["certificates"] = static_cast<double>(readable.all);
  });
}

// ---- registration --------------------------------------------------------------------------

void RegisterWithThreads(const std::string& name, const std::function<Work()>& prepare) {
  Register(name, prepare);
  for (const int threads : {1, 2}) {
    Register("threads/" + std::to_string(threads) + "/" + name, prepare)
        ->Threads(threads)
        ->UseRealTime();
  }
}

void RegisterReading(const Reading& reading, const Peer& peer) {
  const auto read = peer.*reading.reader;
  if (read == nullptr) return;
  RegisterWithThreads(std::string(reading.name) + "/" + peer.name,
                      [read]() -> Work { return [read] { return read(ServerCertificate()); }; });
  for (const Collection& collection : kCollections) RegisterCollection(collection, reading, &peer);
}

const bool kRegistered = [] {
  setenv("TZ", "UTC0", 1);
  CVD_SetLocalePKC("ko_KR-UTF-8");
  RegisterWithThreads("floor", FloorOfServer);
  for (const Reading& reading : kReadings) {
    for (const Collection& collection : kCollections) {
      RegisterCollection(collection, reading, nullptr);
    }
    for (const Peer* peer : kPeers) RegisterReading(reading, *peer);
  }
  for (const Peer* peer : kPeers) {
    if (peer->subject == nullptr) continue;
    Register(std::string("subject/") + peer->name,
             [peer] { return peer->subject(ServerCertificate()); });
  }
  return true;
}();

}  // namespace
}  // namespace corvid::bench
