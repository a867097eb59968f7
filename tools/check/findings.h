#pragma once

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
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

/// Collects findings and merges those of several tables. Keeps the text of few findings and only counts the others: a
/// file can have millions.
class Findings {
 public:
  /// \param disabled names of rules whose findings are dropped; a refused file is always reported.
  /// \param limit how many findings of a rule to keep, those with the lowest lines; 0 keeps all.
  Findings(const std::vector<std::string>& disabled, size_t limit);

  /// Adds a finding that is never merged.
  template <class... Arguments>
  void Add(RuleId rule, int line, fmt::format_string<Arguments...> format, const Arguments&... arguments) {
    AddText(rule, line, format, fmt::make_format_args(arguments...));
  }

  /// Adds a finding about one table. The table's name is put before the text.
  template <class... Arguments>
  void AddIn(RuleId rule, const TablePlace& place, fmt::format_string<Arguments...> format,
             const Arguments&... arguments) {
    AddTextIn(rule, place, format, fmt::make_format_args(arguments...));
  }

  /// Puts the findings and their number into a report and clears the collection.
  void MoveTo(CheckReport* report);

 private:
  /// Another table with the same finding.
  struct Other {
    std::string table;
    int line;
    bool same_text;  ///< False: same levels, different luminances.
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

  struct Entry {
    std::string table;  ///< Empty: the finding is not about a table.
    std::string text;
    std::vector<Other> others;
    std::optional<Key> place;  ///< Where places_ points to the entry.
  };

  /// The findings of one rule.
  struct OfRule {
    bool disabled = false;
    size_t count = 0;
    std::multimap<int, Entry> kept;  ///< By line; those of a line in the order in which they came.
  };

  /// The first finding at a place.
  struct First {
    uint32_t tables = 0;     ///< A bit for each table that has the finding, in the order of tables_.
    Entry* entry = nullptr;  ///< Null if it is not kept.
  };

  void AddText(RuleId id, int line, fmt::string_view format, fmt::format_args arguments);
  void AddTextIn(RuleId id, const TablePlace& place, fmt::string_view format, fmt::format_args arguments);
  Entry* Keep(OfRule* rule, int line, std::string_view table, fmt::string_view format, fmt::format_args arguments);
  uint32_t BitOf(std::string_view table);
  static std::string TextOf(Entry* entry);

  size_t limit_;
  std::array<OfRule, kRules.size()> rules_;
  std::vector<std::string> tables_;
  std::unordered_map<Key, First, Hash> places_;
};

}  // namespace blnits
