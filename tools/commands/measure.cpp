#include <fcntl.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <random>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "commands/readings_options.h"
#include "foreign_text.h"
#include "measuring/measurement.h"
#include "measuring/signals.h"
#include "panel/plan.h"
#include "readings/levels.h"
#include "readings/readings.h"
#include "support/failure.h"
#include "support/json.h"
#include "support/output_file.h"
#include "support/status_line.h"

namespace blnits {
namespace {

struct MeasureOptions {
  std::string backlight;
  std::string set;
  std::string meter;
  std::string read;
  std::string from;  ///< One of ReadingKinds(); empty: by content.
  std::string levels;
  std::optional<uint32_t> count;  ///< Levels that are chosen in the range; empty: all.
  MeasurementPlan plan;           ///< Without its levels.
  std::optional<uint64_t> seed;
  MeasurementOptions measurement;
  double timeout_seconds = 60.0;
  bool prompt = false;
  bool correct_drift = false;
  std::string output;
  bool resume = false;
  bool dry_run = false;
  double reading_seconds = 2.0;
  std::string format = "text";
};

/// What a measurement has given.
struct Outcome {
  size_t readings;  ///< In the file.
  std::vector<Step> missing;
  std::vector<Drift> drifts;
};

std::string DurationOf(double seconds) {
  const auto whole = static_cast<uint64_t>(std::clamp(std::ceil(seconds), 0.0, 1e12));
  const uint64_t minutes = whole / 60;
  if (minutes == 0) {
    return fmt::format("{} s", whole);
  }
  return minutes < 60 ? fmt::format("{} min {} s", minutes, whole % 60)
                      : fmt::format("{} h {} min", minutes / 60, minutes % 60);
}

// Standard error may be a closed pipe: readings go on then. fmt::print would throw.
void SayToUser(const std::string& text) { std::fputs(text.c_str(), stderr); }

void Warn(const std::string& text) { SayToUser(fmt::format("blnits: {}\n", text)); }

/// On a terminal a bar; otherwise a line after each tenth of the readings.
class Progress {
 public:
  explicit Progress(size_t total) : total_(total) {}

  void Show(const Step& step, size_t done, std::optional<double> last_nits) {
    if (!first_) {
      first_ = done;
      start_ = std::chrono::steady_clock::now();
    }
    const std::string text = fmt::format("{} of {} readings, level {}{}{}", done, total_, step.level,
                                         last_nits ? fmt::format(", last {:.4f} nits", *last_nits) : "", Left(done));
    if (line_.Shows()) {
      constexpr size_t kWidth = 10;  // With the text, it fits into 80 columns.
      const size_t full = done * kWidth / total_;
      line_.Show(fmt::format("[{:#<{}}{:-<{}}] {}", "", full, "", kWidth - full, text));
    } else if (done * 10 / total_ > tenths_) {
      Warn(text);
    }
    tenths_ = done * 10 / total_;
  }

  void Erase() { line_.Erase(); }

 private:
  std::string Left(size_t done) const {
    if (done <= *first_) {
      return "";
    }
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start_;
    const double each = spent.count() / static_cast<double>(done - *first_);
    return fmt::format(", {} left", DurationOf(each * static_cast<double>(total_ - done)));
  }

