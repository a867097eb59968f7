#pragma once

#include <cstdint>
#include <functional>
#include <istream>
#include <string>
#include <vector>

namespace blnits {

/// Whether `text` is a finite decimal number and nothing else.
bool IsNumber(const std::string& text);

/// Calls `use` with each number of a stream, one on each line. Skips blank lines. `Number` is uint32_t or double.
/// \param source name of the stream in messages. \param what description of a line, such as "a backlight level".
/// \throws Failure that names source and line if a line is not a number, finite, in range and, for levels, whole.
template <class Number>
void ForEachLine(std::istream& stream, const std::string& source, const std::string& what,
                 const std::function<void(Number)>& use);

/// Receives a row: its line, from 1, and its fields without surrounding blanks.
using RowFunction = std::function<void(size_t line, const std::vector<std::string>& fields)>;

/// Calls `use` with each row of a CSV file. Calls `header` with the first row instead if none of its fields is a
/// number. Skips blank lines, comments after '#' and a byte order mark.
/// \throws Failure if the file cannot be read.
void ForEachRow(const std::string& path, const RowFunction& use, const RowFunction& header);

/// The number in one field. \throws Failure that names source and line if the field is not a number.
template <class Number>
Number NumberIn(const std::string& text, const std::string& source, size_t line, const std::string& what);

/// The numbers of a file: one on each line, or the last column of a CSV file as above.
/// \throws Failure if the file cannot be read, or as ForEachLine.
template <class Number>
std::vector<Number> ReadColumn(const std::string& path, const std::string& what);

}  // namespace blnits
