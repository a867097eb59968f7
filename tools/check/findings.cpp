#include "check/findings.h"

#include <algorithm>
#include <iterator>
#include <tuple>
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

Findings::Findings(const std::vector<std::string>& disabled, size_t limit) : limit_(limit) {
  for (const Rule& rule : kRules) {
    rules_[static_cast<size_t>(rule.id)].disabled =
        rule.id != RuleId::kLoad && std::find(disabled.begin(), disabled.end(), rule.name) != disabled.end();
  }
}

void Findings::AddText(RuleId id, int line, fmt::string_view format, fmt::format_args arguments) {
  OfRule& rule = rules_[static_cast<size_t>(id)];
  if (!rule.disabled) {
    Keep(&rule, line, "", format, arguments);
  }
}

// A table can have several findings of one rule at one place. Only findings of different tables are merged.
void Findings::AddTextIn(RuleId id, const TablePlace& place, fmt::string_view format, fmt::format_args arguments) {
  OfRule& rule = rules_[static_cast<size_t>(id)];
  if (rule.disabled) {
    return;
  }
  const Key key = {id, place.first, place.last};
  const auto [found, is_first] = places_.try_emplace(key);
  First& first = found->second;
  const uint32_t bit = BitOf(place.table);
  const bool told = (first.tables & bit) != 0;
  first.tables |= bit;
  if (is_first || told) {
    Entry* const entry = Keep(&rule, place.line, place.table, format, arguments);
    if (is_first && entry != nullptr) {
      first.entry = entry;
      entry->place = key;
    }
  } else if (first.entry != nullptr) {
    const bool same = fmt::vformat(format, arguments) == first.entry->text;
    first.entry->others.push_back({std::string(place.table), place.line, same});
  }
}

// Null if the finding is only counted.
Findings::Entry* Findings::Keep(OfRule* rule, int line, std::string_view table, fmt::string_view format,
                                fmt::format_args arguments) {
  ++rule->count;
  auto& kept = rule->kept;
  if (limit_ > 0 && kept.size() == limit_) {
    const auto last = std::prev(kept.end());
    if (line >= last->first) {
      return nullptr;
    }
    if (last->second.place) {
      places_.at(*last->second.place).entry = nullptr;
    }
    kept.erase(last);
  }
  return &kept.insert({line, {std::string(table), fmt::vformat(format, arguments), {}, std::nullopt}})->second;
}

uint32_t Findings::BitOf(std::string_view table) {
  const auto found = std::find(tables_.begin(), tables_.end(), table);
  const auto place = static_cast<uint32_t>(found - tables_.begin());
  if (found == tables_.end()) {
    tables_.emplace_back(table);
  }
  return 1U << place;
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

void Findings::MoveTo(CheckReport* report) {
  for (const Rule& rule : kRules) {
    auto& [disabled, count, kept] = rules_[static_cast<size_t>(rule.id)];
    report->counts[static_cast<size_t>(rule.severity)] += count;
    for (auto& [line, entry] : kept) {
      report->findings.push_back({line, &rule, TextOf(&entry)});
    }
    if (count > kept.size()) {
      report->findings.back().text += fmt::format(" ({} more like this)", count - kept.size());
    }
    count = 0;
    kept.clear();
  }
  places_.clear();
  // A refusal comes first. The order of the rules, and of the findings of a rule in a line, stays.
  std::stable_sort(report->findings.begin(), report->findings.end(), [](const Finding& a, const Finding& b) {
    const bool a_loads = a.rule->id != RuleId::kLoad;
    const bool b_loads = b.rule->id != RuleId::kLoad;
    return std::tie(a_loads, a.line) < std::tie(b_loads, b.line);
  });
}

}  // namespace blnits
