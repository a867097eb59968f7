#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "check/check.h"

namespace blnits {

/// The position of a finding in a measured table or curve. Findings of one rule at the same levels of several tables
/// are merged into one.
struct TablePlace {
  std::string_view table;  ///< Its name.
  uint32_t first;          ///< The levels concerned, or any two numbers that tell findings of one table apart.
  uint32_t last;
  int line;
};

/// Collects findings and merges those of several tables.
class Findings {
 public:
  /// Adds a finding that is never merged.
  template <class... Arguments>
  void Add(RuleId rule, int line, fmt::format_string<Arguments...> format, const Arguments&... arguments) {
    entries_.push_back({rule, line, "", fmt::format(format, arguments...), {}});
  }

  /// Adds a finding about one table. The table's name is put before the text.
  template <class... Arguments>
  void AddIn(RuleId rule, const TablePlace& place, fmt::format_string<Arguments...> format,
             const Arguments&... arguments) {
    AddText(rule, place, fmt::format(format, arguments...));
  }

  /// Returns all findings and clears the collection.
  std::vector<Finding> Take();

 private:
  /// Another table with the same finding.
  struct Other {
    std::string table;
    int line;
    bool same_text;  ///< False: same levels, different luminances.
  };

  struct Entry {
    RuleId rule;
    int line;
    std::string table;  ///< Empty: the finding is not about a table.
    std::string text;
    std::vector<Other> others;
  };

  struct Key {
    RuleId rule;
    uint32_t first;
    uint32_t last;
    bool operator==(const Key& other) const { return rule == other.rule && first == other.first && last == other.last; }
  };

  struct Hash {
    size_t operator()(const Key& key) const {
      const uint64_t levels = uint64_t{key.first} << 32 | key.last;
      return std::hash<uint64_t>()(levels * 0x9e3779b97f4a7c15U + static_cast<size_t>(key.rule));
    }
  };

  void AddText(RuleId rule, const TablePlace& place, std::string text);
  static std::string TextOf(Entry* entry);

  std::vector<Entry> entries_;
  std::unordered_map<Key, size_t, Hash> places_;  ///< The index of each finding in entries_.
};

}  // namespace blnits
