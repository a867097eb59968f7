#include "support/csv.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "support/failure.h"
#include "support/numbers.h"

namespace blnits {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

size_t SkipBlanks(std::string_view row, size_t at, char delimiter) {
  while (at < row.size() && IsBlank(row[at]) && row[at] != (delimiter == '\t' ? '\t' : '\0')) {
    ++at;
  }
  return at;
}

// Takes a field that begins with a quote at `at`. Returns the place behind its closing quote; npos without one.
size_t TakeQuoted(std::string_view row, size_t at, std::string* field) {
  for (;;) {
    const size_t quote = row.find('"', at + 1);
    if (quote == std::string_view::npos) {
      return quote;
    }
    field->append(row.substr(at + 1, quote - at - 1));
    if (quote + 1 == row.size() || row[quote + 1] != '"') {
      return quote + 1;
    }
    field->push_back('"');
    at = quote + 1;
  }
}

size_t TakePlain(std::string_view row, size_t at, char delimiter, std::string* field) {
  const char stops[] = {'#', delimiter, delimiter == ' ' ? '\t' : delimiter, '\0'};
  const size_t end = std::min(row.find_first_of(stops, at), row.size());
  size_t last = end;
  while (last > at && IsBlank(row[last - 1])) {
    --last;
  }
  field->append(row.substr(at, last - at));
  return end;
}

bool AtEnd(std::string_view row, size_t at) { return at == row.size() || row[at] == '#'; }

// Returns what is wrong with the row; null if nothing is.
const char* Split(std::string_view row, char delimiter, std::vector<std::string>* fields) {
  fields->clear();
  for (size_t at = 0;; ++at) {
    at = SkipBlanks(row, at, delimiter);
    std::string* const field = &fields->emplace_back();
    const bool quoted = at < row.size() && row[at] == '"';
    at = quoted ? TakeQuoted(row, at, field) : TakePlain(row, at, delimiter, field);
    if (at == std::string_view::npos) {
      return "a quote that does not end in its line";
    }
    const size_t behind = at;
    at = SkipBlanks(row, at, delimiter);
    if (AtEnd(row, at)) {
      return nullptr;
    }
    const bool blanks = delimiter == ' ' && behind < at;
    if (!blanks && row[at] != delimiter) {
      return "text behind a closing quote";
    }
    at -= blanks ? 1 : 0;
  }
}

}  // namespace

std::string WithDecimalPoint(const std::string& text) {
  const size_t comma = text.find(',');
  std::string changed = text;
  if (comma != std::string::npos && text.find_first_of(",.", comma + 1) == std::string::npos &&
      text.find('.') == std::string::npos) {
    changed[comma] = '.';
  }
  return changed;
}

CsvReader::CsvReader(LineReader* lines, std::string delimiters) : lines_(lines), delimiters_(std::move(delimiters)) {}

bool CsvReader::Next() {
  while (lines_->Next()) {
    const std::string_view row = lines_->Text();
    if (AtEnd(row, SkipBlanks(row, 0, '\0'))) {
      continue;
    }
    first_ = delimiter_ == '\0';
    if (first_) {
      delimiter_ = DelimiterOf(row);
    }
    fault_ = Split(row, delimiter_, &fields_);
    if (fault_ != nullptr ||
        std::any_of(fields_.begin(), fields_.end(), [](const auto& field) { return !field.empty(); })) {
      return true;
    }
  }
  return false;
}

bool CsvReader::IsHeader() const {
  return first_ && fault_ == nullptr && std::none_of(fields_.begin(), fields_.end(), [&](const std::string& field) {
           return IsNumber(HasDecimalComma() ? WithDecimalPoint(field) : field);
         });
}

// The first delimiter between numbers; in a header, the first that is there.
char CsvReader::DelimiterOf(std::string_view row) {
  char in_header = '\0';
  for (const char delimiter : delimiters_) {
    if (Split(row, delimiter, &fields_) == nullptr && fields_.size() > 1) {
      if (AllNumbers(delimiter != ',')) {
        return delimiter;
      }
      in_header = in_header == '\0' ? delimiter : in_header;
    }
  }
  return in_header == '\0' ? ',' : in_header;
}

bool CsvReader::AllNumbers(bool decimal_comma) const {
  return std::all_of(fields_.begin(), fields_.end(), [&](const std::string& field) {
    return IsNumber(decimal_comma ? WithDecimalPoint(field) : field);
  });
}

template <class Number>
std::vector<Number> ReadColumn(const std::string& path, const std::string& what) {
  std::vector<Number> numbers;
  LineReader lines(path);
  for (CsvReader rows(&lines, ","); rows.Next();) {
    if (rows.Fault() != nullptr) {
      throw Failure(fmt::format("{}:{}: found {}, expected {}", path, rows.Line(), rows.Fault(), what));
    }
    if (!rows.IsHeader()) {
      numbers.push_back(NumberIn<Number>(rows.Fields().back(), path, rows.Line(), what));
    }
  }
  return numbers;
}

template std::vector<uint32_t> ReadColumn(const std::string&, const std::string&);
template std::vector<double> ReadColumn(const std::string&, const std::string&);

}  // namespace blnits
