#pragma once

#include <string>
#include <vector>

namespace blnits {

/// The one of `known` that was probably meant by `name`: at most two characters differ, letter case and "-" for "_"
/// aside. Empty when none is that near. Any thread.
std::string NearestName(const std::string& name, const std::vector<std::string>& known);

}  // namespace blnits
