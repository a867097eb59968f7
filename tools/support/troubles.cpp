#include "support/troubles.h"

#include <fmt/format.h>

#include <algorithm>

#include "support/failure.h"

namespace blnits {

void Troubles::Add(size_t line, const std::string& text) {
  if (faults_.size() == kLimit) {
    constexpr auto kLast = static_cast<size_t>(-1);
    faults_.emplace_back(kLast,
                         fmt::format("{}: the rest of the file is not examined after {} faults", source_, kLimit));
    Check();
  }
  faults_.emplace_back(line, fmt::format("{}:{}: {}", source_, line, text));
}

void Troubles::Check() const {
  if (faults_.empty()) {
    return;
  }
  auto sorted = faults_;
  std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> others;
  for (size_t i = 1; i < sorted.size(); ++i) {
    others.push_back(sorted[i].second);
  }
  throw Failure(sorted.front().second, std::move(others));
}

}  // namespace blnits
