#pragma once

#include <cstdint>
#include <functional>
#include <istream>
#include <string>
#include <vector>

namespace blnits {

/// Calls `use` with each number of a stream, one a line; blank lines are passed over. `Number` is uint32_t or double.
/// \param source names the stream in messages. \param what names what a line holds, as in "a backlight level".
/// \throws Failure that names source and line when a line is not a number, whole, finite and in range.
template <class Number>
void ForEachLine(std::istream& stream, const std::string& source, const std::string& what,
                 const std::function<void(Number)>& use);

/// The numbers of a file: one a line, or the last column of a CSV file, whose first line may be a header.
/// \throws Failure when the file cannot be read, or as ForEachLine.
template <class Number>
std::vector<Number> ReadColumn(const std::string& path, const std::string& what);

}  // namespace blnits
