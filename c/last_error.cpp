#include "last_error.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

namespace {

constexpr size_t kMaxBytes = 1023;
thread_local char text[kMaxBytes + 1];

bool ContinuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xc0) == 0x80; }

// The last character of a text that was cut may be incomplete.
void DropLastCharacter() {
  size_t end = kMaxBytes;
  while (end > 0 && ContinuesCharacter(text[end - 1])) {
    --end;
  }
  text[end - std::min<size_t>(end, 1)] = '\0';
}

}  // namespace

bln_status blnits::Fail(bln_status status, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int size = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (size > static_cast<int>(kMaxBytes)) {
    DropLastCharacter();
  }
  return status;
}

const char* bln_last_error(void) { return text; }
