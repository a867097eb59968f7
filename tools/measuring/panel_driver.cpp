#include "measuring/panel_driver.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include "foreign_text.h"
#include "measuring/child.h"
#include "measuring/reading_failed.h"
#include "measuring/signals.h"
#include "measuring/words.h"
#include "support/failure.h"
#include "support/numbers.h"

namespace blnits {
namespace {

constexpr const char* kFolder = "/sys/class/backlight";

std::string Words(int error) { return std::generic_category().message(error); }

/// The number in an attribute; empty if it cannot be read, which some drivers do for actual_brightness.
std::optional<uint32_t> NumberIn(const std::string& path) {
  std::array<char, 64> text = {};
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const ssize_t size = file < 0 ? -1 : read(file, text.data(), text.size());
  if (file >= 0) {
    close(file);
  }
  const std::string line(text.data(), static_cast<size_t>(std::max<ssize_t>(size, 0)));
  uint32_t number = 0;
  return ParseNumber(line.substr(0, line.find('\n')), &number) ? std::optional(number) : std::nullopt;
}

uint32_t NeededNumberIn(const std::string& path) {
  const auto number = NumberIn(path);
  if (!number) {
    throw Failure(fmt::format("{}: cannot be read as a number", path));
  }
  return *number;
}

class Backlight : public PanelDriver {
 public:
  explicit Backlight(const std::string& name) : name_(name), folder_(fmt::format("{}/{}", kFolder, name)) {
    if (name.empty() || name.find('/') != std::string::npos || name[0] == '.') {
      throw Failure(
          fmt::format("--backlight: found \"{}\", expected the name of a folder in {}", Shown(name), kFolder));
    }
    if (access(folder_.c_str(), F_OK) != 0) {
      throw Failure(fmt::format("{}: there is no such backlight; ls {} shows their names", folder_, kFolder));
    }
    last_level_ = NeededNumberIn(folder_ + "/max_brightness");
    if (NumberIn(folder_ + "/bl_power").value_or(0) != 0) {
      throw Failure(fmt::format("{}/bl_power: the backlight is off, expected 0 (on)", folder_));
    }
    file_ = open(Path().c_str(), O_WRONLY | O_CLOEXEC);
    if (file_ < 0) {
      throw Failure(fmt::format("{}: cannot be written: {}{}", Path(), Words(errno),
                                errno == EACCES ? "; only root or a rule of udev may set it" : ""));
    }
  }
  Backlight(const Backlight&) = delete;
  Backlight& operator=(const Backlight&) = delete;
  ~Backlight() override { close(file_); }

  std::string Description() const override {
    return fmt::format("backlight {}, levels 0 to {}", Printable(name_), last_level_);
  }

  std::optional<uint32_t> LastLevel() const override { return last_level_; }

  // What was asked for: a step must not begin at actual_brightness, which may be rounded.
  std::optional<uint32_t> Level() const override { return NeededNumberIn(Path()); }

  // In plain decimal digits, because the kernel takes a leading 0 for octal, and in one write.
  void Set(uint32_t level) override {
    const std::string text = fmt::format("{}\n", level);
    if (pwrite(file_, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
      const char* const hint = errno == EINVAL  ? "; the driver refuses this level"
                               : errno == ENXIO ? "; the device is gone"
                                                : "";
      throw Failure(fmt::format("{}: level {} cannot be written: {}{}", Path(), level, Words(errno), hint));
    }
  }

  std::optional<uint32_t> ActualLevel() const override { return NumberIn(folder_ + "/actual_brightness"); }

  void SetAfterCrash(uint32_t level) override { EndingSignals::SetCrashText(file_, level); }

 private:
  std::string Path() const { return folder_ + "/brightness"; }

  std::string name_;
  std::string folder_;
  uint32_t last_level_ = 0;
  int file_ = -1;
};

class CommandPanel : public PanelDriver {
 public:
  CommandPanel(const std::string& command, double timeout)
      : command_(command), words_(WordsOf("--set", command)), timeout_(timeout) {
    if (WithLevel(words_, 0) == words_) {
      throw Failure(fmt::format("--set: found \"{}\", expected {} in it", Shown(command, 80), kLevelWord));
    }
  }

  std::string Description() const override { return fmt::format("command {}", Shown(command_, 500)); }
  std::optional<uint32_t> LastLevel() const override { return std::nullopt; }
  std::optional<uint32_t> Level() const override { return std::nullopt; }
  void Set(uint32_t level) override { OutputOf(WithLevel(words_, level), timeout_); }
  std::optional<uint32_t> ActualLevel() const override { return std::nullopt; }
  void SetAfterCrash(uint32_t /*level*/) override {}  // A program cannot be started then.

 private:
  std::string command_;
  std::vector<std::string> words_;
  double timeout_;
};

}  // namespace

std::unique_ptr<PanelDriver> MakeBacklight(const std::string& name) { return std::make_unique<Backlight>(name); }

std::unique_ptr<PanelDriver> MakeCommandPanel(const std::string& command, double timeout_seconds) {
  return std::make_unique<CommandPanel>(command, timeout_seconds);
}

}  // namespace blnits