  size_t total_;
  StatusLine line_;
  std::optional<size_t> first_;  ///< The readings that the file had before.
  std::chrono::steady_clock::time_point start_;
  size_t tenths_ = 0;
};

/// Waits for a line of standard input. \throws Failure at its end; Interrupted.
void AwaitEnter() {
  char c = '\0';
  while (c != '\n') {
    std::vector<pollfd> input = {{STDIN_FILENO, POLLIN, 0}};
    WaitFor(&input, After(1e8));
    if (read(STDIN_FILENO, &c, 1) <= 0) {
      throw Failure("standard input ended, expected Enter");
    }
  }
}

/// Shows a text and waits for Enter. \throws Failure if there is neither a terminal nor --prompt.
void AskUser(const std::string& text, const MeasureOptions& options, Progress* progress) {
  if (!options.prompt && isatty(STDIN_FILENO) != 1) {
    throw Failure(
        fmt::format("a user is needed: {}; run it on a terminal, or give --prompt if standard input answers", text));
  }
  progress->Erase();
  SayToUser(text + "\nThen press Enter: ");
  AwaitEnter();
  SayToUser("\n");
}

// Lines of the meter, printable each.
void AskForMeter(std::string request, const MeasureOptions& options, Progress* progress) {
  while (!request.empty() && request.back() == '\n') {
    request.pop_back();
  }
  AskUser("the meter asks:\n" + request, options, progress);
}

uint64_t RandomSeed() {
  uint32_t seed = 0;
  if (getentropy(&seed, sizeof seed) != 0) {
    throw Failure("the system has no random number for --order shuffled; give --seed");
  }
  return seed;
}

// The seed of a file that is continued is in its head.
uint64_t SeedOf(const MeasureOptions& options) {
  if (options.seed) {
    return *options.seed;
  }
  const std::string start = "shuffled, seed ";
  uint32_t seed = 0;
  for (const auto& [name, value] : options.resume ? ReadingsLog::HeadOf(options.output) : ReadingsLog::Head()) {
    if (name == "order" && value.compare(0, start.size(), start) == 0 &&
        ParseNumber(value.substr(start.size()), &seed)) {
      return seed;
    }
  }
  return RandomSeed();
}

std::vector<uint32_t> LevelsFor(const MeasureOptions& options) {
  if (options.count) {
    const RangeOfLevels range = RangeOf(options.levels, "--levels");
    return PlannedLevels(range.first, range.last, *options.count, range.step);
  }
  std::vector<uint32_t> levels;
  for (const double level : LevelsOf(options.levels, false, MeasurementPlan::kMostReadings)) {
    levels.push_back(static_cast<uint32_t>(level));
  }
  return levels;
}

MeasurementPlan PlanOf(const MeasureOptions& options) {
  MeasurementPlan plan = options.plan;
  plan.levels = LevelsFor(options);
  if (plan.order == "shuffled") {
    plan.seed = SeedOf(options);
  }
  if (plan.coverages.size() > 1 && !options.prompt) {
    throw Failure("--coverage: found several test patterns, expected one without --prompt: a user must show each");
  }
  StepsOf(plan);
  return plan;
}

void CheckLevels(const MeasurementPlan& plan, const PanelDriver& panel) {
  uint32_t highest = *std::max_element(plan.levels.begin(), plan.levels.end());
  highest = std::max(highest, plan.reference.value_or(0));
  const auto last = panel.LastLevel();
  if (last && highest > *last) {
    throw Failure(fmt::format("the plan has level {}, expected at most {}: {}", highest, *last, panel.Description()));
  }
}

std::unique_ptr<PanelDriver> PanelOf(const MeasureOptions& options) {
  return options.set.empty() ? MakeBacklight(options.backlight)
                             : MakeCommandPanel(options.set, options.timeout_seconds);
}

std::unique_ptr<Meter> MeterOf(const MeasureOptions& options, Progress* progress) {
  const MeterOptions meter = {options.timeout_seconds, [&options, progress](const std::string& request) {
                                AskForMeter(request, options, progress);
                              }};
  return options.read.empty() ? MakeSpotread(options.meter, meter)
                              : MakeCommandMeter(options.read, options.from, meter);
}

std::string Host() {
  utsname system = {};
  uname(&system);
  return fmt::format("{}, {} {} {}", system.nodename, system.sysname, system.release, system.machine);
}

ReadingsLog::Head HeadFor(const MeasurementPlan& plan, const PanelDriver& panel, const Meter& meter) {
  ReadingsLog::Head head = {{"panel", panel.Description()}, {"meter", meter.Description()}};
  const auto words = WordsOf(plan);
  head.insert(head.end(), words.begin(), words.end());
  return head;
}

MeasurementEvents EventsFor(const MeasureOptions& options, Progress* progress) {
  MeasurementEvents events;
  events.progress = [progress](const Step& step, size_t done, std::optional<double> last_nits) {
    progress->Show(step, done, last_nits);
  };
  events.warn = [progress](const std::string& text) {
    progress->Erase();
    Warn(text);
  };
  if (options.prompt) {
    events.show_pattern = [&options, progress](uint32_t coverage) {
      AskUser(fmt::format("Show the test pattern: {} % of the screen white, mode {}.", coverage,
                          JsonModeOf(options.plan.hbm)),
              options, progress);
    };
  }
  return events;
}

Outcome Take(const MeasurementPlan& plan, const MeasureOptions& options) {
  const size_t total = StepsOf(plan).size();
  Progress progress(total);
  const auto panel = PanelOf(options);
  CheckLevels(plan, *panel);
  const auto meter = MeterOf(options, &progress);
  ReadingsLog log(options.output, HeadFor(plan, *panel, *meter), {{"host", Host()}}, plan.hbm, options.resume);
  const auto state = [&] {
    return fmt::format("{} has {} of {} readings; --resume goes on there", log.Path(), log.Count(), total);
  };
  Outcome outcome = {};
  try {
    outcome.missing = Measure(plan, options.measurement, EventsFor(options, &progress), panel.get(), meter.get(), &log);
  } catch (const Failure& failure) {
    std::vector<std::string> more = failure.more;
    more.push_back(state());
    throw Failure(failure.what(), more);
  } catch (const Interrupted&) {
    progress.Erase();
    Warn(Printable(state()));
    throw;
  }
  log.Finish(options.correct_drift);
  outcome.readings = log.Count();
  outcome.drifts = log.Drifts();
  return outcome;
}

nlohmann::ordered_json JsonOf(const std::vector<Step>& steps) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const Step& step : steps) {
    list.push_back({{"reading", step.number}, {"level", step.level}, {"coverage", step.coverage}});
  }
  return list;
}

