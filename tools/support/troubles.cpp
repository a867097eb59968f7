#include "support/troubles.h"

#include <fmt/format.h>

#include "support/failure.h"

namespace blnits {

void Troubles::Add(size_t line, const std::string& text) {
  if (lines_.size() == kLimit) {
    lines_.push_back(fmt::format("{}: the rest of the file is not examined after {} faults", source_, kLimit));
    Check();
  }
  lines_.push_back(fmt::format("{}:{}: {}", source_, line, text));
}

void Troubles::Check() const {
  if (!lines_.empty()) {
    throw Failure(lines_.front(), {lines_.begin() + 1, lines_.end()});
  }
}

}  // namespace blnits
