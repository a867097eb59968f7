#include "foreign_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>

namespace blnits {
namespace {

/// One character of UTF-8: its length and its code.
struct Character {
  size_t size;  ///< In bytes. 0: not a character.
  uint32_t code;
};

Character CharacterAt(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  const size_t size = byte(0) < 0x80 ? 1 : byte(0) < 0xc2 ? 0 : byte(0) < 0xe0 ? 2 : byte(0) < 0xf0 ? 3 : 4;
  if (size < 2 || byte(0) > 0xf4 || text.size() < size) {
    return {size == 1 ? size_t{1} : size_t{0}, byte(0)};
  }
  uint32_t code = byte(0) & (0xffU >> (size + 1));
  for (size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xc0) != 0x80) {
      return {0, 0};
    }
    code = code << 6 | (byte(i) & 0x3f);
  }
  constexpr uint32_t kShortest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xd800 && code < 0xe000;
  return code < kShortest[size] || code > 0x10ffff || surrogate ? Character{0, 0} : Character{size, code};
}

bool IsControl(uint32_t code) { return code < 0x20 || (code >= 0x7f && code < 0xa0); }

/// Whether a terminal shows no glyph for the character, or shows the text after it in another order or line.
bool IsDeceptive(uint32_t code) {
  struct Range {
    uint32_t first;
    uint32_t last;
  };
  constexpr Range kDeceptive[] = {
      {0xad, 0xad},        // soft hyphen
      {0x61c, 0x61c},      // Arabic letter mark
      {0x180e, 0x180e},    // Mongolian vowel separator
      {0x200b, 0x200f},    // zero width, direction marks
      {0x2028, 0x202e},    // line and paragraph separator, embeddings and overrides
      {0x2060, 0x206f},    // invisible operators, isolates
      {0xfdd0, 0xfdef},    // not characters
      {0xfeff, 0xfeff},    // zero width no-break space
      {0xfff9, 0xfffb},    // interlinear annotation
      {0xe0000, 0xe0fff},  // tags
  };
  const bool none = (code & 0xfffe) == 0xfffe;  // the last two codes of each plane
  return none || std::any_of(std::begin(kDeceptive), std::end(kDeceptive),
                             [&](const Range& range) { return code >= range.first && code <= range.last; });
}

}  // namespace

std::string Printable(std::string_view text) {
  std::string printable;
  while (!text.empty()) {
    const auto [size, code] = CharacterAt(text);
    if (size == 0 || IsControl(code)) {
      printable += fmt::format("\\x{:02x}", size == 0 ? static_cast<unsigned char>(text[0]) : code);
    } else if (IsDeceptive(code)) {
      printable += fmt::format("\\u{:04x}", code);
    } else {
      printable += text.substr(0, size);
    }
    text.remove_prefix(size == 0 ? 1 : size);
  }
  return printable;
}

std::string Shown(std::string_view text, size_t characters) {
  size_t end = 0;
  for (size_t count = 0; end < text.size() && count < characters; ++count) {
    const size_t size = CharacterAt(text.substr(end)).size;
    end += size == 0 ? 1 : size;
  }
  return Printable(text.substr(0, end)) + (end < text.size() ? "..." : "");
}

std::string CsvCell(std::string_view text) {
  const bool formula = !text.empty() && std::string_view("=+-@").find(text[0]) != std::string_view::npos;
  std::string cell = formula ? "\"'" : "\"";
  for (const char c : Printable(text)) {
    cell += c == '"' ? "\"\"" : std::string(1, c);
  }
  return cell + "\"";
}

}  // namespace blnits
