#include "readings/by_table.h"

#include <fmt/format.h>

#include <algorithm>

#include "support/failure.h"
#include "support/troubles.h"

namespace blnits {
namespace {

class Distribution {
 public:
  Distribution(const GivenFile& from, ReadingsByTable* tables) : from_(from), tables_(*tables), troubles_(from.path) {}

  void Add(const ReadingsFile& file) {
    const bool both = file.split && std::any_of(file.readings.begin(), file.readings.end(),
                                                [](const RawReading& reading) { return *reading.hbm; });
    for (const RawReading& reading : file.readings) {
      const MeasuredTable* const table = TableOf(reading, file.split);
      if (table != nullptr) {
        Put(reading, *table);
        if (both && !table->hdr) {
          Put(reading, *FindTable(table->coverage, true));
        }
      }
    }
    troubles_.Check();
  }

 private:
  // Null if the reading is refused.
  const MeasuredTable* TableOf(const RawReading& reading, bool split) {
    const MeasuredTable* const given = from_.table;
    const uint32_t coverage = reading.coverage.value_or(given != nullptr ? given->coverage : 100);
    const auto* const table = FindTable(coverage, reading.hbm.value_or(given != nullptr && given->hdr));
    if (table == nullptr) {
      troubles_.Add(reading.line, fmt::format("found coverage {}, expected 10 or 100", coverage));
      return nullptr;
    }
    const bool fits =
        given == nullptr || (given->coverage == coverage && (given->hdr == table->hdr || (split && !given->hdr)));
    if (!fits) {
      troubles_.Add(reading.line, fmt::format("found a reading of {}, expected {} ({}); --readings takes a file of "
                                              "several tables",
                                              table->name, given->name, from_.option));
    }
    return fits ? table : nullptr;
  }

  void Put(const RawReading& reading, const MeasuredTable& table) {
    TableReadings& own = tables_[table.param];
    if (own.readings.empty()) {
      own.from = from_;
    } else if (own.from.option != from_.option) {
      throw Failure(fmt::format("{}:{}: found a reading of {}, expected none: the table is from {} ({})", from_.path,
                                reading.line, table.name, own.from.path, own.from.option));
    }
    own.readings.push_back(reading);
  }

  const GivenFile& from_;
  ReadingsByTable& tables_;
  Troubles troubles_;
};

}  // namespace

void AddToTables(const GivenFile& from, const ReadingsFile& file, ReadingsByTable* tables) {
  Distribution(from, tables).Add(file);
}

}  // namespace blnits
