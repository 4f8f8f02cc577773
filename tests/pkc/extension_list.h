// A list of one extension, as the renderers take it, over a heap block of exactly the value's size.
#ifndef CORVID_TESTS_PKC_EXTENSION_LIST_H_
#define CORVID_TESTS_PKC_EXTENSION_LIST_H_

#include "support/support.h"

namespace corvid::test {

class ExtensionList {
 public:
  ExtensionList(int32_t oid, const Octets& value)
      : value_(value), node_{nullptr, {0, *CVD_ASN_GetOID(oid), 0, *value_}} {}
  CVD_ExtensionNode* get() { return &node_; }

 private:
  Input value_;
  CVD_ExtensionNode node_;
};

}  // namespace corvid::test

#endif  // CORVID_TESTS_PKC_EXTENSION_LIST_H_
