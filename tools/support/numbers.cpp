#include "support/numbers.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <system_error>

#include "foreign_text.h"
#include "support/failure.h"

namespace blnits {
namespace {

std::string Trimmed(const std::string& text) {
  const char* const blanks = " \t\r";
  const size_t first = text.find_first_not_of(blanks);
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace

bool ParseNumber(const std::string& text, uint32_t* number) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, *number);
  return error == std::errc() && stop == end;
}

// Accepts decimal digits only: std::strtod also accepts other forms, and stops at a NUL.
bool ParseNumber(const std::string& text, double* number) {
  char* stop = nullptr;
  *number = std::strtod(text.c_str(), &stop);
  const bool decimal = text.find_first_not_of("0123456789+-.eE") == std::string::npos;
  return !text.empty() && decimal && stop == text.c_str() + text.size() && std::isfinite(*number);
}

bool IsNumber(const std::string& text) {
  double number = 0.0;
  return ParseNumber(text, &number);
}

std::string DecimalText(double number) {
  std::array<char, 512> text = {};  // The longest has 324 zeros and 17 digits after the point.
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
  return {text.data(), end};
}

std::string Fixed(double number, int decimals) {
  return std::isfinite(number) ? fmt::format("{:.{}f}", number, decimals) : "-";
}

template <class Number>
Number NumberIn(const std::string& text, const std::string& source, size_t line, const std::string& what) {
  Number number = {};
  if (!ParseNumber(text, &number)) {
    throw Failure(fmt::format("{}:{}: found \"{}\", expected {}", source, line, Shown(text), what));
  }
  return number;
}

template <class Number>
void ForEachLine(std::istream& stream, const std::string& source, const std::string& what,
                 const std::function<void(Number)>& use) {
  std::string line;
  for (size_t count = 1; std::getline(stream, line); ++count) {
    const std::string text = Trimmed(line);
    if (!text.empty()) {
      use(NumberIn<Number>(text, source, count, what));
    }
  }
}

template uint32_t NumberIn(const std::string&, const std::string&, size_t, const std::string&);
template double NumberIn(const std::string&, const std::string&, size_t, const std::string&);
template void ForEachLine(std::istream&, const std::string&, const std::string&, const std::function<void(uint32_t)>&);
template void ForEachLine(std::istream&, const std::string&, const std::string&, const std::function<void(double)>&);

}  // namespace blnits
