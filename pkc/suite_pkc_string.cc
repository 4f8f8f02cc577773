// The growable byte string that names are built in, and the bounded wrappers of the platform's
// string and time routines. All of them are called with whatever a caller has at hand, so null
// arguments and sizes of 0 are answered, never followed.
#include <cstdarg>
#include <cstdio>
#include <limits>

#include "pkc/internal.h"

namespace corvid {
namespace {

constexpr uint32_t kDefaultCapacity = 512;
constexpr uint32_t kDefaultIncrement = 128;

// The capacity that holds `length` more bytes and the terminator: the same, or larger by whole
// increments. Single bytes, which separators are, take the way without a division.
uint64_t CapacityFor(const StrBuf& buffer, uint32_t length) {
  const uint64_t needed = uint64_t{buffer.length} + length;
  if (needed < buffer.capacity) return buffer.capacity;
  if (length == 1) return uint64_t{buffer.capacity} + buffer.increment;
  const uint64_t steps = (needed - buffer.capacity) / buffer.increment + 1;
  return buffer.capacity + steps * buffer.increment;
}

// Lower case of ASCII letters only: the program's locale has no say in what equals a keyword.
int32_t ToLower(char c) {
  const auto octet = static_cast<uint8_t>(c);
  return octet >= 'A' && octet <= 'Z' ? octet + ('a' - 'A') : octet;
}

}  // namespace

uint32_t ResizeStrBuf(StrBuf* buffer, uint64_t capacity) {
  if (capacity > std::numeric_limits<uint32_t>::max()) return PKC_ERR_MALLOC;
  void* text = CVD_realloc(buffer->text, capacity);
  if (text == nullptr) return PKC_ERR_MALLOC;
  buffer->text = static_cast<char*>(text);
  buffer->capacity = static_cast<uint32_t>(capacity);
  return 0;
}

}  // namespace corvid

// ---- growable text -------------------------------------------------------------------------

StrBuf* CVD_PKC_StrBuf_New(uint32_t capacity, uint32_t increment) {
  auto* buffer = static_cast<StrBuf*>(CVD_malloc(sizeof(StrBuf)));
  if (buffer == nullptr) return nullptr;
  if (CVD_PKC_StrBuf_Init(buffer, capacity, increment) != 0) {
    CVD_free(buffer);
    return nullptr;
  }
  buffer->owned = 1;
  return buffer;
}

uint32_t CVD_PKC_StrBuf_Init(StrBuf* buffer, uint32_t capacity, uint32_t increment) {
  if (buffer == nullptr) return PKC_ERR_INVALID_INPUT;
  buffer->capacity = capacity == 0 ? corvid::kDefaultCapacity : capacity;
  buffer->increment = increment == 0 ? corvid::kDefaultIncrement : increment;
  buffer->length = 0;
  buffer->owned = 0;
  buffer->text = static_cast<char*>(CVD_malloc(size_t{buffer->capacity} + 1));
  if (buffer->text == nullptr) return PKC_ERR_MALLOC;
  buffer->text[0] = '\0';
  return 0;
}

uint32_t CVD_PKC_StrBuf_AddString(StrBuf* buffer, const char* bytes, uint32_t length) {
  if (buffer == nullptr || bytes == nullptr || length == 0) return PKC_ERR_INVALID_INPUT;
  if (buffer->text == nullptr) return PKC_ERR_INVALID_INPUT;  // freed, or never initialised
  const uint64_t capacity = corvid::CapacityFor(*buffer, length);
  if (capacity != buffer->capacity) {
    // Bytes of the buffer itself move with it.
    const auto own = reinterpret_cast<uintptr_t>(bytes) - reinterpret_cast<uintptr_t>(buffer->text);
    const bool is_own = own < buffer->capacity;
    if (uint32_t status = corvid::ResizeStrBuf(buffer, capacity); status != 0) return status;
    if (is_own) bytes = buffer->text + own;
  }
  std::memcpy(buffer->text + buffer->length, bytes, length);
  buffer->length += length;
  buffer->text[buffer->length] = '\0';
  return 0;
}

char* CVD_PKC_StrBuf_GetString(const StrBuf* buffer) {
  return buffer == nullptr ? nullptr : buffer->text;
}

uint32_t CVD_PKC_StrBuf_GetLength(const StrBuf* buffer) {
  return buffer == nullptr ? 0 : buffer->length;
}

void CVD_PKC_StrBuf_Free(StrBuf* buffer) {
  if (buffer == nullptr) return;
  CVD_free(buffer->text);
  buffer->text = nullptr;
  if (buffer->owned == 1) CVD_free(buffer);
}

// ---- bounded wrappers ----------------------------------------------------------------------

char* pkc_strncpy(char* destination, const char* source, uint32_t size) {
  if (destination == nullptr || source == nullptr || size == 0) return destination;
  const size_t length = strnlen(source, size - 1);
  std::memcpy(destination, source, length);
  std::memset(destination + length, 0, size - length);
  return destination;
}

uint32_t pkc_strncat(char* destination, uint32_t size, uint32_t length, const char* source) {
  if (destination == nullptr || size == 0) return 0;
  if (source == nullptr) source = "";
  // A length past the array is a caller's mistake; what is there is found out then, too.
  size_t end = length == 0 || length >= size ? strnlen(destination, size - 1) : length;
  const size_t added = strnlen(source, size - 1 - end);
  std::memcpy(destination + end, source, added);
  end += added;
  destination[end] = '\0';
  return static_cast<uint32_t>(end);
}

int32_t pkc_snprintf(char* destination, uint32_t size, const char* format, ...) {
  if (destination == nullptr || format == nullptr || size == 0) return 0;
  va_list arguments;
  va_start(arguments, format);
  const int32_t result = std::vsnprintf(destination, size, format, arguments);
  va_end(arguments);
  return result;
}

char* pkc_strtok(char* text, const char* delimiters, char** position) {
  if (delimiters == nullptr || position == nullptr) return nullptr;
  if (text == nullptr && *position == nullptr) return nullptr;
  return strtok_r(text, delimiters, position);
}

int32_t pkc_strncasecmp(const char* a, const char* b, uint32_t count) {
  if (a == nullptr || b == nullptr) return int32_t{a != nullptr} - int32_t{b != nullptr};
  for (uint32_t i = 0; i < count; ++i) {
    const int32_t difference = corvid::ToLower(a[i]) - corvid::ToLower(b[i]);
    if (difference != 0 || a[i] == '\0') return difference;
  }
  return 0;
}

struct tm* pkc_localtime(const int64_t* time, struct tm* result) {
  if (time == nullptr || result == nullptr) return nullptr;
  const time_t seconds = *time;
  return localtime_r(&seconds, result);
}
