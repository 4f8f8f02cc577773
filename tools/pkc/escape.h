// Text of unknown origin made safe to show: always valid UTF-8, nothing that moves a terminal.
//
// Octets that are no UTF-8 become \xHH; in text, control characters become \xHH (below 80) or
// \u{HHHH}, and so do the characters that reorder or break a line.
#ifndef CORVID_TOOLS_PKC_ESCAPE_H_
#define CORVID_TOOLS_PKC_ESCAPE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "corvid/pkc.hpp"

namespace corvid::tool {

// How a text treats the backslash: one of unknown origin doubles it, so that an escape cannot be
// feigned; one that a renderer made has escapes of its own.
enum class Backslash { kDouble, kKeep };

struct Character {
  uint32_t code;
  size_t size;  // octets; 0 when no character begins here (RFC 3629)
};
Character ReadCharacter(std::string_view text, size_t at);

void AppendUtf8(uint32_t code, std::string* out);
void AppendHex(pkc::Octets octets, std::string* out);
// The same into room for two digits an octet; returns where they end.
char* PutHex(pkc::Octets octets, char* out);
// \u{HHHH}
void AppendCodeEscape(uint32_t code, std::string* out);

void AppendSafeText(std::string_view octets, Backslash backslash, std::string* out);
// Writes a JSON string with its quotes into room for two and kMostJsonAnOctet for each octet, and
// returns where it ends. Control and reordering characters become \uHHHH. Octets that are
// no UTF-8 become the text \xHH; a text that holds \x and two hexadecimal digits, either way, has
// its own backslashes doubled, so that both kinds stay apart.
char* PutJsonString(std::string_view octets, Backslash backslash, char* out);
constexpr size_t kMostJsonAnOctet = 6;
// A cell of a tab-separated row: the text that the JSON string holds, with \t, \n, \r and \\ for
// tab, line feed, carriage return and backslash, and \xHH for each octet of the other control and
// reordering characters. It is the form that COPY of databases reads.
void AppendCell(std::string_view octets, Backslash backslash, std::string* out);

}  // namespace corvid::tool

#endif  // CORVID_TOOLS_PKC_ESCAPE_H_
