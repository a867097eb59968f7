#include "numbers.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <system_error>

#include "failure.h"

namespace blnits {
namespace {

std::string Trimmed(const std::string& text) {
  const char* const blanks = " \t\r";
  const size_t first = text.find_first_not_of(blanks);
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace

bool ParseNumber(const std::string& text, uint32_t* number) {
  const std::string trimmed = Trimmed(text);
  const char* const end = trimmed.data() + trimmed.size();
  const auto [stop, error] = std::from_chars(trimmed.data(), end, *number);
  return error == std::errc() && stop == end;
}

bool ParseNumber(const std::string& text, double* number) {
  const std::string trimmed = Trimmed(text);
  char* stop = nullptr;
  *number = std::strtod(trimmed.c_str(), &stop);
  return !trimmed.empty() && *stop == '\0' && std::isfinite(*number);
}

template <class Number>
void ForEachLine(std::istream& stream, const std::string& source, const std::string& what,
                 const std::function<void(Number)>& use) {
  std::string line;
  for (size_t count = 1; std::getline(stream, line); ++count) {
    Number number = {};
    if (Trimmed(line).empty()) {
      continue;
    }
    if (!ParseNumber(line, &number)) {
      throw Failure(fmt::format("{}:{}: found \"{}\", expected {}", source, count, line, what));
    }
    use(number);
  }
}

template void ForEachLine<uint32_t>(std::istream&, const std::string&, const std::string&,
                                    const std::function<void(uint32_t)>&);
template void ForEachLine<double>(std::istream&, const std::string&, const std::string&,
                                  const std::function<void(double)>&);

}  // namespace blnits
