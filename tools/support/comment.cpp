#include "support/comment.h"

#include "foreign_text.h"

namespace blnits {
namespace {

// A blank separates the two characters wherever one follows the other.
std::string Without(char first, char second, const std::string& text) {
  std::string safe;
  for (const char c : Printable(text)) {
    if (!safe.empty() && safe.back() == first && c == second) {
      safe += ' ';
    }
    safe += c;
  }
  return safe;
}

}  // namespace

std::string InXmlComment(const std::string& text) { return Without('-', '-', text); }

std::string InCComment(const std::string& text) { return Without('*', '/', text); }

}  // namespace blnits
