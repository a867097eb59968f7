#include "support/numbers.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "foreign_text.h"
#include "support/failure.h"

namespace blnits {
namespace {

std::string Trimmed(const std::string& text) {
  const char* const blanks = " \t\r";
  const size_t first = text.find_first_not_of(blanks);
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

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

std::vector<std::string> FieldsOf(const std::string& row) {
  std::vector<std::string> fields;
  for (size_t start = 0; start <= row.size();) {
    const size_t end = std::min(row.find(',', start), row.size());
    fields.push_back(Trimmed(row.substr(start, end - start)));
    start = end + 1;
  }
  return fields;
}

bool IsHeader(const std::vector<std::string>& fields) {
  double number = 0.0;
  return std::none_of(fields.begin(), fields.end(), [&](const auto& field) { return ParseNumber(field, &number); });
}

}  // namespace

bool IsNumber(const std::string& text) {
  double number = 0.0;
  return ParseNumber(text, &number);
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

void ForEachRow(const std::string& path, const RowFunction& use, const RowFunction& header) {
  std::ifstream file(path);
  std::string line;
  bool first = true;
  for (size_t count = 1; std::getline(file, line); ++count) {
    const std::string byte_order_mark = "\xef\xbb\xbf";
    const size_t start = count == 1 && line.compare(0, 3, byte_order_mark) == 0 ? 3 : 0;
    const std::string row = Trimmed(line.substr(start, line.find('#') - start));
    if (row.empty()) {
      continue;
    }
    const std::vector<std::string> fields = FieldsOf(row);
    (std::exchange(first, false) && IsHeader(fields) ? header : use)(count, fields);
  }
  if (!file.eof() || std::filesystem::is_directory(path)) {  // libc++ reads a folder as an empty file.
    throw Failure(fmt::format("{}: cannot be read", path));
  }
}

template <class Number>
std::vector<Number> ReadColumn(const std::string& path, const std::string& what) {
  std::vector<Number> numbers;
  const auto read = [&](size_t line, const std::vector<std::string>& fields) {
    numbers.push_back(NumberIn<Number>(fields.back(), path, line, what));
  };
  ForEachRow(path, read, [](size_t, const auto&) {});
  return numbers;
}

template uint32_t NumberIn(const std::string&, const std::string&, size_t, const std::string&);
template double NumberIn(const std::string&, const std::string&, size_t, const std::string&);
template void ForEachLine(std::istream&, const std::string&, const std::string&, const std::function<void(uint32_t)>&);
template void ForEachLine(std::istream&, const std::string&, const std::string&, const std::function<void(double)>&);
template std::vector<uint32_t> ReadColumn(const std::string&, const std::string&);
template std::vector<double> ReadColumn(const std::string&, const std::string&);

}  // namespace blnits
