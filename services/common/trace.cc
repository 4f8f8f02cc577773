// The failure trace: a ring of the newest entries, one a thread, so that no lock is taken and no
// memory allocated where something has already gone wrong.
#include <algorithm>
#include <cstring>

#include "corvid/common.h"

namespace corvid {
namespace {

struct Trace {
  CVD_TraceEntry entries[CVD_TRACE_KEPT];
  uint64_t put;  // entries since the last clearing; the newest is at (put - 1) % CVD_TRACE_KEPT

  uint32_t Count() const { return static_cast<uint32_t>(std::min<uint64_t>(put, CVD_TRACE_KEPT)); }
};

constinit thread_local Trace g_trace{};

template <size_t kSize>
void CopyText(char (&out)[kSize], const char* text) {
  if (text == nullptr) text = "";
  if (memccpy(out, text, '\0', kSize) == nullptr) out[kSize - 1] = '\0';
}

}  // namespace
}  // namespace corvid

void CVD_Trace_PutError(const char* function, int32_t code, const char* reason, const char* file,
                        int32_t line) {
  corvid::Trace& trace = corvid::g_trace;
  CVD_TraceEntry& entry = trace.entries[trace.put % CVD_TRACE_KEPT];
  ++trace.put;
  corvid::CopyText(entry.function, function);
  entry.code = code;
  corvid::CopyText(entry.reason, reason);
  corvid::CopyText(entry.file, file);
  entry.line = line;
}

uint32_t CVD_Trace_Count(void) { return corvid::g_trace.Count(); }

uint32_t CVD_Trace_Lost(void) {
  const corvid::Trace& trace = corvid::g_trace;
  return static_cast<uint32_t>(std::min<uint64_t>(trace.put - trace.Count(), UINT32_MAX));
}

uint32_t CVD_Trace_Get(uint32_t index, CVD_TraceEntry* entry) {
  const corvid::Trace& trace = corvid::g_trace;
  const uint32_t count = trace.Count();
  if (entry == nullptr || index >= count) return CVD_ERR_INVALID_INPUT;
  *entry = trace.entries[(trace.put - count + index) % CVD_TRACE_KEPT];
  return 0;
}

void CVD_Trace_Clear(void) { corvid::g_trace.put = 0; }
