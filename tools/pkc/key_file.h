// The private key that signs: from a file that nobody else may read, with a passphrase from another
// file or from the terminal when the key asks for one.
#ifndef CORVID_TOOLS_PKC_KEY_FILE_H_
#define CORVID_TOOLS_PKC_KEY_FILE_H_

#include <string>

#include "corvid/pkc.hpp"
#include "refusals.h"
#include "subject_key.h"

namespace corvid::tool {

struct KeyFile {
  std::string path;
  std::string passphrase_path;  // "": the terminal
  bool allow_exposed = false;   // a key that other users can read
};

struct SigningKey {
  pkc::PrivateKey key;
  SubjectKey public_key;
};

bool LoadSigningKey(const KeyFile& file, SigningKey* key, Refusals* refusals);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_KEY_FILE_H_
