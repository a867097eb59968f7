#include "lots/partial_result.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "foreign_text.h"
#include "support/failure.h"
#include "support/json.h"

namespace blnits {
namespace {

using Json = nlohmann::ordered_json;
constexpr const char* kSchema = "lot_partial";

template <class Value, class Convert>
Json ArrayOf(const std::vector<Value>& values, Convert convert) {
  auto array = Json::array();
  for (const Value& value : values) {
    array.push_back(convert(value));
  }
  return array;
}

/// The names of all units in the lists of extremes, in the order of their bytes.
std::vector<std::string> NamesIn(const LotSummary& lot) {
  std::set<std::string> names;
  for (const auto& table : lot.tables) {
    for (const LevelFigures& level : table) {
      for (const Extremes* const extremes : {&level.darkest, &level.brightest}) {
        for (const UnitNits& each : extremes->All()) {
          names.insert(each.unit);
        }
      }
    }
  }
  return {names.begin(), names.end()};
}

Json ToJson(const Extremes& extremes, const std::vector<std::string>& names) {
  return ArrayOf(extremes.All(), [&](const UnitNits& each) {
    return Json::array({each.nits, std::lower_bound(names.begin(), names.end(), each.unit) - names.begin()});
  });
}

Json ToJson(const Sketch& sketch) {
  auto buckets = Json::array();
  for (const auto& [bucket, count] : sketch.All()) {
    buckets.push_back({bucket, count});
  }
  return buckets;
}

Json ToJson(const MeasuredTable& table, const std::vector<uint32_t>& levels, const std::vector<LevelFigures>& figures,
            const std::vector<std::string>& names) {
  using Each = const LevelFigures&;
  const auto all = [&](auto convert) { return ArrayOf(figures, convert); };
  Json object = JsonTable(table.hdr, table.coverage);
  object["levels"] = levels;
  // Without a unit, the least and the greatest luminance are infinite, and so null.
  object["nits"] = {{"sums", all([](Each each) { return each.nits.Sum().Terms(); })},
                    {"squares", all([](Each each) { return each.nits.Squares(); })},
                    {"least", all([](Each each) { return each.least; })},
                    {"greatest", all([](Each each) { return each.greatest; })}};
  object["jnd"] = {{"counts", all([](Each each) { return each.jnd.Count(); })},
                   {"sums", all([](Each each) { return each.jnd.Sum().Terms(); })},
                   {"squares", all([](Each each) { return each.jnd.Squares(); })}};
  object["sketch"] = all([](Each each) { return ToJson(each.sketch); });
  object["darkest"] = all([&](Each each) { return ToJson(each.darkest, names); });
  object["brightest"] = all([&](Each each) { return ToJson(each.brightest, names); });
  return object;
}

/// A value in the object, with its place in it for messages.
class Value {
 public:
  Value(const Json* json, const std::string& file, std::string place)
      : json_(json), file_(file), place_(std::move(place)) {}

  [[noreturn]] void Fail(const std::string& expected) const {
    throw Failure(fmt::format("{}: {}: expected {}", Printable(file_), place_, expected));
  }

  Value At(const char* key) const {
    if (!json_->is_object() || !json_->contains(key)) {
      Fail(fmt::format("an object with \"{}\"", key));
    }
    return {&(*json_)[key], file_, place_.empty() ? key : fmt::format("{}.{}", place_, key)};
  }

  /// \param count how many values the array must have; empty: any number.
  std::vector<Value> Array(std::optional<size_t> count = {}) const {
    if (!json_->is_array() || (count && json_->size() != *count)) {
      Fail(count ? fmt::format("an array of {} values", *count) : "an array");
    }
    std::vector<Value> values;
    for (size_t i = 0; i < json_->size(); ++i) {
      values.emplace_back(&(*json_)[i], file_, fmt::format("{}[{}]", place_, i));
    }
    return values;
  }

  std::string Text() const {
    if (!json_->is_string()) {
      Fail("a text");
    }
    return json_->get<std::string>();
  }

  uint64_t Whole(uint64_t most = kMostUnits) const {
    if (!json_->is_number_unsigned() || json_->get<uint64_t>() > most) {
      Fail(fmt::format("a whole number from 0 to {}", most));
    }
    return json_->get<uint64_t>();
  }

