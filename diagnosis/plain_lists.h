#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace blnits {

/// A number in a calibration file, as text. Valid as long as the CalibrationSource it comes from.
struct SourceValue {
  int line;          ///< From 1.
  const char* text;  ///< The text from which the library reads the number; null if it finds no text.
};

/// Whether elements of this name are lists of values.
bool IsList(std::string_view element);

/// A list in which every value is "<value>12.5</value>", without attribute, reference or comment, and in which nothing
/// but white space is between them.
struct PlainList {
  int line;  ///< Of its start tag, from 1.
  std::vector<SourceValue> values;
};

/// Plain lists, and the text without their values.
struct CutText {
  std::string rest;              ///< The text; of the values only the line ends are left.
  std::vector<PlainList> lists;  ///< In the order of the text. Each has no child in `rest`.
};

/// Cuts the plain lists of a well-formed document. Any thread.
/// \param text ends each value with '\0'; the values point into it.
CutText CutPlainLists(std::string* text);

}  // namespace blnits
