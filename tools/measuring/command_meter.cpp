#include <fmt/format.h>

#include "foreign_text.h"
#include "measuring/child.h"
#include "measuring/meter.h"
#include "measuring/reading_failed.h"
#include "measuring/words.h"
#include "readings/readings.h"
#include "support/failure.h"
#include "support/memory_file.h"

namespace blnits {
namespace {

class CommandMeter : public Meter {
 public:
  CommandMeter(const std::string& command, const std::string& kind, double timeout)
      : command_(command), words_(WordsOf("--read", command)), timeout_(timeout) {
    options_.kind = kind;
    options_.levels = "0..0";  // One reading; its level comes from the plan.
  }

  std::string Description() const override { return fmt::format("command {}", Shown(command_, 500)); }

  double Read() override {
    const std::string text = OutputOf(words_, timeout_);
    try {
      return ReadReadings(MemoryFile(text).Path(), options_).readings.front().nits;
    } catch (const Failure&) {  // It names a file in memory, which tells the user nothing.
      throw ReadingFailed(fmt::format("{} printed \"{}\", expected one reading", Shown(words_.front(), 200),
                                      Shown(text.substr(0, text.find_last_not_of('\n') + 1), 80)));
    }
  }

  void Finish() override {}

 private:
  std::string command_;
  std::vector<std::string> words_;
  double timeout_;
  ReadingsOptions options_;
};

}  // namespace

std::unique_ptr<Meter> MakeCommandMeter(const std::string& command, const std::string& kind,
                                        const MeterOptions& options) {
  return std::make_unique<CommandMeter>(command, kind, options.timeout_seconds);
}

}  // namespace blnits
