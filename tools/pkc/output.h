// Where the command writes: a buffered descriptor that remembers its first failure, and the
// character set of text.
#ifndef CORVID_TOOLS_PKC_OUTPUT_H_
#define CORVID_TOOLS_PKC_OUTPUT_H_

#include <string>
#include <string_view>

namespace corvid::tool {

class Output {
 public:
  // What is not flushed is lost.
  explicit Output(int descriptor) : descriptor_(descriptor) {}
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  // False when the output has failed, now or before.
  bool Write(std::string_view text);
  bool Flush();
  // The errno of the failure; 0 while all is well.
  int error() const { return error_; }

 private:
  bool Send(std::string_view text);

  int descriptor_;
  int error_ = 0;
  std::string buffer_;
};

// Writes the text to standard output. The exit status: the one given, or that of a failed output,
// which is told.
int Print(std::string_view text, int exit);

// Says on standard error why standard output failed; a reader that has seen enough is no news.
void TellOutputFailure(int error);

// The locale option for a name of --charset ("utf-8", "euc-kr", "euc-jp", "shift-jis"), or null.
const char* FindCharset(std::string_view name);
// The UTF-8 `text` in the set of a locale option. A character that does not exist there becomes
// \u{HHHH}.
std::string ToCharset(const char* locale, std::string_view text);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_OUTPUT_H_
