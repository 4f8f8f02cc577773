// Views of a caller's octets, and holders of what the services hand out. For our own libraries; not
// installed.
#ifndef CORVID_HOLDERS_HPP_
#define CORVID_HOLDERS_HPP_

#include <cstddef>
#include <cstdint>
#include <span>

#include "corvid/asn.h"
#include "corvid/common.h"

namespace corvid {

using Bytes = std::span<const uint8_t>;

inline Bytes View(const BIN& bin) {
  return {bin.data, bin.data != nullptr && bin.length > 0 ? static_cast<size_t>(bin.length) : 0};
}

// A BIN over octets that somebody else owns; a service reads it and does not change it.
inline BIN Borrow(Bytes octets) {
  return {static_cast<int32_t>(octets.size()), const_cast<uint8_t*>(octets.data())};
}

// Owns a decoded record of the PDU type `kPdu` and frees it as a whole.
template <typename Record, int32_t kPdu>
class Decoded {
 public:
  Decoded() = default;
  Decoded(const Decoded&) = delete;
  Decoded& operator=(const Decoded&) = delete;
  ~Decoded() {
    if (record_ != nullptr) CVD_ASN_FreePDU(record_, kPdu);
  }
  // Decodes once; the status is the service's.
  [[nodiscard]] uint32_t Decode(const BIN& der) { return CVD_ASN_DecodePDU(&record_, &der, kPdu); }
  const Record* get() const { return static_cast<const Record*>(record_); }
  const Record& operator*() const { return *get(); }
  const Record* operator->() const { return get(); }
  Record* Release() {  // hands the record over
    auto* record = static_cast<Record*>(record_);
    record_ = nullptr;
    return record;
  }

 private:
  void* record_ = nullptr;
};

// A record that lasts no longer than the scope that reads it: within this object, if it fits there.
template <typename Record, int32_t kPdu, uint32_t kRoom = 2048>
class NearDecoded {
 public:
  NearDecoded() {}  // NOLINT(modernize-use-equals-default): `= default` would clear the room
  NearDecoded(const NearDecoded&) = delete;
  NearDecoded& operator=(const NearDecoded&) = delete;
  ~NearDecoded() {
    if (record_ != nullptr && record_ != room_) CVD_ASN_FreePDU(record_, kPdu);
  }
  [[nodiscard]] uint32_t Decode(const BIN& der) {
    return CVD_ASN_DecodePDUInto(&record_, &der, kPdu, room_, kRoom);
  }
  const Record* get() const { return static_cast<const Record*>(record_); }
  const Record& operator*() const { return *get(); }
  const Record* operator->() const { return get(); }

 private:
  void* record_ = nullptr;
  alignas(Record) uint8_t room_[kRoom];
};

struct ScopedBin : BIN {  // a BIN that a service fills and this scope releases
  ScopedBin() : BIN{0, nullptr} {}
  ScopedBin(const ScopedBin&) = delete;
  ScopedBin& operator=(const ScopedBin&) = delete;
  ~ScopedBin() {
    if (data != nullptr) CVD_BIN_Reset(this);
  }
  BIN Release() {  // hands the octets over
    const BIN bin = *this;
    static_cast<BIN&>(*this) = {0, nullptr};
    return bin;
  }
};

}  // namespace corvid

#endif  // CORVID_HOLDERS_HPP_
