#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace blnits {

/// Sets the level of a panel. One thread.
class PanelDriver {
 public:
  PanelDriver() = default;
  PanelDriver(const PanelDriver&) = delete;
  PanelDriver& operator=(const PanelDriver&) = delete;
  virtual ~PanelDriver() = default;

  /// What it drives, printable, on one line.
  virtual std::string Description() const = 0;

  /// The highest level; empty if it is not known.
  virtual std::optional<uint32_t> LastLevel() const = 0;

  /// The level that is set now; empty if it cannot be read. \throws Failure.
  virtual std::optional<uint32_t> Level() const = 0;

  /// Sets a level. \throws ReadingFailed if it may work the next time; Failure if it cannot work; Interrupted.
  virtual void Set(uint32_t level) = 0;

  /// The level that the hardware has, if that can be told. It may differ: some drivers scale or clamp.
  virtual std::optional<uint32_t> ActualLevel() const = 0;

  /// Has a crash of this process set that level, if it can be done without memory; see EndingSignals.
  virtual void SetAfterCrash(uint32_t level) = 0;
};

/// A backlight of Linux: /sys/class/backlight/NAME. \throws Failure if it is missing, off or not writable.
std::unique_ptr<PanelDriver> MakeBacklight(const std::string& name);

/// A panel that a command sets. \param command its words, with {level} in at least one; see WordsOf().
/// \throws Failure if the command has no {level}.
std::unique_ptr<PanelDriver> MakeCommandPanel(const std::string& command, double timeout_seconds);

}  // namespace blnits
