#include "readings/csv_table.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <string_view>
#include <utility>

#include "foreign_text.h"
#include "support/failure.h"
#include "support/numbers.h"

namespace blnits {
namespace {

struct Heading {
  std::string name;
  std::string unit;
};

std::string WithoutBlanksAtEnd(std::string text) { return text.substr(0, text.find_last_not_of(" \t") + 1); }

Heading HeadingOf(const std::string& field) {
  const bool unit = !field.empty() && (field.back() == ')' || field.back() == ']');
  const size_t open = unit ? field.rfind(field.back() == ')' ? '(' : '[') : std::string::npos;
  if (open == std::string::npos) {
    return {field, ""};
  }
  return {WithoutBlanksAtEnd(field.substr(0, open)), field.substr(open + 1, field.size() - open - 2)};
}

// Lower case, with one blank between words and a plain 2 for a square, also for that of Latin-1.
std::string Normal(const std::string& name) {
  std::string normal;
  for (const char c : name) {
    const bool blank = c == ' ' || c == '\t' || c == '_';
    if (!blank || (!normal.empty() && normal.back() != ' ')) {
      normal += blank ? ' ' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
  }
  for (const std::string_view square : {"m\xc2\xb2", "m\xb2", "m^2"}) {
    const size_t at = normal.find(square);
    if (at != std::string::npos) {
      normal.replace(at, square.size(), "m2");
    }
  }
  return normal;
}

std::string Listed(const std::vector<std::string>& names) {
  constexpr size_t kShown = 10;
  std::vector<std::string> shown;
  for (const std::string& name : names) {
    shown.push_back(shown.size() < kShown ? Shown(name) : "...");
    if (shown.size() > kShown) {
      break;
    }
  }
  return fmt::format("{}", fmt::join(shown, ", "));
}

}  // namespace

CsvTable::CsvTable(LineReader* lines, std::vector<Column> columns, Refuse refuse)
    : lines_(lines), rows_(lines, ";\t, "), columns_(std::move(columns)), refuse_(std::move(refuse)) {
  for (const Column& column : columns_) {
    if (column.needed) {
      expected_ += (needed_ == 0 ? "" : ",") + column.names.front();
      ++needed_;
    }
  }
}

bool CsvTable::Next() {
  while (rows_.Next()) {
    if (!Located()) {
      Locate();
      if (!header_.empty()) {
        continue;
      }
    }
    empty_ = false;
    if (rows_.Fault() != nullptr) {
      refuse_(Line(), fmt::format("found {}, expected {}", rows_.Fault(), expected_));
    } else if (rows_.Fields().size() != fields_) {
      refuse_(Line(), fmt::format("found {} fields, expected {}", rows_.Fields().size(), expected_));
    } else {
      return true;
    }
  }
  if (empty_) {
    throw Failure(fmt::format("{}: found no rows, expected {}", lines_->Path(), expected_));
  }
  return false;
}

std::string CsvTable::NameOf(size_t column) const {
  return header_.empty() ? "" : Normal(HeadingOf(header_[places_[column]]).name);
}

std::string CsvTable::UnitOf(size_t column) const {
  return header_.empty() ? "" : Normal(HeadingOf(header_[places_[column]]).unit);
}

void CsvTable::Fail(const std::string& text) const {
  throw Failure(fmt::format("{}:{}: {}", lines_->Path(), rows_.Line(), text));
}

void CsvTable::Locate() {
  if (rows_.Fault() != nullptr) {
    Fail(fmt::format("found {}, expected {}", rows_.Fault(), expected_));
  }
  places_.assign(columns_.size(), kNowhere);
  fields_ = rows_.Fields().size();
  if (rows_.IsHeader() || HasName(rows_.Fields())) {
    header_ = rows_.Fields();
    LocateByHeader();
  } else {
    LocateByOrder();
  }
  first_line_ = Line();
  if (fields_ != needed_) {
    expected_ = fmt::format("{} as in line {}", fields_, Line());
  }
}

// A header may have a number, such as a date, among its names.
bool CsvTable::HasName(const std::vector<std::string>& fields) const {
  return std::any_of(fields.begin(), fields.end(), [&](const std::string& field) {
    return std::any_of(columns_.begin(), columns_.end(), [&](const Column& column) {
      const std::string name = Normal(HeadingOf(field).name);
      return std::find(column.names.begin(), column.names.end(), name) != column.names.end();
    });
  });
}

// The chosen columns first: the others are looked for in the rest.
void CsvTable::LocateByHeader() {
  for (size_t i = 0; i < columns_.size(); ++i) {
    if (!columns_[i].chosen.empty()) {
      places_[i] = PlaceOfChosen(columns_[i]);
    }
  }
  for (size_t i = 0; i < columns_.size(); ++i) {
    if (columns_[i].chosen.empty()) {
      places_[i] = PlaceByName(columns_[i]);
    }
  }
}

void CsvTable::LocateByOrder() {
  const bool chosen = std::all_of(columns_.begin(), columns_.end(),
                                  [](const Column& column) { return !column.needed || !column.chosen.empty(); });
  if (!chosen && fields_ > needed_) {
    Fail(fmt::format("found {} fields without a header, expected {}", fields_, expected_));
  }
  fields_ = chosen ? fields_ : needed_;
  for (size_t i = 0, next = 0; i < columns_.size(); ++i) {
    if (chosen && !columns_[i].chosen.empty()) {
      places_[i] = PlaceOfChosen(columns_[i]);
    } else if (!chosen && columns_[i].needed) {
      places_[i] = next++;
    }
  }
}

bool CsvTable::IsTaken(size_t place) const { return std::find(places_.begin(), places_.end(), place) != places_.end(); }

// A name as it stands goes before a name in another case, and that before a number.
size_t CsvTable::PlaceOfChosen(const Column& column) const {
  const auto find = [&](const auto& is_it) {
    const auto found = std::find_if(header_.begin(), header_.end(), is_it);
    return found == header_.end() ? kNowhere : static_cast<size_t>(found - header_.begin());
  };
  size_t place = find([&](const std::string& field) { return field == column.chosen; });
  if (place == kNowhere) {
    place = find([&](const std::string& field) { return HeadingOf(field).name == column.chosen; });
  }
  if (place == kNowhere) {
    place = find([&](const std::string& field) { return Normal(HeadingOf(field).name) == Normal(column.chosen); });
  }
  uint32_t number = 0;
  if (place == kNowhere && ParseNumber(column.chosen, &number) && number >= 1 && number <= fields_) {
    place = number - 1;
  }
  if (place == kNowhere) {
    Fail(fmt::format("found no column \"{}\" ({}), expected one of {}", Shown(column.chosen), column.option,
                     header_.empty() ? fmt::format("1 to {}", fields_) : Listed(header_)));
  }
  if (IsTaken(place)) {
    Fail(
        fmt::format("found column \"{}\" for {}, expected another one than before", Shown(column.chosen), column.what));
  }
  return place;
}

size_t CsvTable::PlaceByName(const Column& column) const {
  std::vector<std::string> found;
  size_t place = kNowhere;
  for (size_t i = 0; i < header_.size(); ++i) {
    const std::string name = Normal(HeadingOf(header_[i]).name);
    if (!IsTaken(i) && std::find(column.names.begin(), column.names.end(), name) != column.names.end()) {
      found.push_back(header_[i]);
      place = i;
    }
  }
  const std::string choose = column.option != nullptr ? fmt::format("; choose it with {}", column.option) : "";
  if (found.size() > 1) {
    Fail(fmt::format("found {} columns that can be {}: {}; expected one{}", found.size(), column.what, Listed(found),
                     choose));
  }
  if (found.empty() && column.needed) {
    Fail(fmt::format("found the columns {}, expected {} among them: {}{}", Listed(header_), column.what,
                     Listed(column.names), choose));
  }
  return place;
}

}  // namespace blnits
