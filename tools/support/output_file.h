#pragma once

#include <functional>
#include <string>

namespace blnits {

/// Writes a file as a whole or not at all: what was at `path` stays until all of the new file is there.
/// \param write is given the name to write to, beside `path`. What it throws passes through.
/// \throws Failure when the file is not there afterwards.
void WriteWhole(const std::string& path, const std::function<void(const std::string& unfinished)>& write);

}  // namespace blnits
