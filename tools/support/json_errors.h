#pragma once

#include <string>
#include <vector>

namespace blnits {

/// The object on one line that a subcommand with "--format json" prints instead of its own when it fails. This header
/// does without the JSON library, which takes long to compile. Any thread.
/// \param errors the lines for the user. They may have foreign text.
std::string JsonErrors(const std::vector<std::string>& errors);

}  // namespace blnits
