#include "measuring/readings_log.h"

#include <fcntl.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>
#include <string_view>
#include <system_error>

#include "foreign_text.h"
#include "support/failure.h"
#include "support/json.h"
#include "support/lines.h"
#include "support/numbers.h"
#include "support/output_file.h"

namespace blnits {
namespace {

constexpr const char* kTitle = "# blnits measure";
constexpr const char* kColumns = "level,nits,coverage,mode,measured_nits,time,reading";
// Comments that are read again.
constexpr std::string_view kStarted = "# started,";
constexpr std::string_view kEnded = "# ended,";
constexpr std::string_view kReference = "# reference,";
constexpr std::string_view kDrift = "# drift,";

bool StartsWith(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

[[noreturn]] void Fail(const std::string& path, const char* what) {
  throw Failure(fmt::format("{}: {}: {}", path, what, std::generic_category().message(errno)));
}

std::vector<std::string> SplitAtCommas(std::string_view line) {
  std::vector<std::string> fields;
  for (;;) {
    const size_t comma = line.find(',');
    fields.emplace_back(line.substr(0, comma));
    if (comma == std::string_view::npos) {
      return fields;
    }
    line.remove_prefix(comma + 1);
  }
}

std::string Now() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z", fmt::gmtime(static_cast<std::time_t>(milliseconds / 1000)),
                     milliseconds % 1000);
}

/// The seconds since 1970 of a text that Now() has made; empty for other text.
std::optional<double> SecondsIn(const std::string& time) {
  std::tm parts = {};
  const char* const rest = strptime(time.c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
  double fraction = 0.0;
  if (rest == nullptr || time.back() != 'Z' || !ParseNumber("0" + std::string(rest, strlen(rest) - 1), &fraction)) {
    return std::nullopt;
  }
  return static_cast<double>(timegm(&parts)) + fraction;
}

/// One reading of the reference.
struct ReferencePoint {
  size_t index;  ///< In the file's readings.
  double seconds;
  double nits;
};

using ReferencesByCoverage = std::map<uint32_t, std::vector<ReferencePoint>>;

ReferencesByCoverage ReferencesIn(const std::vector<LoggedReading>& readings) {
  ReferencesByCoverage references;
  for (size_t i = 0; i < readings.size(); ++i) {
    if (readings[i].number == 0) {
      references[readings[i].coverage].push_back({i, *SecondsIn(readings[i].time), readings[i].nits});
    }
  }
  return references;
}

/// The reference's luminance at a reading: on a straight line in time between the two readings of it.
double ReferenceAt(const std::vector<ReferencePoint>& points, size_t index, double seconds) {
  const auto after = std::find_if(points.begin(), points.end(), [=](const auto& point) { return point.index > index; });
  if (after == points.begin() || after == points.end()) {
    return after == points.end() ? points.back().nits : after->nits;
  }
  const auto before = after - 1;
  const double span = after->seconds - before->seconds;
  const double share = span > 0.0 ? std::clamp((seconds - before->seconds) / span, 0.0, 1.0) : 0.5;
  return before->nits + share * (after->nits - before->nits);
}

// More than any meter has; the rest of a quotient is noise in the file.
double NineDigits(double nits) { return std::strtod(fmt::format("{:.9g}", nits).c_str(), nullptr); }

double Corrected(const ReferencesByCoverage& references, const std::vector<LoggedReading>& readings, size_t index) {
  const LoggedReading& reading = readings[index];
  const auto points = references.find(reading.coverage);
  if (points == references.end()) {
    return reading.nits;
  }
  const double reference = ReferenceAt(points->second, index, *SecondsIn(reading.time));
  const double first = points->second.front().nits;
  const bool defined = reference > 0.0 && first > 0.0;
  return defined ? NineDigits(reading.nits * first / reference) : reading.nits;
}

}  // namespace

ReadingsLog::ReadingsLog(std::string path, const Head& plan, const Head& origin, bool hbm, bool resume)
    : path_(std::move(path)), hbm_(hbm) {
  std::error_code error;
  const bool there = std::filesystem::exists(path_, error);
  if (there && !resume) {
    throw Failure(fmt::format("{}: found a file, expected none; --resume continues it", path_));
  }
  if (there) {
    CheckPlan(plan);
  } else {
    Make(plan, origin);
  }
  Open();
  CutTornLine();
  Load();
}

ReadingsLog::~ReadingsLog() {
  if (file_ >= 0) {
    close(file_);
  }
}

// The head gets there as a whole. A crash leaves a file with a complete head, or none.
void ReadingsLog::Make(const Head& plan, const Head& origin) {
  WriteWhole(path_, [&](std::ostream& file) {
    file << fmt::format("{} {}\n# time: {}\n", kTitle, BLNITS_VERSION, Now());
    for (const Head* const part : {&origin, &plan}) {
      for (const auto& [name, value] : *part) {
        file << fmt::format("# {}: {}\n", name, Printable(value));
      }
    }
    file << kColumns << "\n";
  });
  std::string folder = std::filesystem::path(path_).parent_path().string();
  const int entry = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (entry >= 0) {
    fsync(entry);
    close(entry);
  }
}

ReadingsLog::Head ReadingsLog::HeadOf(const std::string& path) {
  Head head;
  std::error_code error;
  if (!std::filesystem::exists(path, error)) {
    return head;
  }
  LineReader lines(path);
  if (!lines.Next() || !StartsWith(lines.Text(), kTitle)) {
    throw Failure(fmt::format(R"({}:1: found another file, expected "{}")", path, kTitle));
  }
  while (lines.Next() && StartsWith(lines.Text(), "# ")) {
    const std::string_view text = lines.Text().substr(2);
    const size_t colon = std::min(text.find(": "), text.size());
    head.emplace_back(text.substr(0, colon), text.substr(std::min(colon + 2, text.size())));
  }
  if (lines.Text() != kColumns) {
    throw Failure(
        fmt::format("{}:{}: found \"{}\", expected the columns {}", path, lines.Line(), Shown(lines.Text()), kColumns));
  }
  return head;
}

void ReadingsLog::CheckPlan(const Head& plan) const {
  const Head head = HeadOf(path_);
  for (const auto& expected : plan) {
    const auto found =
        std::find_if(head.begin(), head.end(), [&](const auto& each) { return each.first == expected.first; });
    const std::string value = found == head.end() ? "" : found->second;
    if (value != Printable(expected.second)) {
      throw Failure(fmt::format(R"({}: found the {} "{}" in its head, expected "{}": it belongs to another plan)",
                                path_, expected.first, Shown(value, 200), Printable(expected.second)));
    }
  }
}

void ReadingsLog::Open() {
  file_ = open(path_.c_str(), O_RDWR | O_APPEND | O_CLOEXEC);
  if (file_ < 0) {
    Fail(path_, "cannot be written");
  }
  if (flock(file_, LOCK_EX | LOCK_NB) != 0) {
    throw Failure(fmt::format("{}: another process writes to it", path_));
  }
}

void ReadingsLog::CutTornLine() {
  struct stat status = {};
  if (fstat(file_, &status) != 0) {
    Fail(path_, "cannot be read");
  }
  off_t end = status.st_size;
  for (char c = '\0'; end > 0 && pread(file_, &c, 1, end - 1) == 1 && c != '\n';) {
    --end;
  }
  if (end != status.st_size && (ftruncate(file_, end) != 0 || fsync(file_) != 0)) {
    Fail(path_, "cannot be written");
  }
}

void ReadingsLog::Load() {
  LineReader lines(path_);
  bool in_head = true;
  while (lines.Next()) {
    const std::string line(lines.Text());
    if (in_head) {
      lines_.push_back(line);
      in_head = line != kColumns;
    } else {
      TakeLine(line, lines.Line());
    }
  }
}

void ReadingsLog::TakeLine(const std::string& line, size_t number) {
  if (StartsWith(line, kReference)) {
    return TakeReference(line, number);
  }
  if (!StartsWith(line, "#")) {
    return TakeRow(line, number);
  }
  uint32_t level = 0;
  if (StartsWith(line, kStarted)) {
    const bool known = ParseNumber(SplitAtCommas(line).back(), &level);
    level_before_ = known ? std::optional(level) : std::nullopt;
  } else if (StartsWith(line, kEnded)) {
    level_before_.reset();
  }
  lines_.push_back(line);
}

void ReadingsLog::Refuse(const std::string& line, size_t number, const char* expected) const {
  throw Failure(fmt::format("{}:{}: found \"{}\", expected {}", path_, number, Shown(line, 80), expected));
}

void ReadingsLog::TakeRow(const std::string& line, size_t number) {
  const std::vector<std::string> fields = SplitAtCommas(line);
  LoggedReading reading = {};
  uint32_t step = 0;
  if (fields.size() != 7 || !ParseNumber(fields[0], &reading.level) || !IsNumber(fields[1]) ||
      !ParseNumber(fields[2], &reading.coverage) || !ParseNumber(fields[4], &reading.nits) || !SecondsIn(fields[5]) ||
      !ParseNumber(fields[6], &step) || step == 0 || step > MeasurementPlan::kMostReadings) {
    Refuse(line, number, kColumns);
  }
  if (Has(step)) {
    Refuse(line, number, "each reading once");
  }
  reading.number = step;
  reading.time = fields[5];
  Keep(reading);
}

void ReadingsLog::TakeReference(const std::string& line, size_t number) {
  const std::vector<std::string> fields = SplitAtCommas(line);
  LoggedReading reading = {};
  if (fields.size() != 5 || !ParseNumber(fields[1], &reading.level) || !ParseNumber(fields[2], &reading.coverage) ||
      !ParseNumber(fields[3], &reading.nits) || !SecondsIn(fields[4])) {
    Refuse(line, number, "# reference,LEVEL,COVERAGE,NITS,TIME");
  }
  reading.time = fields[4];
  Keep(reading);
}

void ReadingsLog::Keep(LoggedReading reading) {
  lines_.emplace_back();
  if (reading.number > 0) {
    has_.resize(std::max(has_.size(), reading.number + 1));
    has_[reading.number] = true;
    ++count_;
  }
  readings_.push_back(std::move(reading));
}

void ReadingsLog::Begin(const std::optional<uint32_t>& level_before) {
  level_before_ = level_before;
  lines_.push_back(fmt::format("{}{},{}", kStarted, Now(), level_before ? std::to_string(*level_before) : "unknown"));
  Append(lines_.back());
}

void ReadingsLog::Add(size_t number, uint32_t level, uint32_t coverage, double nits) {
  const LoggedReading reading = {number, level, coverage, nits, Now()};
  Append(RowOf(reading, nits));
  Keep(reading);
}

void ReadingsLog::Note(const std::string& text) {
  lines_.push_back("# " + text);
  Append(lines_.back());
}

void ReadingsLog::End() {
  lines_.push_back(fmt::format("{}{}", kEnded, Now()));
  Append(lines_.back());
}

// In one write, so that a crash tears at most this line.
void ReadingsLog::Append(const std::string& line) {
  const std::string text = line + "\n";
  const ssize_t written = write(file_, text.data(), text.size());
  if (written >= 0 && static_cast<size_t>(written) < text.size()) {
    errno = ENOSPC;
  }
  // Some file systems do not support fsync.
  if (written != static_cast<ssize_t>(text.size()) || (fsync(file_) != 0 && errno != EINVAL && errno != ENOSYS)) {
    Fail(path_, "cannot be written");
  }
}

std::string ReadingsLog::RowOf(const LoggedReading& reading, double nits) const {
  if (reading.number == 0) {
    return fmt::format("{}{},{},{},{}", kReference, reading.level, reading.coverage, reading.nits, reading.time);
  }
  return fmt::format("{},{},{},{},{},{},{}", reading.level, nits, reading.coverage, JsonModeOf(hbm_), reading.nits,
                     reading.time, reading.number);
}

std::vector<Drift> ReadingsLog::Drifts() const {
  std::vector<Drift> drifts;
  for (const auto& [coverage, points] : ReferencesIn(readings_)) {
    Drift drift = {coverage, points.front().nits, points.back().nits, 0.0, 0.0};
    for (const ReferencePoint& point : points) {
      const double first = drift.first_nits;
      drift.change_percent = first > 0.0 ? (point.nits / first - 1.0) * 100.0 : 0.0;
      if (std::abs(drift.change_percent) > std::abs(drift.largest_percent)) {
        drift.largest_percent = drift.change_percent;
      }
    }
    drifts.push_back(drift);
  }
  return drifts;
}

void ReadingsLog::Finish(bool correct_drift) {
  const ReferencesByCoverage references = ReferencesIn(readings_);
  const auto drifts = Drifts();
  if (drifts.empty()) {
    return;
  }
  WriteWhole(path_, [&](std::ostream& file) {
    size_t next = 0;
    for (const std::string& line : lines_) {
      if (line.empty()) {
        const double nits = correct_drift ? Corrected(references, readings_, next) : readings_[next].nits;
        file << RowOf(readings_[next++], nits) << "\n";
      } else if (!StartsWith(line, kDrift)) {
        file << line << "\n";
      }
    }
    for (const Drift& drift : drifts) {
      file << fmt::format("{}coverage {} %: the reference changed from {} to {} nits ({:+.3f} %), {}\n", kDrift,
                          drift.coverage, drift.first_nits, drift.last_nits, drift.change_percent,
                          correct_drift ? "taken out of column nits" : "not taken out");
    }
  });
}

}  // namespace blnits
