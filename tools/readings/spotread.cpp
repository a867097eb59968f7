#include <fmt/format.h>

#include <algorithm>

#include "foreign_text.h"
#include "readings/readers.h"
#include "readings/spotread_line.h"
#include "support/failure.h"
#include "support/numbers.h"

namespace blnits {
namespace {

constexpr std::string_view kPrompt = "to take a reading:";
constexpr std::string_view kFailed = "Spot read failed";
constexpr const char* kExpected = "\"Result is XYZ: X Y Z,\"";

std::string_view WithoutIndent(std::string_view line) {
  return line.substr(std::min(line.find_first_not_of(" \t"), line.size()));
}

bool StartsWith(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

// Takes the text up to `end`, and `end` itself. False if there is no `end`.
bool Take(std::string_view* text, char end, std::string* taken) {
  const size_t at = text->find(end);
  if (at == std::string_view::npos) {
    return false;
  }
  *taken = text->substr(0, at);
  text->remove_prefix(at + 1);
  return true;
}

// With -a the instrument reads lux. A Y-only instrument and the lines below a result tell it.
bool IsAmbient(std::string_view line) {
  return StartsWith(line, "Result is Y: ") || StartsWith(line, "Ambient = ") ||
         StartsWith(line, "Suggested EV @ ISO100");
}

}  // namespace

bool IsSpotreadResult(std::string_view line) { return StartsWith(line, "Result is "); }

// Needs the comma after Z: a line that was cut before it may have lost digits of Y.
bool ParseSpotreadResult(std::string_view line, double* y) {
  const std::string_view start = "Result is XYZ: ";
  if (!StartsWith(line, start)) {
    return false;
  }
  line.remove_prefix(start.size());
  std::string numbers[3];
  double unused = 0.0;
  return Take(&line, ' ', &numbers[0]) && Take(&line, ' ', &numbers[1]) && Take(&line, ',', &numbers[2]) &&
         ParseNumber(numbers[0], &unused) && ParseNumber(numbers[1], y) && ParseNumber(numbers[2], &unused);
}

// In a file of readings of another kind, a comment may quote the prompt.
bool IsSpotreadLine(std::string_view line) {
  const std::string_view text = WithoutIndent(line);
  return IsSpotreadResult(text) || (!StartsWith(text, "#") && text.find(kPrompt) != std::string_view::npos);
}

void ReadSpotread(LineReader* lines, Collected* collected) {
  if (!collected->HasLevels()) {
    throw Failure(
        fmt::format("{}: found a transcript of spotread, which has no levels; expected --levels", collected->Path()));
  }
  size_t found = 0;
  size_t failed = 0;
  while (lines->Next()) {
    const std::string_view line = WithoutIndent(lines->Text());
    double y = 0.0;
    if (IsAmbient(line)) {
      collected->Refuse(lines->Line(), "found an ambient reading in lux, expected readings of a display in nits");
    } else if (IsSpotreadResult(line)) {
      ++found;
      if (ParseSpotreadResult(line, &y)) {
        collected->AddInOrder(lines->Line(), y);
      } else {
        collected->Refuse(lines->Line(), fmt::format("found \"{}\", expected {}", Shown(line, 80), kExpected));
      }
    }
    failed += StartsWith(line, kFailed) ? 1 : 0;
  }
  if (found == 0) {
    throw Failure(fmt::format("{}: found no results, expected lines with {}", collected->Path(), kExpected));
  }
  if (failed > 0) {
    collected->Note(
        fmt::format("the instrument failed {} time{}; only its results are taken", failed, failed == 1 ? "" : "s"));
  }
}

}  // namespace blnits
