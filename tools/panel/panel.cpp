#include "panel/panel.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <system_error>

#include "foreign_text.h"
#include "load_trouble.h"
#include "path_factory.h"

namespace blnits {
namespace {

namespace fs = std::filesystem;

// An existing file is a path whatever its name.
bool IsPath(const std::string& argument) {
  std::error_code error;
  return argument.find('/') != std::string::npos || fs::path(argument).extension() == zarn::format::kFileSuffix ||
         (fs::exists(argument, error) && !fs::is_directory(argument, error));
}

// The folders in which the library searched for `file` without finding it.
std::string Searched(const fs::path& file) {
  if (!file.has_parent_path()) {
    return "the working folder, and there is no /vendor/etc/display or /usr/data/display; to read another file, give "
           "its path";
  }
  const std::string folder = file.parent_path().string();
  return folder == "/usr/data/display" ? folder : "/vendor/etc/display or /odm/etc/display";
}

// The panel name that the library would use for this file.
std::string PanelNameOf(const fs::path& path) {
  const std::string start = zarn::format::kFilePrefix;
  const std::string stem = path.stem().string();
  return stem.compare(0, start.size(), start) == 0 ? stem.substr(start.size()) : stem;
}

// The library's message about a refusal: its first Error, otherwise its first Warning. Printable, and without the
// addresses that change from run to run.
std::string WordsOfRefusal(const std::vector<LogLine>& log) {
  auto line = std::find_if(log.begin(), log.end(), [](const LogLine& each) { return each.level == 'E'; });
  if (line == log.end()) {
    line = std::find_if(log.begin(), log.end(), [](const LogLine& each) { return each.level == 'W'; });
  }
  std::string words = line != log.end() ? line->text : "nothing";
  const size_t address = words.find(" ptr ");
  if (address != std::string::npos) {
    words.erase(address + 4, words.find(' ', address + 5) - address - 4);
  }
  return Printable(words);
}

// The message about a file that is required but not loaded: its place, the first trouble and the library's message.
std::string TellRefusal(const std::string& file, const std::vector<LogLine>& log) {
  const std::vector<LoadTrouble> troubles = LoadTroubles(CalibrationSource(file));
  const LoadTrouble& first = troubles.front();
  return fmt::format(
      "{}{}: {}{}; the device refuses the file and says: {}", Printable(file),
      first.line > 0 ? fmt::format(":{}", first.line) : "", first.text,
      troubles.size() > 1 ? fmt::format(" (blnits check lists {} more faults)", troubles.size() - 1) : "",
      WordsOfRefusal(log));
}

zarn::client::Mode ModeOf(bool hdr) {
  return hdr ? zarn::client::Mode::kHighBrightness : zarn::client::Mode::kStandard;
}

// 0, or the library's code.
template <class Value>
int ResultOf(const zarn::client::Result<Value>& result) {
  return result ? 0 : result.error().code;
}

}  // namespace

Panel::Panel(const std::string& argument, CapturedLog* log) : Panel(log) {
  if (IsPath(argument)) {
    OpenByPath(argument);
  } else {
    OpenByName(argument);
  }
}

Panel Panel::FromFile(const std::string& path, CapturedLog* log) {
  Panel panel(log);
  panel.OpenByPath(path);
  return panel;
}

// An Info line of the library gives the file that it chose.
void Panel::OpenByName(const std::string& name) {
  name_ = name;
  engine_name_ = name;
  const int ret = InitEngine();
  file_ = log_->InfoAfter("BackLightNitsParserImp::BackLightNitsParserImp: file_name ");
  std::error_code error;
  if (ret == -ENOENT && !fs::exists(file_, error)) {
    throw LoadFailure(
        fmt::format("panel {}: {} is not in {}", name, fs::path(file_).filename().string(), Searched(file_)),
        WordsOfRefusal(log_->Take()));
  }
  CheckLoaded(ret);
}

void Panel::OpenByPath(const std::string& path) {
  name_ = PanelNameOf(path);
  file_ = path;
  engine_name_ = zarn::EngineNameOf(path);
  CheckLoaded(InitEngine());
}

int Panel::InitEngine() {
  client_ = *zarn::client::Panel::Attach(zarn::MakeEngine(engine_name_));
  log_->Take();
  return ResultOf(client_->Init());
}

const std::vector<zarn::BlNitsPoint>& Panel::PointsOf(const zarn::format::MeasuredTable& table) {
  const Tables& tables = MeasuredTables();
  return (table.hdr ? tables.high_brightness : tables.standard).PointsOf(table.coverage);
}

void Panel::SetDimmingLuts(const std::vector<uint32_t>& panel_levels, const std::vector<double>& attenuation) {
  log_->Take();
  ask_engine_ = true;
  Check(ResultOf(client_->SetDimmingLuts(panel_levels, attenuation)), "the dimming LUTs cannot be set");
}

void Panel::SwitchDimmingOn() {
  log_->Take();
  ask_engine_ = true;
  Check(ResultOf(client_->SetDimming(true)), "dimming cannot be switched on");
}

double Panel::ToNits(uint32_t level, uint32_t coverage, bool hdr) {
  const auto nits = TryToNits(level, coverage, hdr);
  Check(ret_, fmt::format("level {} at {} % coverage cannot be converted", level, coverage));
  return *nits;
}

uint32_t Panel::ToLevel(double nits, uint32_t coverage, bool hdr) {
  const auto level = TryToLevel(nits, coverage, hdr);
  Check(ret_, fmt::format("{} nits at {} % coverage cannot be converted", nits, coverage));
  return *level;
}

std::optional<double> Panel::TryToNits(uint32_t level, uint32_t coverage, bool hdr) {
  const Tables* const tables = TablesFor(coverage);
  if (tables != nullptr && level <= tables->last_level) {
    double nits = 0.0;
    log_->Take();
    TableConversions::Place place;
    ret_ = (hdr ? tables->high_brightness : tables->standard).ToNits(level, coverage, &nits, &place);
    return ret_ == 0 ? std::optional(nits) : std::nullopt;
  }
  log_->Take();
  return Keep(client_->Nits(level, coverage, ModeOf(hdr)));
}

std::vector<double> Panel::TryToNits(const std::vector<uint32_t>& levels, uint32_t coverage, bool hdr) {
  const Tables* const tables = TablesFor(coverage);
  TableConversions::Place place;
  const auto is_converted = [&](uint32_t level, double* nits) {
    return tables != nullptr && level <= tables->last_level &&
           (hdr ? tables->high_brightness : tables->standard).ToNits(level, coverage, nits, &place) == 0;
  };
  std::vector<double> answers;
  answers.reserve(levels.size());
  for (const uint32_t level : levels) {
    double nits = 0.0;
    if (!is_converted(level, &nits)) {
      nits = TryToNits(level, coverage, hdr).value_or(std::numeric_limits<double>::quiet_NaN());
    }
    answers.push_back(nits);
  }
  return answers;
}

std::optional<uint32_t> Panel::TryToLevel(double nits, uint32_t coverage, bool hdr) {
  const Tables* const tables = TablesFor(coverage);
  if (tables != nullptr) {
    uint32_t level = 0;
    log_->Take();
    ret_ = (hdr ? tables->high_brightness : tables->standard).ToLevel(nits, coverage, &level);
    return ret_ == 0 ? std::optional(level) : std::nullopt;
  }
  log_->Take();
  return Keep(client_->Level(nits, coverage, ModeOf(hdr)));
}

// Null if only the engine can answer: dimming maps may be in use, or the coverage is out of range and the engine must
// give the reason.
const Panel::Tables* Panel::TablesFor(uint32_t coverage) {
  if (ask_engine_ || coverage < 1 || coverage > 100) {
    return nullptr;
  }
  return &MeasuredTables();
}

const Panel::Tables& Panel::MeasuredTables() {
  if (!tables_) {
    using Table = zarn::BackLightToNitsTable;
    tables_ = Tables{Get<zarn::BLRange>(zarn::kBLRange).max_os_bl,
                     {Get<Table>(zarn::kBLNitsMapping10Percent), Get<Table>(zarn::kBLNitsMapping100Percent)},
                     {Get<Table>(zarn::kBLHdrNitsMapping10Percent), Get<Table>(zarn::kBLHdrNitsMapping100Percent)}};
  }
  return *tables_;
}

template <class Value>
std::optional<Value> Panel::Keep(const zarn::client::Result<Value>& answer) {
  ret_ = ResultOf(answer);
  return answer ? std::optional(*answer) : std::nullopt;
}

void Panel::CheckLoaded(int ret) const {
  if (ret != 0) {
    const std::vector<LogLine> log = log_->Take();
    throw LoadFailure(TellRefusal(file_, log), WordsOfRefusal(log));
  }
}

void Panel::Check(int ret, const std::string& what) const {
  if (ret != 0) {
    throw Failure(Refusal(ret, what));
  }
}

std::string Panel::Refusal(int ret, const std::string& what) const {
  std::string reason = log_->Reason();
  if (reason.empty()) {
    reason = fmt::format("dimming is on but no LUTs are set (result {})", ret);
  }
  return fmt::format("{}: {}: {}", file_, what, reason);
}

}  // namespace blnits
