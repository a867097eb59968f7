#pragma once

#include <cstdint>
#include <functional>
#include <istream>
#include <string>

namespace blnits {

/// Reads a whole text as a number, blanks around it aside. False when it is anything else or out of range.
bool ParseNumber(const std::string& text, uint32_t* number);
bool ParseNumber(const std::string& text, double* number);

/// Calls `use` with each number of a stream, one a line; blank lines are passed over.
/// \param source names the stream in messages. \param what names what a line holds.
/// \throws Failure that names source and line when a line is not a number.
template <class Number>
void ForEachLine(std::istream& stream, const std::string& source, const std::string& what,
                 const std::function<void(Number)>& use);

}  // namespace blnits
