#pragma once

#include <functional>
#include <memory>
#include <string>

namespace blnits {

/// Reads the luminance of the screen. One thread.
class Meter {
 public:
  Meter() = default;
  Meter(const Meter&) = delete;
  Meter& operator=(const Meter&) = delete;
  virtual ~Meter() = default;

  /// What it is, printable, on one line.
  virtual std::string Description() const = 0;

  /// Reads once: nits, finite; near black it may be a little below 0.
  /// \throws ReadingFailed if it may work the next time; Failure if the meter is lost or silent; Interrupted.
  virtual double Read() = 0;

  /// Ends its session in the way that the instrument expects. Call it once, after the last reading.
  virtual void Finish() = 0;
};

/// How a meter is used.
struct MeterOptions {
  double timeout_seconds;  ///< The longest time that a reading may take.
  /// Shows the user a request of the meter and returns when it is fulfilled. \throws Failure if nobody is there.
  std::function<void(const std::string& request)> ask;
};

/// ArgyllCMS's spotread: one session for all readings.
/// \param command "spotread" with its options; see WordsOf(). -e is added if it is missing.
/// \throws Failure if an option does not read a display again and again, or if it cannot be started.
std::unique_ptr<Meter> MakeSpotread(const std::string& command, const MeterOptions& options);

/// A command that prints one reading. \param command its words; see WordsOf(). \param kind one of ReadingKinds();
/// empty: by the content, where a number alone is nits.
std::unique_ptr<Meter> MakeCommandMeter(const std::string& command, const std::string& kind,
                                        const MeterOptions& options);

}  // namespace blnits
