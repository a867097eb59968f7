#pragma once

#include <string>

namespace blnits {

/// Runs gnuplot on a script and returns its standard output. Uses no shell, no initialization file and none of the
/// user's GNUPLOT variables, so a script always draws the same picture.
/// \param script is executed. Put foreign text into here-documents, and make sure that none of its lines can end them.
/// \throws Failure if gnuplot is missing, fails (with its reason) or draws nothing.
std::string RunGnuplot(const std::string& script);

}  // namespace blnits
