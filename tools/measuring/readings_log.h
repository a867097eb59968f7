#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "measuring/plan.h"

namespace blnits {

/// A reading in the file.
struct LoggedReading {
  size_t number;  ///< Of its step; 0: a reading of the reference.
  uint32_t level;
  uint32_t coverage;  ///< In per cent.
  double nits;        ///< As measured.
  std::string time;   ///< UTC: "2026-11-23T12:00:00.000Z".
};

/// How the reference changed at one coverage.
struct Drift {
  uint32_t coverage;  ///< In per cent.
  double first_nits;  ///< Of the reference.
  double last_nits;
  double change_percent;   ///< From the first to the last.
  double largest_percent;  ///< The change from the first one that is largest without sign.
};

/// The file of a measurement: a head of comments, a row for each reading, and comments with what else happened. Each
/// call returns when its line is on the disk. Nothing in the file is ever executed: commands come from options only. One
/// thread; another process cannot have the file at the same time.
class ReadingsLog {
 public:
  using Head = std::vector<std::pair<std::string, std::string>>;  ///< Printable names and values, each on one line.

  /// Opens the file, or makes it.
  /// \param plan what an existing file must have in its head, too. \param origin the rest of a new file's head.
  /// \param resume whether an existing file is continued; a last line that a crash has torn is then removed.
  /// \throws Failure if there is a file without `resume`, if its head has another plan, or if it cannot be read or
  /// written.
  ReadingsLog(std::string path, const Head& plan, const Head& origin, bool hbm, bool resume);
  ReadingsLog(const ReadingsLog&) = delete;
  ReadingsLog& operator=(const ReadingsLog&) = delete;
  ~ReadingsLog();

  /// The plan's words in the head of an existing file; empty if there is no file. \throws Failure if it has none.
  static Head HeadOf(const std::string& path);

  const std::string& Path() const { return path_; }

  /// Whether the file has the reading of a step.
  bool Has(size_t number) const { return number < has_.size() && has_[number]; }

  /// How many readings it has, without those of the reference.
  size_t Count() const { return count_; }

  /// All readings in the order in which they were taken.
  const std::vector<LoggedReading>& Readings() const { return readings_; }

  /// The panel's level before the measurement, if the process that noted it did not set it back.
  const std::optional<uint32_t>& LevelBefore() const { return level_before_; }

  /// Notes the beginning of a run, with the panel's level before it.
  void Begin(const std::optional<uint32_t>& level_before);

  /// Adds a reading, now.
  void Add(size_t number, uint32_t level, uint32_t coverage, double nits);

  /// Adds a comment. \param text printable, on one line.
  void Note(const std::string& text);

  /// Notes that the panel has its level from before again.
  void End();

  /// The drift at each coverage that has a reading of the reference.
  std::vector<Drift> Drifts() const;

  /// Writes the file anew, with the drift in a comment and, if wanted, without it in the column nits. The measured
  /// values stay in their column. Until then, the file is complete without it.
  void Finish(bool correct_drift);

 private:
  void Make(const Head& plan, const Head& origin);
  void CheckPlan(const Head& plan) const;
  void Open();
  void CutTornLine();
  void Load();
  void TakeLine(const std::string& line, size_t number);
  void TakeRow(const std::string& line, size_t number);
  void TakeReference(const std::string& line, size_t number);
  void Keep(LoggedReading reading);
  [[noreturn]] void Refuse(const std::string& line, size_t number, const char* expected) const;
  void Append(const std::string& line);
  std::string RowOf(const LoggedReading& reading, double nits) const;

  std::string path_;
  bool hbm_;
  int file_ = -1;
  std::vector<std::string> lines_;  ///< Of the file; empty for the row of a reading.
  std::vector<LoggedReading> readings_;
  std::vector<bool> has_;  ///< By the number of a step.
  size_t count_ = 0;
  std::optional<uint32_t> level_before_;
};

}  // namespace blnits
