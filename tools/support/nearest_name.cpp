#include "support/nearest_name.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace blnits {
namespace {

std::string WithoutCase(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return c == '-' ? '_' : static_cast<char>(std::tolower(c)); });
  return name;
}

// Edit distance: how many characters to add, remove or change.
size_t Distance(const std::string& a, const std::string& b) {
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = std::exchange(row[0], i + 1);
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string NearestName(const std::string& name, const std::vector<std::string>& known) {
  constexpr size_t kLongestName = 64;  // Longer names are not worth the time.
  for (size_t distance = 0; distance <= 2 && name.size() <= kLongestName; ++distance) {
    for (const std::string& likely : known) {
      if (Distance(WithoutCase(name), WithoutCase(likely)) == distance) {
        return likely;
      }
    }
  }
  return {};
}

}  // namespace blnits
