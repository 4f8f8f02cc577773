// Signatures: checking and issuing beside the peers and the bare operation with a prepared key.
#include "bench/peer.h"

namespace corvid::bench {
namespace {

// Two issuers of a key's length, so that each can be another than the one before.
const SelfSigned& Issuer(int bits, bool another = false) {
  static const SelfSigned issuers[] = {SelfSigned(2048), SelfSigned(2048), SelfSigned(4096),
                                       SelfSigned(4096)};
  return issuers[(bits == 2048 ? 0 : 2) + (another ? 1 : 0)];
}

Work VerifyInTurns(int bits) {
  return [one = kCorvid.verify(Issuer(bits).certificate),
          other = kCorvid.verify(Issuer(bits, true).certificate), first = false]() mutable {
    first = !first;
    return first ? one() : other();
  };
}

const bool kRegistered = [] {
  for (const int bits : {2048, 4096}) {
    const std::string verify = "verify" + std::to_string(bits) + "/";
    const std::string issue = "issue" + std::to_string(bits) + "/";
    for (const Peer* peer : kPeers) {
      if (peer->verify != nullptr) {
        Register(verify + peer->name, [=] { return peer->verify(Issuer(bits).certificate); });
      }
      if (peer->issue != nullptr) {
        Register(issue + peer->name, [=] { return peer->issue(Issuer(bits)); });
      }
    }
    Register(verify + "corvid_other_issuer", [=] { return VerifyInTurns(bits); });
  }
  return true;
}();

}  // namespace
}  // namespace corvid::bench
