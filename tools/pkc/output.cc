// Buffered writing, and conversion by the library's codec.
#include "output.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <system_error>

#include "corvid/pkc.hpp"
#include "escape.h"
#include "problem.h"

namespace corvid::tool {
namespace {

constexpr size_t kBufferSize = 1U << 16;
constexpr const char* kUtf8 = "ko_KR-UTF-8";

struct Charset {
  std::string_view name;
  const char* locale;
};
constexpr Charset kCharsets[] = {
    {"utf-8", kUtf8},
    {"euc-kr", "ko_KR-euc"},
    {"euc-jp", "ja_JP-EUC"},
    {"shift-jis", "ja_JP-SJIS"},
};

bool Convert(const char* locale, const std::string& text, std::string* converted) {
  converted->resize(2 * text.size() + 1);
  if (CVD_ConvCodeSet(kUtf8, locale, text.c_str(), converted->data()) != 0) return false;
  converted->resize(converted->find('\0'));
  return true;
}

void AppendCharacter(const char* locale, std::string_view character, std::string* out) {
  std::string converted;
  if (Convert(locale, std::string(character), &converted)) {
    *out += converted;
  } else {
    AppendCodeEscape(ReadCharacter(character, 0).code, out);
  }
}

}  // namespace

bool Output::Write(std::string_view text) {
  if (buffer_.size() + text.size() < kBufferSize) {
    buffer_ += text;
    return error_ == 0;
  }
  return Flush() && Send(text);
}

bool Output::Flush() {
  Send(buffer_);
  buffer_.clear();
  return error_ == 0;
}

bool Output::Send(std::string_view text) {
  while (error_ == 0 && !text.empty()) {
    const ssize_t count = write(descriptor_, text.data(), text.size());
    if (count >= 0) {
      text.remove_prefix(static_cast<size_t>(count));
    } else if (errno != EINTR) {
      error_ = errno;
    }
  }
  return error_ == 0;
}

int Print(std::string_view text, int exit) {
  Output out(STDOUT_FILENO);
  out.Write(text);
  if (out.Flush()) return exit;
  TellOutputFailure(out.error());
  return kExitSystem;
}

void TellOutputFailure(int error) {
  if (error == EPIPE) return;
  Output messages(STDERR_FILENO);
  messages.Write("pkc: standard output: " + std::generic_category().message(error) + '\n');
  messages.Flush();
}

const char* FindCharset(std::string_view name) {
  const auto* row = std::find_if(std::begin(kCharsets), std::end(kCharsets),
                                 [name](const Charset& c) { return c.name == name; });
  return row == std::end(kCharsets) ? nullptr : row->locale;
}

// By lines, so that one that needs escapes does not slow the others down.
std::string ToCharset(const char* locale, std::string_view text) {
  std::string all;
  std::string converted;
  if (locale == std::string_view(kUtf8)) return std::string(text);
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
    const std::string line(text.substr(at, end - at));
    if (Convert(locale, line, &converted)) {
      all += converted;
    } else {
      for (size_t i = 0; i < line.size(); i += ReadCharacter(line, i).size) {
        AppendCharacter(locale, std::string_view(line).substr(i, ReadCharacter(line, i).size),
                        &all);
      }
    }
    at = end;
  }
  return all;
}

}  // namespace corvid::tool