template <class Value>
nlohmann::ordered_json JsonOf(const std::optional<Value>& value) {
  return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json();
}

nlohmann::ordered_json JsonOf(const MeasurementPlan& plan) {
  return {{"levels", plan.levels.size()},
          {"order", plan.order},
          {"seed", plan.order == "shuffled" ? nlohmann::ordered_json(plan.seed) : nlohmann::ordered_json()},
          {"repeats", plan.repeats},
          {"coverages", plan.coverages},
          {"mode", JsonModeOf(plan.hbm)},
          {"settle_seconds", plan.settle_seconds},
          {"stable_percent", JsonOf(plan.stable_percent)},
          {"reference_level", JsonOf(plan.reference)},
          {"reference_every", plan.reference_every},
          {"readings", StepsOf(plan).size()},
          {"reference_readings", ReferencesIn(plan)}};
}

void PrintJson(const Outcome& outcome, const MeasurementPlan& plan, const MeasureOptions& options) {
  nlohmann::ordered_json object = JsonReport("measure");
  object["dry_run"] = false;
  object["readings_file"] = options.output;
  object["plan"] = JsonOf(plan);
  object["readings"] = outcome.readings;
  object["missing"] = JsonOf(outcome.missing);
  object["drift_corrected"] = options.correct_drift;
  object["drift"] = nlohmann::ordered_json::object();
  for (const Drift& drift : outcome.drifts) {
    nlohmann::ordered_json& table = object["drift"][JsonKeyOf(plan.hbm, drift.coverage)];
    table = JsonTable(plan.hbm, drift.coverage);
    table["first_nits"] = drift.first_nits;
    table["last_nits"] = drift.last_nits;
    table["change_percent"] = drift.change_percent;
    table["largest_change_percent"] = drift.largest_percent;
  }
  fmt::print("{}\n", JsonLine(object));
}

void PrintText(const Outcome& outcome, const MeasurementPlan& plan, const MeasureOptions& options) {
  fmt::print("{}: {} of {} readings\n", Printable(options.output), outcome.readings, StepsOf(plan).size());
  for (const Drift& drift : outcome.drifts) {
    fmt::print(
        "drift at coverage {} %: level {} changed from {:.4f} to {:.4f} nits ({:+.3f} %, largest {:+.3f} %), {}\n",
        drift.coverage, plan.reference.value_or(0), drift.first_nits, drift.last_nits, drift.change_percent,
        drift.largest_percent, options.correct_drift ? "taken out" : "not taken out");
  }
  for (const Step& step : outcome.missing) {
    fmt::print("missing: reading {}, level {}, coverage {} %\n", step.number, step.level, step.coverage);
  }
}

