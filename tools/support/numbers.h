#pragma once

#include <cstdint>
#include <functional>
#include <istream>
#include <string>

namespace blnits {

/// Whether `text` is a number and nothing else: a whole one in range, or a finite decimal one. Sets `number` if it is.
bool ParseNumber(const std::string& text, uint32_t* number);
bool ParseNumber(const std::string& text, double* number);

/// Whether `text` is a finite decimal number and nothing else.
bool IsNumber(const std::string& text);

/// The shortest decimal text that reads back as the same number, without an exponent. \param number finite.
std::string DecimalText(double number);

/// A figure for people, with so many decimals; "-" if it is not finite.
std::string Fixed(double number, int decimals);

/// Calls `use` with each number of a stream, one on each line. Skips blank lines. `Number` is uint32_t or double.
/// \param source name of the stream in messages. \param what description of a line, such as "a backlight level".
/// \throws Failure that names source and line if a line is not a number, finite, in range and, for levels, whole.
template <class Number>
void ForEachLine(std::istream& stream, const std::string& source, const std::string& what,
                 const std::function<void(Number)>& use);

/// The number in one field. \throws Failure that names source and line if the field is not a number.
template <class Number>
Number NumberIn(const std::string& text, const std::string& source, size_t line, const std::string& what);

}  // namespace blnits
