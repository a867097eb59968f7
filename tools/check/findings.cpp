#include "check/findings.h"

#include <algorithm>
#include <utility>

namespace blnits {
namespace {

/// "a, in b and in c". The names contain commas, so each gets its own "in".
std::string Listed(const std::vector<std::string>& names) {
  std::string list = names.front();
  for (size_t i = 1; i < names.size(); ++i) {
    list += (i + 1 < names.size() ? ", in " : " and in ") + names[i];
  }
  return list;
}

}  // namespace

// A table can have several findings of one rule at one place. Only findings of different tables are merged.
void Findings::AddText(RuleId rule, const TablePlace& place, std::string text) {
  const auto [found, is_new] = places_.try_emplace({rule, place.first, place.last}, entries_.size());
  if (!is_new) {
    Entry& entry = entries_[found->second];
    const bool told = entry.table == place.table || std::any_of(entry.others.begin(), entry.others.end(),
                                                                [&](const Other& o) { return o.table == place.table; });
    if (!told) {
      entry.others.push_back({std::string(place.table), place.line, text == entry.text});
      return;
    }
  }
  entries_.push_back({rule, place.line, std::string(place.table), std::move(text), {}});
}

std::string Findings::TextOf(Entry* entry) {
  if (entry->table.empty()) {
    return std::move(entry->text);
  }
  std::string text = fmt::format("{}: {}", entry->table, entry->text);
  for (const bool same : {true, false}) {
    std::vector<std::string> others;
    for (const Other& other : entry->others) {
      if (other.same_text == same) {
        others.push_back(fmt::format("{} (line {})", other.table, other.line));
      }
    }
    if (!others.empty()) {
      text += fmt::format("; {} {}", same ? "the same in" : "with other luminances also in", Listed(others));
    }
  }
  return text;
}

std::vector<Finding> Findings::Take() {
  std::vector<Finding> findings;
  findings.reserve(entries_.size());
  for (Entry& entry : entries_) {
    findings.push_back({entry.line, &kRules[static_cast<size_t>(entry.rule)], TextOf(&entry)});
  }
  entries_.clear();
  places_.clear();
  return findings;
}

}  // namespace blnits
