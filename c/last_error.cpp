#include "last_error.h"

#include <algorithm>

namespace blnits {
namespace {

thread_local char text[LastError::kMaxBytes + 1];

bool ContinuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xc0) == 0x80; }

}  // namespace

const char* LastError::Text() { return text; }

char* LastError::Room() { return text; }

// Cuts a long text before a whole character. The room has the first byte after the cut only if the text is full, so the
// last character is dropped in any case.
void LastError::End(size_t size) {
  size_t end = std::min(size, kMaxBytes);
  if (size > kMaxBytes) {
    while (end > 0 && ContinuesCharacter(text[end - 1])) {
      --end;
    }
    end -= std::min<size_t>(end, 1);
  }
  text[end] = '\0';
}

}  // namespace blnits

const char* bln_last_error(void) { return blnits::LastError::Text(); }