void PrintPlan(const MeasurementPlan& plan, const PanelDriver& panel, const MeasureOptions& options) {
  const double seconds = SecondsOf(plan, options.reading_seconds);
  const std::vector<Step> steps = StepsOf(plan);
  if (options.format == "json") {
    nlohmann::ordered_json object = JsonReport("measure");
    object["dry_run"] = true;
    object["plan"] = JsonOf(plan);
    object["reading_seconds"] = options.reading_seconds;
    object["estimated_seconds"] = seconds;
    object["steps"] = JsonOf(steps);
    fmt::print("{}\n", JsonLine(object));
    return;
  }
  fmt::print("{:<12}{}\n{:<12}{}\n", "panel", panel.Description(), "meter",
             Printable(options.read.empty() ? options.meter : "command " + options.read));
  for (const auto& [name, value] : WordsOf(plan)) {
    fmt::print("{:<12}{}\n", name, value);
  }
  fmt::print("{:<12}{} and {} of the reference\n", "readings", steps.size(), ReferencesIn(plan));
  fmt::print("{:<12}about {}, if the meter takes {} s (--reading-seconds)\n", "time", DurationOf(seconds),
             options.reading_seconds);
  fmt::print("{:>10}{:>10}{:>10}\n", "reading", "level", "coverage");
  for (const Step& step : steps) {
    fmt::print("{:>10}{:>10}{:>8} %\n", step.number, step.level, step.coverage);
  }
}

// A file that is opened must not become one of the standard streams, whose number is the lowest free one.
void OpenStandardStreams() {
  int descriptor = 0;
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
    descriptor = open("/dev/null", O_RDWR);
  }
  close(descriptor);
}

void CheckOptions(const MeasureOptions& options) {
  if (options.backlight.empty() == options.set.empty()) {
    throw Failure("expected either --backlight NAME or --set COMMAND for the panel");
  }
  if (options.meter.empty() == options.read.empty()) {
    throw Failure("expected either --meter spotread or --read COMMAND for the meter");
  }
  if (!options.from.empty() && options.read.empty()) {
    throw Failure("--from: expected --read, whose output it is for");
  }
  if (options.correct_drift && !options.plan.reference) {
    throw Failure("--correct-drift: expected --reference LEVEL, which tells the drift");
  }
  if (!options.dry_run && options.output.empty()) {
    throw Failure("--output: found none, expected the file of readings");
  }
  if (!options.dry_run && !IsRegularOutput(options.output)) {
    throw Failure(
        fmt::format("--output: found {}, expected a regular file: readings must get on a disk", options.output));
  }
}

void Run(const MeasureOptions& options) {
  OpenStandardStreams();
  CheckOptions(options);
  const MeasurementPlan plan = PlanOf(options);
  if (options.dry_run) {
    const auto panel = PanelOf(options);
    CheckLevels(plan, *panel);
    return PrintPlan(plan, *panel, options);
  }
  Outcome outcome = {};
  try {
    const EndingSignals signals;
    outcome = Take(plan, options);
  } catch (const std::exception& error) {
    if (EndingSignals::Caught() == 0) {
      throw;
    }
  }
  if (EndingSignals::Caught() != 0) {
    EndingSignals::EndProcess();
  }
  if (options.format == "json") {
    PrintJson(outcome, plan, options);
  } else {
    PrintText(outcome, plan, options);
  }
  if (!outcome.missing.empty()) {
    throw Negative();
  }
}

constexpr uint32_t kMostRepeats = 1000000;

void AddDeviceOptions(const Subcommand& command, MeasureOptions* options) {
  command.Add("--backlight", &options->backlight, "The panel: a backlight of Linux in /sys/class/backlight")
      .Takes("NAME");
  command
      .Add("--set", &options->set,
           "The panel: a command that sets the level {level}, such as 'ddcutil setvcp 10 {level}'")
      .Takes("COMMAND");
  command
      .Add("--restore", &options->measurement.restore,
           "The panel's level at the end; default: the one from before, which --set does not know")
      .Takes("LEVEL");
  command
      .Add("--meter", &options->meter,
           "The meter: spotread of ArgyllCMS, with its options: 'spotread -y l'. -e is added")
      .Takes("COMMAND");
  command.Add("--read", &options->read, "The meter: a command that prints one reading in nits").Takes("COMMAND");
  AddKindOption(command, "Kind of what --read prints; default: recognised by its content", &options->from);
}

