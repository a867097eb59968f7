#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "foreign_text.h"
#include "readings/csv_table.h"
#include "readings/readers.h"
#include "support/failure.h"
#include "support/numbers.h"

namespace blnits {
namespace {

enum Place : size_t { kLevel, kNits, kCoverage, kMode };

std::vector<Column> ColumnsFor(const Collected& collected) {
  const ReadingsOptions& options = collected.Options();
  return {{"the level",
           {"level", "backlight level", "levelno", "bl", "brightness", "client level"},
           !collected.HasLevels(),
           "--level-column",
           options.level_column},
          {"the luminance", {"nits", "luminance", "lv", "y", "cd/m2"}, true, "--nits-column", options.nits_column},
          {"the coverage", {"coverage"}, false, nullptr, ""},
          {"the mode", {"mode", "hbm", "hdr"}, false, nullptr, ""}};
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

bool IsOneOf(const std::string& text, std::initializer_list<const char*> words) {
  return std::find(words.begin(), words.end(), text) != words.end();
}

// Whether the word means high brightness; empty if it means no mode.
std::optional<bool> ModeIn(const std::string& text) {
  const std::string word = LowerCase(text);
  const bool hbm = IsOneOf(word, {"hbm", "hdr", "high brightness", "1", "true", "yes"});
  const bool standard = IsOneOf(word, {"standard", "normal", "sdr", "0", "false", "no"});
  return hbm || standard ? std::optional<bool>(hbm) : std::nullopt;
}

class CsvReadings {
 public:
  CsvReadings(LineReader* lines, Collected* collected)
      : collected_(*collected),
        table_(lines, ColumnsFor(*collected),
               [collected](size_t line, const std::string& text) { collected->Refuse(line, text); }) {}

  void Read() {
    for (bool first = true; table_.Next(); first = false) {
      if (first) {
        CheckUnits();
        CheckMode();
      }
      ReadRow();
    }
  }

 private:
  void CheckUnits() {
    const std::string unit = table_.UnitOf(kNits);
    const bool known = IsOneOf(unit, {"", "nits", "nit", "cd/m2"});
    if (!known && collected_.Options().nits_column.empty()) {
      Fail(fmt::format("found luminance in \"{}\", expected nits or cd/m2; --nits-column takes the column as nits",
                       Shown(unit)));
    }
    if (table_.Has(kLevel) && table_.UnitOf(kLevel) == "%" && !collected_.Options().scale) {
      Fail("found levels in per cent, expected levels; give --scale 100:LEVEL");
    }
  }

  // Laboratories also call other things a mode.
  void CheckMode() {
    if (table_.Has(kMode) && table_.NameOf(kMode) == "mode" && !ModeIn(table_.Field(kMode))) {
      takes_mode_ = false;
      collected_.Note(
          fmt::format("column mode is ignored: found \"{}\", not standard or hbm", Shown(table_.Field(kMode))));
    }
  }

  // Tells the first fault of a row.
  void ReadRow() {
    const auto level = collected_.HasLevels() ? 0.0 : TakeLevel();
    const auto nits = level ? TakeNits() : std::nullopt;
    Circumstances circumstances;
    if (!nits || !TakeCoverage(&circumstances.coverage) || !TakeMode(&circumstances.hbm)) {
      return;
    }
    if (collected_.HasLevels()) {
      collected_.AddInOrder(table_.Line(), *nits, circumstances);
    } else {
      collected_.Add(table_.Line(), *level, *nits, circumstances);
    }
  }

  std::optional<double> TakeLevel() {
    const std::string& field = table_.Field(kLevel);
    return IsMarkedAsBefore(field) ? collected_.Level(table_.Line(), Decimal(field), field) : std::nullopt;
  }

  std::optional<double> TakeNits() {
    const std::string& field = table_.Field(kNits);
    double nits = 0.0;
    if (!IsMarkedAsBefore(field)) {
      return std::nullopt;
    }
    if (ParseNumber(Decimal(field), &nits)) {
      return nits;
    }
    Refuse(field, "a luminance in nits");
    return std::nullopt;
  }

  bool TakeCoverage(std::optional<uint32_t>* coverage) {
    uint32_t number = 0;
    if (!table_.Has(kCoverage)) {
      return true;
    }
    if (!ParseNumber(table_.Field(kCoverage), &number) || number < 1 || number > 100) {
      Refuse(table_.Field(kCoverage), "a coverage from 1 to 100 per cent");
      return false;
    }
    *coverage = number;
    return true;
  }

  bool TakeMode(std::optional<bool>* hbm) {
    if (!table_.Has(kMode) || !takes_mode_) {
      return true;
    }
    *hbm = ModeIn(table_.Field(kMode));
    if (!*hbm) {
      Refuse(table_.Field(kMode), "standard or hbm");
    }
    return hbm->has_value();
  }

  // A comma in one number and a point in another: one of them may separate thousands.
  bool IsMarkedAsBefore(const std::string& field) {
    const size_t at = table_.HasDecimalComma() ? field.find_first_of(",.") : std::string::npos;
    if (at == std::string::npos) {
      return true;
    }
    if (mark_ == '\0') {
      mark_ = field[at];
      mark_line_ = table_.Line();
    }
    if (field[at] != mark_) {
      Refuse(field, fmt::format("a decimal {} as in line {}", mark_ == ',' ? "comma" : "point", mark_line_).c_str());
    }
    return field[at] == mark_;
  }

  std::string Decimal(const std::string& field) const {
    return table_.HasDecimalComma() ? WithDecimalPoint(field) : field;
  }

  void Refuse(const std::string& field, const char* expected) {
    collected_.Refuse(table_.Line(), fmt::format("found \"{}\", expected {}", Shown(field), expected));
  }

  [[noreturn]] void Fail(const std::string& text) const {
    throw Failure(fmt::format("{}:{}: {}", collected_.Path(), table_.FirstLine(), text));
  }

  Collected& collected_;
  CsvTable table_;
  bool takes_mode_ = true;
  char mark_ = '\0';  ///< The decimal mark of the first number with one.
  size_t mark_line_ = 0;
};

}  // namespace

void ReadCsv(LineReader* lines, Collected* collected) { CsvReadings(lines, collected).Read(); }

}  // namespace blnits
