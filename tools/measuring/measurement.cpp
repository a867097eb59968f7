#include "measuring/measurement.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "foreign_text.h"
#include "measuring/reading_failed.h"
#include "measuring/signals.h"
#include "support/failure.h"

namespace blnits {
namespace {

constexpr int kMostTriesForStability = 20;
constexpr double kSameNits = 0.005;  // Below this difference, the noise of colorimeters near black is not drift.

class Measurement {
 public:
  Measurement(const MeasurementPlan& plan, const MeasurementOptions& options, const MeasurementEvents& events,
              PanelDriver* panel, Meter* meter, ReadingsLog* log)
      : plan_(plan), options_(options), events_(events), panel_(*panel), meter_(*meter), log_(*log) {}

  std::vector<Step> TakeAll() {
    std::vector<Step> missing;
    for (const Step& step : StepsOf(plan_)) {
      if (log_.Has(step.number)) {
        continue;
      }
      GoToPattern(step.coverage);
      if (since_reference_ >= plan_.reference_every) {
        TakeReference(step);
      }
      events_.progress(step, log_.Count(), last_nits_);
      const auto nits = Reading(
          step.level, fmt::format("reading {}, level {}, coverage {} %", step.number, step.level, step.coverage));
      if (nits) {
        log_.Add(step.number, step.level, step.coverage, *nits);
      } else {
        missing.push_back(step);
      }
      last_nits_ = nits;
      ++since_reference_;
    }
    CloseWithReference();
    return missing;
  }

 private:
  // Each pattern has its own references: its first one is what the others are compared with.
  void GoToPattern(uint32_t coverage) {
    if (coverage_ == coverage) {
      return;
    }
    if (coverage_) {
      CloseWithReference();
    }
    if (events_.show_pattern) {
      events_.show_pattern(coverage);
    }
    coverage_ = coverage;
    since_reference_ = plan_.reference_every;  // Also after --resume: the panel may have cooled down.
  }

  // The last readings need a reference behind them, too. A crash may have come before it.
  void CloseWithReference() {
    if (plan_.reference && !log_.Readings().empty() && log_.Readings().back().number != 0) {
      GoToPattern(log_.Readings().back().coverage);
      TakeReference({0, 0, *coverage_});
    }
  }

  void TakeReference(const Step& next) {
    since_reference_ = 0;
    if (!plan_.reference) {
      return;
    }
    events_.progress({next.number, *plan_.reference, next.coverage}, log_.Count(), last_nits_);
    const auto nits = Reading(*plan_.reference, fmt::format("the reference, level {}", *plan_.reference));
    if (nits) {
      log_.Add(0, *plan_.reference, next.coverage, *nits);
    }
  }

  // Empty if every attempt fails.
  std::optional<double> Reading(uint32_t level, const std::string& what) {
    for (size_t attempt = 0;; ++attempt) {
      try {
        GoToLevel(level);
        return StableReading();
      } catch (const ReadingFailed& failed) {
        level_.reset();
        const bool last = attempt == options_.retries;
        Tell(fmt::format("{} {}: {}", what, last ? "is skipped" : "is repeated", failed.what()));
        if (last) {
          return std::nullopt;
        }
      }
    }
  }

  void GoToLevel(uint32_t level) {
    if (level_ == level) {
      return;
    }
    level_.reset();
    panel_.Set(level);
    Sleep(plan_.settle_seconds);
    const auto actual = panel_.ActualLevel();
    if (actual && *actual != level && !told_actual_) {
      told_actual_ = true;
      Tell(fmt::format("level {} is set, and the hardware has {} (actual_brightness); told once", level, *actual));
    }
    level_ = level;
  }

  double StableReading() {
    double nits = meter_.Read();
    if (!plan_.stable_percent) {
      return nits;
    }
    double before = 0.0;
    for (int i = 0; i < kMostTriesForStability; ++i) {
      before = nits;
      nits = meter_.Read();
      const double largest = std::max(std::abs(nits), std::abs(before));
      if (std::abs(nits - before) <= std::max(*plan_.stable_percent / 100.0 * largest, kSameNits)) {
        return nits;
      }
    }
    throw ReadingFailed(
        fmt::format("not stable after {} readings: {} nits, then {}", kMostTriesForStability + 1, before, nits));
  }

  void Tell(const std::string& text) {
    events_.warn(text);
    log_.Note(Shown(text, 500));
  }

  const MeasurementPlan& plan_;
  const MeasurementOptions& options_;
  const MeasurementEvents& events_;
  PanelDriver& panel_;
  Meter& meter_;
  ReadingsLog& log_;
  std::optional<uint32_t> level_;     ///< That the panel has settled at.
  std::optional<uint32_t> coverage_;  ///< Of the pattern that is shown.
  size_t since_reference_ = 0;
  std::optional<double> last_nits_;
  bool told_actual_ = false;
};

void SetBack(uint32_t level, PanelDriver* panel) {
  try {
    panel->Set(level);
  } catch (const Interrupted&) {
    panel->Set(level);  // Signals interrupt only once.
    throw;
  } catch (const std::exception& error) {
    throw Failure(fmt::format("the panel does not have its level {} again: {}", level, error.what()));
  }
}

void Restore(const std::optional<uint32_t>& level, PanelDriver* panel, ReadingsLog* log) {
  if (level) {
    SetBack(*level, panel);
  }
  log->End();
}

}  // namespace

std::vector<Step> Measure(const MeasurementPlan& plan, const MeasurementOptions& options,
                          const MeasurementEvents& events, PanelDriver* panel, Meter* meter, ReadingsLog* log) {
  // A process that was killed has left the panel at some level; the file has the one from before.
  std::optional<uint32_t> before = log->LevelBefore() ? log->LevelBefore() : panel->Level();
  before = options.restore ? options.restore : before;
  log->Begin(before);
  if (before) {
    panel->SetAfterCrash(*before);
  }
  std::vector<Step> missing;
  try {
    missing = Measurement(plan, options, events, panel, meter, log).TakeAll();
  } catch (...) {
    try {
      Restore(before, panel, log);
    } catch (const std::exception& error) {
      events.warn(error.what());  // The first exception says what to do.
    }
    throw;
  }
  Restore(before, panel, log);
  meter->Finish();
  return missing;
}

}  // namespace blnits