void AddPlanOptions(const Subcommand& command, MeasureOptions* options) {
  MeasurementPlan* const plan = &options->plan;
  command.Add("--levels", &options->levels, "Levels: 0..255, 0..255:5, or a file with one on each line")
      .Required()
      .Takes("FILE|RANGE");
  command
      .Add("--count", &options->count,
           "Choose so many levels of the range FIRST..LAST, dense at the dark end, as plan does")
      .Between(2, 65536)
      .Takes("N");
  command.Add("--order", &plan->order, "Order of the levels: up, down or shuffled")
      .OneOfMany({"up", "down", "shuffled"})
      .Takes("ORDER")
      .ShowDefault();
  command.Add("--seed", &options->seed, "Repeat the shuffled order of this number; default: a random one")
      .Between(0, UINT32_MAX)
      .Takes("N");
  command.Add("--repeats", &plan->repeats, "Readings in a row at each level")
      .Between(1, kMostRepeats)
      .Takes("N")
      .ShowDefault();
  command.Add("--settle", &plan->settle_seconds, "Time from a new level to its first reading")
      .NotNegative()
      .Takes("SECONDS")
      .ShowDefault();
  command
      .Add("--stable", &plan->stable_percent,
           "Read until two readings in a row agree within this; the second one counts")
      .NotNegative()
      .Takes("PERCENT");
  command
      .Add("-c,--coverage", &plan->coverages,
           "Share of the screen that the test pattern lights, 1 to 100 per cent; several with --prompt")
      .Between(1, 100)
      .Takes("PERCENT")
      .ShowDefault();
  command.AddFlag("--hbm", &plan->hbm, "The panel is in high brightness");
  command.AddFlag("--prompt", &options->prompt, "Ask the user to show each test pattern");
  command.Add("--reference", &plan->reference, "Read this level again and again, which tells the drift").Takes("LEVEL");
  command.Add("--reference-every", &plan->reference_every, "Readings between two of the reference")
      .Between(1, kMostRepeats)
      .Takes("N")
      .ShowDefault();
  command.AddFlag("--correct-drift", &options->correct_drift, "Take the drift out; both values stay in the file");
}

void AddRunOptions(const Subcommand& command, MeasureOptions* options) {
  command.Add("--retries", &options->measurement.retries, "How often a failed reading is repeated")
      .Between(0, kMostRepeats)
      .Takes("N")
      .ShowDefault();
  command.Add("--timeout", &options->timeout_seconds, "The longest time of one reading, and of one --set")
      .NotNegative()
      .Takes("SECONDS")
      .ShowDefault();
  command.Add("-o,--output", &options->output, "The file of readings").Takes("FILE");
  command.AddFlag("--resume", &options->resume, "Continue the file, or begin it if there is none");
  command.AddFlag("--dry-run", &options->dry_run, "Print the plan and the time that it takes");
  command.Add("--reading-seconds", &options->reading_seconds, "Time of one reading, for the estimate of --dry-run")
      .NotNegative()
      .Takes("SECONDS")
      .ShowDefault();
  AddFormatOption(command, &options->format);
}

}  // namespace

void AddMeasureCommand(CLI::App* app) {
  const Subcommand command(app, "measure", "Drive a panel, read a meter, write a file of readings");
  auto options = std::make_shared<MeasureOptions>();
  AddDeviceOptions(command, options.get());
  AddPlanOptions(command, options.get());
  AddRunOptions(command, options.get());
  command.Footer(
      "Each reading is on the disk before the next begins. After a crash, the same command with --resume goes on.\n"
      "import and verify take the file as it is. Commands run without a shell: blanks separate the words, single and\n"
      "double quotes keep them together, and there are no variables. Level 0 may switch a backlight off.\n"
      "Exit status: 1 if readings are missing.\n"
      "Example: blnits measure --backlight intel_backlight --meter 'spotread -y l' --levels 0..255:5 --settle 0.5 "
      "-o fresh.csv");
  command.Action([options] { Run(*options); });
}

}  // namespace blnits
