// Identity data (VID). Input: options, capacity, DER. Contract: the name is terminated within its
// array and as long as told; hash and VID are those of the decoded record; what was read and is
// encoded again reads as the same, the name as far as it was kept. A failure leaves no VID.
#include "fuzz/input.h"

namespace {

using corvid::fuzz::Array;
using corvid::fuzz::Require;
using corvid::pkc::Bin;
using corvid::pkc::Octets;

constexpr int32_t kUntouched = -77;

// The strict decoder sees the same VID, where it accepts it at all.
void CheckVid(Octets der, int32_t hash_id, Octets vid) {
  corvid::pkc::Decoded<CVD_IdentityData> data;
  Require(data.Decode(der).ok(), "what is read decodes");
  const CVD_UserInfoNode* node = data->userInfo;
  while (node != nullptr && CVD_ASN_CmpOID(&node->type, CVD_ASN_GetOID(CVD_OID_VID)) != 0) {
    node = node->next;
  }
  Require((node != nullptr) == (hash_id != kUntouched), "a VID is read when there is one");
  corvid::pkc::Decoded<CVD_VID> strict;
  if (node == nullptr || !strict.Decode(node->value).ok()) return;
  Require(CVD_PKC_ObjID_To_HashID(&strict->hashAlg.algorithm) == hash_id, "its hash is read");
  Require(corvid::fuzz::Same(strict->virtualID, vid), "its value is read");
}

void CheckEncoding(std::string_view name, int32_t hash_id, const BIN& vid) {
  Bin der;
  if (vid.data == nullptr) return;
  const uint32_t status = CVD_PKC_SubAltName_Encode(
      der.out(), name.data(), static_cast<uint32_t>(name.size()), hash_id, &vid);
  if (status != 0) return;  // a character of the name may have been cut
  const CVD_ExtensionNode node{nullptr,
                               {0, *CVD_ASN_GetOID(CVD_OID_SUBJECT_ALT_NAME), 0, der.get()}};
  CVD_Certificate certificate{};
  certificate.tbsCertificate.extensions = const_cast<CVD_ExtensionNode*>(&node);
  Array again(name.size() + 1);
  auto size = static_cast<uint32_t>(again.capacity());
  int32_t hash_again = kUntouched;
  Bin vid_again;
  Require(CVD_PKC_GetVIDInfo(again.data(), &size, &hash_again, vid_again.out(), &certificate) == 0,
          "what was encoded is read");
  Require(hash_again == hash_id && corvid::fuzz::Same(vid_again.octets(), vid), "as the same VID");
  Require(name.starts_with(again.Text()), "and the same name");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  corvid::fuzz::Input input(data, size);
  corvid::fuzz::SetOptions(&input);
  Array name(1 + input.Below(1024));
  const Octets der = input.Rest();
  const BIN bin = der.bin();
  auto name_size = static_cast<uint32_t>(name.capacity());
  int32_t hash_id = kUntouched;
  Bin vid;
  const uint32_t status =
      CVD_PKC_IdentityData_Decode(name.data(), &name_size, &hash_id, vid.out(), &bin);
  if (status != 0) {
    name.Check();
    Require(vid.get().data == nullptr, "a failure leaves no VID");
    return 0;
  }
  const std::string_view text = name.Text();
  Require(text.size() == name_size, "the name is as long as told");
  CheckVid(der, hash_id, vid.octets());
  CheckEncoding(text, hash_id, vid.get());
  return 0;
}
