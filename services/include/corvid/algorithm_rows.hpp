// The rows of the three numberings with the octets of their identifiers. For our own libraries; not
// installed.
#ifndef CORVID_ALGORITHM_ROWS_HPP_
#define CORVID_ALGORITHM_ROWS_HPP_

#include <cstdint>

#include "corvid/csp.h"
#include "corvid/oid_octets.hpp"

namespace corvid {

struct SignRow {
  int32_t signID;
  int32_t oid;  // the number written; its words and those of the older one are read
  OidWords words;
  OidWords older;  // {} when there is none: no identifier is empty
  int32_t pkeyID;
  int32_t hashID;
  const char* name;
};
struct KeyRow {
  int32_t pkeyID;
  int32_t oid;
  OidWords words;
  OidWords older;
  const char* name;  // "" when it is shown by its identifier
};
struct HashRow {
  int32_t hashID;
  int32_t oid;
  OidWords words;
  const char* name;
};

template <>
inline constexpr OidWords kOidWords<CVD_OID_NONE>{};

#define CORVID_SIGN_ROW(number, constant, id, old_id, key, hash, text) \
  {number,                                                             \
   CVD_OID_##id,                                                       \
   kOidWords<CVD_OID_##id>,                                            \
   kOidWords<CVD_OID_##old_id>,                                        \
   CVD_PKEY_##key,                                                     \
   CVD_HASH_##hash,                                                    \
   text},
#define CORVID_KEY_ROW(number, constant, id, old_id, text) \
  {number, CVD_OID_##id, kOidWords<CVD_OID_##id>, kOidWords<CVD_OID_##old_id>, text},
#define CORVID_HASH_ROW(number, constant, id, text) \
  {number, CVD_OID_##id, kOidWords<CVD_OID_##id>, text},
inline constexpr SignRow kSignRows[] = {CVD_SIGN_ALGORITHMS(CORVID_SIGN_ROW)};
inline constexpr KeyRow kKeyRows[] = {CVD_KEY_ALGORITHMS(CORVID_KEY_ROW)};
inline constexpr HashRow kHashRows[] = {CVD_HASH_ALGORITHMS(CORVID_HASH_ROW)};
#undef CORVID_SIGN_ROW
#undef CORVID_KEY_ROW
#undef CORVID_HASH_ROW

}  // namespace corvid

#endif  // CORVID_ALGORITHM_ROWS_HPP_