  double Number() const {
    const bool number = json_->is_number() && std::abs(json_->get<double>()) <= kLargest;
    if (!number) {
      Fail(fmt::format("a number of at most {} in magnitude", kLargest));
    }
    return json_->get<double>();
  }

  double NotNegative() const {
    if (Number() < 0.0) {
      Fail("a number that is not negative");
    }
    return Number();
  }

  // Numbers that are no terms of an exact sum would make it grow: a sum of doubles below kLargest has at most 34 terms.
  ExactSum Sum() const {
    const auto values = Array();
    if (values.size() > kMostTerms) {
      Fail(fmt::format("at most {} numbers", kMostTerms));
    }
    std::vector<double> terms(values.size());
    std::transform(values.begin(), values.end(), terms.begin(), [](const Value& each) { return each.Number(); });
    return ExactSum(terms);
  }

 private:
  static constexpr uint64_t kMostUnits = uint64_t{1} << 53;  // Every whole number up to it is a double.
  static constexpr double kLargest = 1e40;
  static constexpr size_t kMostTerms = 40;

  const Json* json_;
  const std::string& file_;
  std::string place_;
};

LotShape ShapeIn(const Value& object) {
  LotShape shape;
  const Value range = object.At("range");
  shape.range.minimum_bl = static_cast<uint32_t>(range.At("minimum_bl").Whole(UINT32_MAX));
  shape.range.max_bl = static_cast<uint32_t>(range.At("max_bl").Whole(UINT32_MAX));
  shape.range.max_os_bl = static_cast<uint32_t>(range.At("max_os_bl").Whole(UINT32_MAX));
  shape.linear_levels = object.At("linear_table").Array().size();
  for (size_t i = 0; i < kMeasuredTables.size(); ++i) {
    const MeasuredTable& table = kMeasuredTables[i];
    const Value levels = object.At("tables").At(JsonKeyOf(table.hdr, table.coverage).c_str()).At("levels");
    for (const Value& level : levels.Array()) {
      shape.levels[i].push_back(static_cast<uint32_t>(level.Whole(shape.range.max_os_bl)));
    }
    if (std::adjacent_find(shape.levels[i].begin(), shape.levels[i].end(), std::greater_equal<>()) !=
        shape.levels[i].end()) {
      levels.Fail("levels that rise");
    }
  }
  return shape;
}

Sketch SketchIn(const Value& object, uint64_t units) {
  Sketch sketch;
  uint64_t count = 0;
  int64_t before = -1;
  for (const Value& pair : object.Array()) {
    const auto values = pair.Array(2);
    const auto bucket = static_cast<int64_t>(values[0].Whole());
    const uint64_t in_bucket = values[1].Whole(units - count);
    if (in_bucket == 0 || !Sketch::IsBucket(bucket) || bucket <= before) {
      pair.Fail("a bucket above the one before, and its count above 0");
    }
    sketch.Add(static_cast<int32_t>(bucket), in_bucket);
    count += in_bucket;
    before = bucket;
  }
  if (count != units) {
    object.Fail(fmt::format("counts of {} units in all", units));
  }
  return sketch;
}

void ReadExtremes(const Value& list, const std::vector<std::string>& names, uint64_t units, Extremes* extremes) {
  for (const Value& pair : list.Array(std::min<uint64_t>(units, Extremes::kMost))) {
    const auto values = pair.Array(2);
    if (names.empty()) {
      list.Fail("names for these units in \"names\"");
    }
    extremes->Add(values[0].NotNegative(), names[values[1].Whole(names.size() - 1)]);
  }
}

Moments MomentsIn(const Value& sum, const Value& squares, uint64_t count) {
  return {count, sum.Sum(), squares.NotNegative()};
}

void ReadTable(const Value& table, const std::vector<std::string>& names, uint64_t units,
               std::vector<LevelFigures>* figures) {
  const size_t levels = figures->size();
  const Value nits = table.At("nits");
  const Value jnd = table.At("jnd");
  const auto list = [&](const Value& object, const char* key) { return object.At(key).Array(levels); };
  const auto sums = list(nits, "sums");
  const auto squares = list(nits, "squares");
  const auto least = list(nits, "least");
  const auto greatest = list(nits, "greatest");
  const auto counts = list(jnd, "counts");
  const auto jnd_sums = list(jnd, "sums");
  const auto jnd_squares = list(jnd, "squares");
  const auto sketches = list(table, "sketch");
  const auto darkest = list(table, "darkest");
  const auto brightest = list(table, "brightest");
  for (size_t i = 0; i < levels; ++i) {
    LevelFigures& level = (*figures)[i];
    level.nits = MomentsIn(sums[i], squares[i], units);
    level.jnd = MomentsIn(jnd_sums[i], jnd_squares[i], counts[i].Whole(units));
    if (units > 0) {
      level.least = least[i].NotNegative();
      level.greatest = greatest[i].NotNegative();
    }
    if (units > 0 && level.least > level.greatest) {
      least[i].Fail("at most the greatest luminance");
    }
    level.sketch = SketchIn(sketches[i], units);
    ReadExtremes(darkest[i], names, units, &level.darkest);
    ReadExtremes(brightest[i], names, units, &level.brightest);
  }
}

LotSummary LotIn(const Value& object) {
  if (object.At("schema").At("name").Text() != kSchema || object.At("schema").At("version").Whole() != 1) {
    object.At("schema").Fail(fmt::format("version 1 of {}", kSchema));
  }
  LotSummary lot(ShapeIn(object));
  lot.units = object.At("units").Whole();
  const Value rejected = object.At("rejected");
  for (const Value& each : rejected.At("first").Array()) {
    lot.rejected.Add(each.At("file").Text(), each.At("reason").Text());
  }
  if (lot.rejected.count > rejected.At("count").Whole()) {
    rejected.Fail("a count of at least the files in \"first\"");
  }
  lot.rejected.count = rejected.At("count").Whole();
  lot.gamma = object.At("gamma").Sum();
  lot.pcc_thresh = object.At("pcc_thresh").Sum();
  const auto panel_levels = object.At("linear_table").Array();
  std::transform(panel_levels.begin(), panel_levels.end(), lot.panel_levels.begin(),
                 [](const Value& sum) { return sum.Whole(); });
  std::vector<std::string> names;
  for (const Value& name : object.At("names").Array()) {
    names.push_back(name.Text());
  }
  for (size_t i = 0; i < kMeasuredTables.size(); ++i) {
    const MeasuredTable& table = kMeasuredTables[i];
    ReadTable(object.At("tables").At(JsonKeyOf(table.hdr, table.coverage).c_str()), names, lot.units, &lot.tables[i]);
  }
  return lot;
}

}  // namespace

Json ToJson(const zarn::BLRange& range) {
  return {{"minimum_bl", range.minimum_bl}, {"max_bl", range.max_bl}, {"max_os_bl", range.max_os_bl}};
}

Json ToJson(const Rejections& rejected) {
  auto first = Json::array();
  for (const auto& [file, reason] : rejected.first) {
    first.push_back({{"file", file}, {"reason", reason}});
  }
  return {{"count", rejected.count}, {"first", first}};
}

Json PartialResultOf(const LotSummary& lot) {
  const std::vector<std::string> names = NamesIn(lot);
  Json object = JsonReport(kSchema);
  object["range"] = ToJson(lot.shape.range);
  object["units"] = lot.units;
  object["rejected"] = ToJson(lot.rejected);
  object["gamma"] = lot.gamma.Terms();
  object["pcc_thresh"] = lot.pcc_thresh.Terms();
  object["linear_table"] = lot.panel_levels;
  object["names"] = names;
  for (size_t i = 0; i < kMeasuredTables.size(); ++i) {
    const MeasuredTable& table = kMeasuredTables[i];
    object["tables"][JsonKeyOf(table.hdr, table.coverage)] = ToJson(table, lot.shape.levels[i], lot.tables[i], names);
  }
  return object;
}

LotSummary ReadPartialResult(const std::string& text, const std::string& file) {
  const Json json = Json::parse(text, nullptr, false);
  if (json.is_discarded()) {
    throw Failure(fmt::format("{}: expected a JSON object, a partial result of blnits lot", Printable(file)));
  }
  return LotIn(Value(&json, file, ""));
}

}  // namespace blnits
