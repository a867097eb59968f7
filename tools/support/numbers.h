#pragma once

#include <cstdint>
#include <functional>
#include <istream>
#include <string>
#include <vector>

namespace blnits {

/// Whether `text` is a finite number in decimal digits, and nothing else.
bool IsNumber(const std::string& text);

/// Calls `use` with each number of a stream, one a line; blank lines are passed over. `Number` is uint32_t or double.
/// \param source names the stream in messages. \param what names what a line holds, as in "a backlight level".
/// \throws Failure that names source and line when a line is not a number, whole, finite and in range.
template <class Number>
void ForEachLine(std::istream& stream, const std::string& source, const std::string& what,
                 const std::function<void(Number)>& use);

/// The number of a row's line, from 1, and its fields without blanks around them.
using RowFunction = std::function<void(size_t line, const std::vector<std::string>& fields)>;

/// Calls `use` with each row of a CSV file, and `header` with a first row in which no field is a number. Passed over are
/// blank lines, what follows a '#', and a byte-order mark.
/// \throws Failure when the file cannot be read.
void ForEachRow(const std::string& path, const RowFunction& use, const RowFunction& header);

/// The number in one field. \throws Failure that names source and line when it is none.
template <class Number>
Number NumberIn(const std::string& text, const std::string& source, size_t line, const std::string& what);

/// The numbers of a file: one a line, or the last column of a CSV file as above.
/// \throws Failure when the file cannot be read, or as ForEachLine.
template <class Number>
std::vector<Number> ReadColumn(const std::string& path, const std::string& what);

}  // namespace blnits
