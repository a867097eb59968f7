// Reads any bytes as a file of measurements. The first byte chooses the kind (see kKinds), the second one options; the
// rest is the file. The readers must refuse the file in words that a terminal can print, or give sound readings.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string_view>

#include "foreign_text.h"
#include "readings/readings.h"
#include "support/failure.h"
#include "support/memory_file.h"
#include "target.h"

namespace {

constexpr const char* kKinds[] = {"", "csv", "spotread", "displayconfig", "arrays"};
constexpr size_t kMostFaults = 21;  // Troubles::kLimit, and a line that says so.

void Require(bool holds, const char* invariant) {
  if (!holds) {
    std::fprintf(stderr, "broken: %s\n", invariant);
    std::abort();
  }
}

blnits::ReadingsOptions OptionsOf(uint8_t kind, uint8_t bits) {
  blnits::ReadingsOptions options;
  options.kind = kKinds[kind % std::size(kKinds)];
  options.levels = (bits & 1) != 0 ? "0..255:85" : "";
  options.repeats = (bits & 2) != 0 ? 2 : 1;
  options.scale = (bits & 4) != 0 ? blnits::ParseScale("2:5") : std::nullopt;
  options.top_level = (bits & 8) != 0 ? std::nullopt : std::optional<uint32_t>(4095);
  options.hbm_from = (bits & 16) != 0 ? std::optional<uint32_t>(200) : std::nullopt;
  options.level_column = (bits & 32) != 0 ? "1" : "";
  options.nits_column = (bits & 32) != 0 ? "y" : "";
  return options;
}

void CheckFile(const blnits::ReadingsFile& file) {
  Require(!file.readings.empty(), "a file that is read has readings");
  for (const blnits::RawReading& reading : file.readings) {
    Require(reading.level <= INT32_MAX, "a level is one that a device can have");
    Require(std::isfinite(reading.nits), "a luminance is finite");
    Require(reading.line >= 1, "lines begin with 1");
    Require(!reading.coverage || (*reading.coverage >= 1 && *reading.coverage <= 100), "a coverage is in per cent");
    Require(!file.split || reading.hbm, "each reading of a split file has its mode");
  }
  for (const std::string& note : file.notes) {
    Require(blnits::Printable(note) == note, "a note is printable");
  }
}

void CheckRefusal(const blnits::Failure& failure, const std::string& path) {
  Require(std::string_view(failure.what()).substr(0, path.size()) == path, "a refusal names the file");
  Require(failure.more.size() < kMostFaults, "a refusal has a limit");
  Require(blnits::Printable(failure.what()) == failure.what(), "a refusal is printable");
  for (const std::string& line : failure.more) {
    Require(blnits::Printable(line) == line, "each line of a refusal is printable");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) {
    return 0;
  }
  const blnits::MemoryFile file({reinterpret_cast<const char*>(data) + 2, size - 2});
  const blnits::ReadingsOptions options = OptionsOf(data[0], data[1]);
  try {
    const blnits::ReadingsFile read = blnits::ReadReadings(file.Path(), options);
    CheckFile(read);
    blnits::ReadingsOptions forced = options;
    forced.kind = read.kind;
    Require(blnits::ReadReadings(file.Path(), forced).readings.size() == read.readings.size(),
            "a kind reads the same whether it is recognised or forced");
  } catch (const blnits::Failure& failure) {
    CheckRefusal(failure, file.Path());
  }
  return 0;
}
