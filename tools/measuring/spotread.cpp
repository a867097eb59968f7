#include <fmt/format.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "foreign_text.h"
#include "measuring/child.h"
#include "measuring/meter.h"
#include "measuring/reading_failed.h"
#include "measuring/words.h"
#include "readings/spotread_line.h"
#include "support/failure.h"
#include "support/program.h"

namespace blnits {
namespace {

constexpr double kPatienceAtEnd = 5.0;  // seconds

bool Has(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }
bool StartsWith(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

std::vector<std::string> SessionWords(const std::string& command) {
  std::vector<std::string> words = WordsOf("--meter", command);
  if (words.front().substr(words.front().find_last_of('/') + 1) != "spotread") {
    throw Failure(fmt::format("--meter: found \"{}\", expected spotread and its options; --read takes other programs",
                              Shown(words.front())));
  }
  for (const std::string& word : words) {
    if (word == "-a" || word == "-O") {
      throw Failure(fmt::format("--meter: found {}, expected options that read a display again and again", word));
    }
  }
  if (std::find(words.begin(), words.end(), "-e") == words.end()) {
    words.insert(words.begin() + 1, "-e");
  }
  return words;
}

// spotread reads keys from its standard input. It must get one key at a time, and only at a prompt: a key that comes
// early aborts a reading or answers another prompt. Its standard input stays open, because it waits for ever at the end
// of a file. Its exit status tells nothing, because it is 0 after most errors, too: only a result counts.
class Spotread : public Meter {
 public:
  Spotread(const std::string& command, const MeterOptions& options)
      : options_(options),
        words_(SessionWords(command)),
        spotread_(words_, "ARGYLL_NOT_INTERACTIVE=1", true),
        deadline_(After(options.timeout_seconds)) {}

  std::string Description() const override {
    std::string text;
    for (const std::string& word : words_) {
      text.append(text.empty() ? "" : " ").append(word);
    }
    return Shown(text, 500);
  }

  double Read() override {
    bool asked = false;  // Whether this reading's key was sent.
    reason_ = "it gave no result";
    for (;;) {
      deadline_ = After(options_.timeout_seconds);
      if (at_prompt_ && !asked) {
        Press(' ');
        asked = true;
      }
      switch (Next()) {
        case Said::kResult:
          if (asked) {
            return nits_;
          }
          break;  // Of the switch of the instrument: nobody has asked for it.
        case Said::kReadingPrompt:
          at_prompt_ = true;
          if (asked) {
            throw ReadingFailed(fmt::format("spotread: {}", reason_));
          }
          break;
        case Said::kRetryPrompt:
          Press(' ');
          break;
        case Said::kCalibrationPrompt:
          options_.ask(request_);
          Press(' ');
          asked = false;  // The reading prompt comes again.
          break;
      }
    }
  }

  // A first q stops, a second one gives up. The process is ended otherwise if it does not answer.
  void Finish() override {
    deadline_ = After(kPatienceAtEnd);
    try {
      while (!at_prompt_) {
        at_prompt_ = Next() == Said::kReadingPrompt;
      }
      Press('q');
      while (Next() != Said::kRetryPrompt) {
      }
      Press('q');
      while (spotread_.Receive(deadline_)) {
      }
    } catch (const Failure&) {
    } catch (const TimedOut&) {
    }
  }

 private:
  enum class Said { kResult, kReadingPrompt, kRetryPrompt, kCalibrationPrompt };

  void Press(char key) {
    spotread_.Send(key);
    at_prompt_ = false;
    request_.clear();
  }

  Said Next() {
    std::string& output = spotread_.Output();
    for (;;) {
      const size_t end = output.find('\n');
      const std::string line = output.substr(0, end);
      const std::optional<Said> said = end == std::string::npos ? Prompt(line) : Line(line);
      if (end != std::string::npos) {
        output.erase(0, end + 1);
      } else if (said) {
        output.clear();
      } else {
        Receive();
      }
      if (said) {
        return *said;
      }
    }
  }

  void Receive() {
    try {
      if (spotread_.Receive(deadline_)) {
        return;
      }
    } catch (const TimedOut&) {
      throw Failure(fmt::format("spotread is silent for {} s (--timeout)", options_.timeout_seconds));
    }
    const std::string& errors = spotread_.Errors();
    const bool told = errors.empty() && !WIFSIGNALED(spotread_.Status());
    throw Failure(fmt::format("spotread ended: {}", told ? reason_ : ReasonOf(spotread_.Status(), errors)));
  }

  // Prompts end without a line feed, and have been printed completely when their colon is there.
  static std::optional<Said> Prompt(std::string_view tail) {
    if (Has(tail, "to take a reading:")) {
      return Said::kReadingPrompt;
    }
    if (Has(tail, "any other key to retry:")) {
      return Said::kRetryPrompt;
    }
    const size_t abort = tail.find("Esc or Q to abort");
    const bool complete = abort != std::string_view::npos && tail.find(':', abort) != std::string_view::npos;
    return complete ? std::optional(Said::kCalibrationPrompt) : std::nullopt;
  }

  std::optional<Said> Line(const std::string& text) {
    const std::string line = Shown(text.substr(std::min(text.find_first_not_of(" \t\r"), text.size())), 200);
    if (IsSpotreadResult(line)) {
      if (!ParseSpotreadResult(line, &nits_)) {
        throw Failure(fmt::format(R"(spotread printed "{}", expected "Result is XYZ: X Y Z,")", line));
      }
      return Said::kResult;
    }
    if (IsEnd(line)) {
      throw Failure("spotread: " + line);
    }
    if (StartsWith(line, "Spot read failed") || StartsWith(line, "Calibration failed")) {
      reason_ = line;
    } else if (StartsWith(line, "(") && Has(reason_, "wrong position")) {
      reason_ += " " + line;
    }
    // The one prompt that is a whole line.
    if (StartsWith(line, "Hit any key to retry")) {
      return Said::kCalibrationPrompt;
    }
    request_ += line.empty() ? "" : line + "\n";
    return std::nullopt;
  }

  static bool IsEnd(std::string_view line) {
    constexpr std::array<const char*, 4> kEnds = {"Got fatal error", "Instrument initialisation failed",
                                                  "Failed to initialise communications",
                                                  "Spot read got abort or error from calibration"};
    return std::any_of(kEnds.begin(), kEnds.end(), [&](const char* end) { return StartsWith(line, end); });
  }

  MeterOptions options_;
  std::vector<std::string> words_;
  Child spotread_;
  Deadline deadline_;
  bool at_prompt_ = false;  ///< It waits for the key that begins a reading.
  double nits_ = 0.0;
  std::string reason_ = "it gave no reason";  ///< Why the last reading failed.
  std::string request_;                       ///< The lines since the last key: how to calibrate.
};

}  // namespace

std::unique_ptr<Meter> MakeSpotread(const std::string& command, const MeterOptions& options) {
  return std::make_unique<Spotread>(command, options);
}

}  // namespace blnits
