#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/lines.h"

namespace blnits {

/// The rows of a CSV file: fields without surrounding blanks. A field in double quotes may have the delimiter, '#' and
/// doubled quotes in it. Skips comments after '#', and rows whose fields are all empty. The first row decides on the
/// delimiter.
class CsvReader {
 public:
  /// \param lines must outlive this reader. \param delimiters the possible ones, the preferred one first; ' ' stands for
  /// any number of blanks and tabs.
  CsvReader(LineReader* lines, std::string delimiters);

  /// Goes to the next row. False at the end of the file. \throws as LineReader::Next().
  bool Next();

  /// The line of the row, from 1.
  size_t Line() const { return lines_->Line(); }

  const std::vector<std::string>& Fields() const { return fields_; }

  /// What is wrong with the row's quotes; null if nothing is. Fields() is then incomplete.
  const char* Fault() const { return fault_; }

  /// Whether this row is the first one and none of its fields is a number.
  bool IsHeader() const;

  /// Whether a comma in a number is a decimal comma.
  bool HasDecimalComma() const { return delimiter_ != ','; }

 private:
  char DelimiterOf(std::string_view row);
  bool AllNumbers(bool decimal_comma) const;

  LineReader* lines_;
  std::string delimiters_;
  char delimiter_ = '\0';
  bool first_ = true;
  std::vector<std::string> fields_;
  const char* fault_ = nullptr;
};

/// Changes the decimal comma of a number to a point. Does not change text with several commas, or with a point.
std::string WithDecimalPoint(const std::string& text);

/// The numbers of a file: one on each line, or the last column of a file with commas. `Number` is uint32_t or double.
/// \param what description of a number, such as "a backlight level".
/// \throws Failure that names file and line if the file cannot be read or a row has no such number.
template <class Number>
std::vector<Number> ReadColumn(const std::string& path, const std::string& what);

}  // namespace blnits
