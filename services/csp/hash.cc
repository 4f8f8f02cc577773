// Hashes by number. A digest is on the path of every certificate record, so it works in a context
// on the stack, and nothing is allocated but the digest that is handed over and rhash's context.

// OpenSSL 3.0 marks these functions as deprecated in favour of EVP, whose contexts allocate anew
// for each digest, also when they are kept: 60 ns more than the 650 of a certificate's SHA-1.
#define OPENSSL_SUPPRESS_DEPRECATED

#include <nettle/md2.h>
#include <openssl/md5.h>
#include <openssl/sha.h>
#include <rhash.h>

#include <algorithm>
#include <cstring>

#include "corvid/common.h"
#include "corvid/csp.h"
#include "internal.h"

namespace corvid {
namespace {

using Parts = std::initializer_list<Bytes>;

// One of OpenSSL's algorithms; none of its functions can fail.
template <typename Context, int (*kInit)(Context*), int (*kUpdate)(Context*, const void*, size_t),
          int (*kFinal)(unsigned char*, Context*)>
uint32_t OpensslDigest(Parts parts, uint8_t* out) {
  Context context;
  kInit(&context);
  for (const Bytes part : parts) kUpdate(&context, part.data(), part.size());
  kFinal(out, &context);
  return 0;
}

// Debian's OpenSSL is built without MD2.
uint32_t Md2Digest(Parts parts, uint8_t* out) {
  md2_ctx context;
  md2_init(&context);
  for (const Bytes part : parts) {
    if (!part.empty()) md2_update(&context, part.size(), part.data());
  }
  md2_digest(&context, MD2_DIGEST_SIZE, out);
  return 0;
}

uint32_t Has160Digest(Parts parts, uint8_t* out) {
  [[maybe_unused]] static const bool kReady = (rhash_library_init(), true);
  rhash context = rhash_init(RHASH_HAS160);
  if (context == nullptr) return CVD_CSP_ERR_MALLOC;
  for (const Bytes part : parts) rhash_update(context, part.data(), part.size());
  rhash_final(context, out);
  rhash_free(context);
  return 0;
}

struct DigestRow {
  int32_t hashID;
  uint8_t octets;
  uint32_t (*digest)(Parts parts, uint8_t* out);
};
constexpr DigestRow kDigests[] = {
    {CVD_HASH_MD2, 16, Md2Digest},
    {CVD_HASH_MD5, 16, OpensslDigest<MD5_CTX, MD5_Init, MD5_Update, MD5_Final>},
    {CVD_HASH_SHA1, 20, OpensslDigest<SHA_CTX, SHA1_Init, SHA1_Update, SHA1_Final>},
    {CVD_HASH_HAS160, 20, Has160Digest},
    {CVD_HASH_SHA256, 32, OpensslDigest<SHA256_CTX, SHA256_Init, SHA256_Update, SHA256_Final>},
    {CVD_HASH_SHA384, 48, OpensslDigest<SHA512_CTX, SHA384_Init, SHA384_Update, SHA384_Final>},
    {CVD_HASH_SHA512, 64, OpensslDigest<SHA512_CTX, SHA512_Init, SHA512_Update, SHA512_Final>},
};

}  // namespace

uint32_t Digest(Parts parts, int32_t hashID, DigestValue* digest) {
  const auto* row = std::find_if(std::begin(kDigests), std::end(kDigests),
                                 [&](const auto& r) { return r.hashID == hashID; });
  if (row == std::end(kDigests)) return CVD_CSP_ERR_UNKNOWN_HASHID;
  digest->length = row->octets;
  return row->digest(parts, digest->octets);
}

static uint32_t Hash(Bytes data, int32_t hashID, BIN* digest) {
  DigestValue value;
  if (const uint32_t status = Digest({data}, hashID, &value); status != 0) return status;
  auto* const octets = static_cast<uint8_t*>(CVD_malloc(value.length));
  if (octets == nullptr) return CVD_CSP_ERR_MALLOC;
  std::memcpy(octets, value.octets, value.length);
  *digest = {static_cast<int32_t>(value.length), octets};
  return 0;
}

}  // namespace corvid

uint32_t CVD_CSP_HashInto(uint8_t* digest, uint32_t* count, const BIN* data, int32_t hashID) {
  if (digest == nullptr || count == nullptr || !corvid::IsReadable(data)) {
    return CVD_CSP_ERR_INVALID_INPUT;
  }
  corvid::DigestValue value;
  if (const uint32_t status = corvid::Digest({corvid::View(*data)}, hashID, &value); status != 0) {
    return status;
  }
  if (value.length > *count) return CVD_CSP_ERR_INVALID_INPUT;
  std::memcpy(digest, value.octets, value.length);
  *count = static_cast<uint32_t>(value.length);
  return 0;
}

uint32_t CVD_CSP_Hash(BIN* digest, const BIN* data, int32_t hashID) {
  if (digest == nullptr || !corvid::IsReadable(data)) return CVD_CSP_ERR_INVALID_INPUT;
  return corvid::Hash(corvid::View(*data), hashID, digest);
}
