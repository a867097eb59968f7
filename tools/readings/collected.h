#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "readings/readings.h"
#include "support/troubles.h"

namespace blnits {

/// The columns of a CSV row beside level and luminance.
struct Circumstances {
  std::optional<uint32_t> coverage;
  std::optional<bool> hbm;
};

/// What a reader has read of a file so far: scales the levels, and collects readings, notes and faults.
class Collected {
 public:
  static constexpr size_t kMaxReadings = 10000000;

  /// \param path of the file. Path and options must outlive this object. \throws Failure if a file of levels is wrong.
  Collected(const std::string& path, const ReadingsOptions& options);

  const std::string& Path() const { return path_; }
  const ReadingsOptions& Options() const { return options_; }

  /// Whether readings get their levels by their order.
  bool HasLevels() const { return !options_.levels.empty(); }

  /// For a kind whose levels have another scale. The scale of the options goes first.
  void UseScale(const Scale& scale);

  /// Records a fault. \throws as Troubles::Add.
  void Refuse(size_t line, const std::string& text) { troubles_.Add(line, text); }

  void Note(std::string note) { file_.notes.push_back(std::move(note)); }

  /// The level in `text`, in the file's scale; refuses other text. \param found the text as the file has it.
  std::optional<double> Level(size_t line, const std::string& text, const std::string& found);

  /// Takes a reading. `level` is in the file's scale.
  void Add(size_t line, double level, double nits, const Circumstances& circumstances = {});

  /// Takes a reading whose level comes from the options.
  void AddInOrder(size_t line, double nits, const Circumstances& circumstances = {});

  /// Tells that high brightness begins above `transition`, in the file's scale. Add() still gets the mode of each reading.
  void SetTransition(double transition);

  /// The file. \throws Failure if anything was refused, or if the readings do not fit the options.
  ReadingsFile Finish(const std::string& kind);

 private:
  void CheckCount() const;
  void SplitAt(uint32_t level);
  void TellScale();
  void TellSeams();

  const std::string& path_;
  const ReadingsOptions& options_;
  Scale scale_;
  bool scaled_;
  std::vector<double> levels_;  ///< Of the options, in the file's scale.
  size_t taken_ = 0;            ///< Readings that AddInOrder got.
  double rounding_ = 0.0;       ///< The largest distance of a scaled level from a whole one.
  ReadingsFile file_;
  Troubles troubles_;
};

}  // namespace blnits
