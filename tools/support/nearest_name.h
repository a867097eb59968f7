#pragma once

#include <string>
#include <vector>

namespace blnits {

/// The name in `known` that was probably meant: it differs from `name` in at most two characters. Letter case and "-"
/// for "_" do not count. Empty if there is none. Any thread.
std::string NearestName(const std::string& name, const std::vector<std::string>& known);

}  // namespace blnits
