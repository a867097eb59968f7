#include "readings/collected.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "foreign_text.h"
#include "readings/levels.h"
#include "support/failure.h"
#include "support/numbers.h"

namespace blnits {
namespace {

/// The readings of one coverage on both sides of the seam.
struct Sides {
  const RawReading* highest_standard = nullptr;
  const RawReading* lowest_hbm = nullptr;

  void Take(const RawReading& reading) {
    const RawReading*& side = *reading.hbm ? lowest_hbm : highest_standard;
    if (side == nullptr || (*reading.hbm ? reading.level < side->level : reading.level > side->level)) {
      side = &reading;
    }
  }
};

}  // namespace

Collected::Collected(const std::string& path, const ReadingsOptions& options)
    : path_(path),
      options_(options),
      scale_(options.scale.value_or(Scale{1.0, 1.0})),
      scaled_(options.scale.has_value()),
      levels_(options.levels.empty() ? std::vector<double>() : LevelsOf(options.levels, scaled_, kMaxReadings)),
      troubles_(path) {}

void Collected::UseScale(const Scale& scale) {
  if (!scaled_) {
    scale_ = scale;
    scaled_ = true;
  }
}

void Collected::SetTransition(double transition) {
  if (options_.hbm_from) {
    throw Failure(fmt::format("{}: found a transition point, expected none with --hbm-from", path_));
  }
  file_.transition = transition;
  file_.split = true;
}

std::optional<double> Collected::Level(size_t line, const std::string& text, const std::string& found) {
  const std::optional<double> level = LevelIn(text, scaled_);
  if (!level) {
    Refuse(line, fmt::format("found \"{}\", expected {}", Shown(found), WhatLevelsAre(text, scaled_)));
  }
  return level;
}

void Collected::Add(size_t line, double level, double nits, const Circumstances& circumstances) {
  if (file_.readings.size() == kMaxReadings) {
    throw Failure(fmt::format("{}:{}: found more than {} readings, expected at most that", path_, line, kMaxReadings));
  }
  const double scaled = level * scale_.to / scale_.from;
  if (!(scaled <= INT32_MAX)) {
    return Refuse(line, fmt::format("found level {}, expected at most {}", scaled, INT32_MAX));
  }
  const double whole = std::round(scaled);
  rounding_ = std::max(rounding_, std::abs(scaled - whole));
  file_.readings.push_back({static_cast<uint32_t>(whole), circumstances.coverage, circumstances.hbm, nits, line});
}

void Collected::AddInOrder(size_t line, double nits, const Circumstances& circumstances) {
  const size_t place = taken_++ / options_.repeats;
  if (place < levels_.size()) {
    Add(line, levels_[place], nits, circumstances);
  }
}

ReadingsFile Collected::Finish(const std::string& kind) {
  troubles_.Check();
  CheckCount();
  file_.kind = kind;
  if (options_.hbm_from) {
    SplitAt(*options_.hbm_from);
  }
  TellScale();
  TellSeams();
  return std::move(file_);
}

void Collected::CheckCount() const {
  if (taken_ == 0 && HasLevels()) {
    throw Failure(fmt::format("{}: found levels in the file, expected none with --levels", path_));
  }
  if (HasLevels() && (taken_ % options_.repeats != 0 || taken_ / options_.repeats != levels_.size())) {
    throw Failure(fmt::format("{}: found {} readings, expected {}: {} levels (--levels) times {} (--repeats)", path_,
                              taken_, levels_.size() * options_.repeats, levels_.size(), options_.repeats));
  }
}

void Collected::SplitAt(uint32_t level) {
  for (RawReading& reading : file_.readings) {
    if (reading.hbm) {
      throw Failure(
          fmt::format("{}:{}: found the mode of the reading, expected none with --hbm-from", path_, reading.line));
    }
    reading.hbm = reading.level >= level;
  }
  file_.split = true;
}

void Collected::TellScale() {
  if (scale_.from != scale_.to) {
    Note(fmt::format("scale: {} is level {}", scale_.from, scale_.to));
  }
  constexpr double kVisible = 0.001;
  if (rounding_ > kVisible) {
    Note(fmt::format("levels are rounded to whole ones, by at most {:.3g}", rounding_));
  }
}

void Collected::TellSeams() {
  std::map<uint32_t, Sides> coverages;
  for (const RawReading& reading : file_.readings) {
    if (reading.hbm) {
      coverages[reading.coverage.value_or(0)].Take(reading);
    }
  }
  for (const auto& [coverage, sides] : coverages) {
    const std::string where = coverage == 0 ? "" : fmt::format(" at {} % of the screen", coverage);
    const auto [standard, hbm] = sides;
    if (standard != nullptr && hbm != nullptr) {
      Note(
          fmt::format("seam{}: standard ends at level {} with {} nits, high brightness begins at level {} with {} nits",
                      where, standard->level, standard->nits, hbm->level, hbm->nits));
    } else if (file_.split) {
      Note(fmt::format("no seam{}: all readings are {}", where, hbm == nullptr ? "standard" : "high brightness"));
    }
  }
}

}  // namespace blnits
