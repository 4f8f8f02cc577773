// Every exported function as an operation on a sample. The proofs about memory, bounds and threads
// run them all, and the bench measures them on the largest shapes.
#ifndef CORVID_TESTS_PROOF_OPERATIONS_H_
#define CORVID_TESTS_PROOF_OPERATIONS_H_

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "corvid/asn.h"
#include "corvid/codec.h"
#include "corvid/common.h"
#include "corvid/crl.h"
#include "corvid/csp.h"
#include "corvid/io.h"
#include "corvid/pkc.h"
#include "support/support.h"

namespace corvid::test {

// What the operations read. What is left empty makes its operations fail at the door.
struct Inputs {
  Octets certificate = {};
  Octets issuer = {};
  Octets list = {};
  Octets pem = {};       // of the certificate
  Octets pem_list = {};  // of another list
  Octets subject_key_id = {};
  Octets authority_key_id = {};
  Octets identity_data = {};
  Octets string = {};  // a directory string
  Octets rsa_key = {};
  Octets kcdsa_parameters = {};
  Octets value = {};  // decoded as each type
  Octets vid = {};
  Octets private_key = {};
  Octets encrypted_key = {};  // with the passphrase "secret"
  int32_t sign = CVD_SIGN_SHA256_RSA;
  std::string name = {};
  std::string attribute = {};
  std::string base64 = {};
  std::string dotted = {};
  std::string utf8 = {};
  std::string local = {};   // in the set of the locale
  std::string holder = {};  // a name of usual length, in the set of the locale
  std::string path = {};
};

struct View : BIN {
  explicit View(const Octets& octets)
      : BIN{static_cast<int32_t>(octets.size()), const_cast<uint8_t*>(octets.data())} {}
};

// Inputs, decoded as far as they decode. Read only: any number of threads may use one.
class Sample {
 public:
  explicit Sample(Inputs inputs);
  Sample(const Sample&) = delete;
  Sample& operator=(const Sample&) = delete;
  ~Sample();
  // The first extension CVD_OID_*, as the list that begins with it; null without it.
  const CVD_ExtensionNode* Node(int32_t oid) const;

  const Inputs in;
  const View der{in.certificate};
  const View list{in.list};
  const View pem{in.pem};
  const View subject_key_id{in.subject_key_id};
  const View authority_key_id{in.authority_key_id};
  const View identity_data{in.identity_data};
  const View string{in.string};
  const View rsa_key{in.rsa_key};
  const View kcdsa_parameters{in.kcdsa_parameters};
  const View value{in.value};
  const View vid{in.vid};
  const View pem_list{in.pem_list};
  const View private_key{in.private_key};
  const View encrypted_key{in.encrypted_key};
  CVD_Certificate* const certificate;
  CVD_Certificate* const issuer;
  const CVD_ExtensionNode* extensions = nullptr;
  CVD_CRL* crl = nullptr;
  CVD_PrivateKey* key = nullptr;
};

// Where the operations write. As Clear leaves it, an output that a function wrote shows.
struct Results {
  BIN bin[3];
  char* text;
  void* record;  // of the type `pdu`
  int32_t pdu;
  CVD_Name name;
  CVD_BIN_LIST* lists[2];
  StrBuf buffer;
  CVD_OID oid;
  Huge huge;
  CVD_CRL* crl;
  CVD_PrivateKey* key;
  int32_t number;
  uint32_t flags;
  char texts[6][1100];
  PKCCertInfoEx info;
};
void Clear(Results* results);
bool AreClear(const Results& results);
// All that the results hold, what their pointers lead to included.
std::string Describe(const Results& results);
// Releases what the results own, as the headers say.
void Release(Results* results);

// What a failing allocation leaves of the outputs.
enum class After : uint8_t {
  kUntouched,  // all as it was
  kPartial,    // what was written before
  kLess,       // the same; and the function may go on without the part that failed
  kNever,      // the function allocates nothing
};

struct Operation {
  const char* function;
  After after;
  std::vector<uint32_t> codes;  // of a failing allocation; none: the function has no status
  uint32_t (*run)(const Sample& sample, Results* out);
  // Calls the function with arguments that no caller may give, one at a time, and adds what came
  // of each call that was not refused as usual. Null for several functions at once.
  void (*refuse)(const Sample& sample, Results* out, std::vector<std::string>* unrefused);
};
std::span<const Operation> Operations();

// Calls every function with arguments that no caller may give, one at a time, and tells what came
// of each call that was not refused as usual: "CVD_BIN_Copy 1 null: 0".
std::vector<std::string> RefuseArguments(const Sample& sample);

// The samples with which each operation succeeds, and all its allocations happen.
Inputs RichInputs(bool large = true);
Inputs KcdsaInputs();

}  // namespace corvid::test

#endif  // CORVID_TESTS_PROOF_OPERATIONS_H_
