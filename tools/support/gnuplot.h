#pragma once

#include <string>

namespace blnits {

/// Runs gnuplot on a script and returns what it draws on its standard output. No shell takes part, and neither an
/// initialization file nor a GNUPLOT variable of the user's: the same script draws the same picture.
/// \param script is a program: foreign text in it stands in here-documents whose lines cannot be their end.
/// \throws Failure when gnuplot is missing, fails (with its reason) or draws nothing.
std::string RunGnuplot(const std::string& script);

}  // namespace blnits
