#pragma once

#include <string>

namespace blnits {

/// The SHA-256 of a regular file, in 64 hexadecimal digits. Reads the file as a stream. Any thread.
/// \throws Failure if it is not a regular file or cannot be read.
std::string Sha256Of(const std::string& path);

}  // namespace blnits
