#include "support/output_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "support/failure.h"

namespace blnits {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const std::string& path, int error) {
  const std::string name = path == "-" ? "standard output" : path;
  throw Failure(fmt::format("{}: cannot be written: {}", name, std::generic_category().message(error)));
}

/// Owns an open file.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { Close(); }

  int Number() const { return number_; }

  /// Some file systems report a full disk only on close.
  bool Close() { return number_ < 0 || close(std::exchange(number_, -1)) == 0; }

 private:
  int number_;
};

/// The file that a signal handler removes; empty: none. An array, because a handler must not allocate.
std::array<char, PATH_MAX> unfinished_file;

constexpr std::array<int, 3> kEndingSignals = {SIGINT, SIGTERM, SIGHUP};

// SA_RESETHAND has restored the default action, so raising the signal again ends the process.
void RemoveAndEnd(int signal) {
  if (unfinished_file[0] != '\0') {
    unlink(unfinished_file.data());
  }
  raise(signal);
}

/// Removes a temporary file when it goes out of scope or when a signal ends the process.
class Unfinished {
 public:
  /// \param path must be shorter than PATH_MAX.
  explicit Unfinished(std::string path) : path_(std::move(path)) {
    path_.copy(unfinished_file.data(), path_.size());
    for (size_t i = 0; i < kEndingSignals.size(); ++i) {
      struct sigaction ours = {};
      ours.sa_handler = RemoveAndEnd;
      ours.sa_flags = static_cast<int>(SA_RESETHAND);
      sigaction(kEndingSignals[i], nullptr, &before_[i]);
      if (before_[i].sa_handler == SIG_DFL) {  // An ignored signal (nohup) stays ignored.
        sigaction(kEndingSignals[i], &ours, nullptr);
      }
    }
  }
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;
  ~Unfinished() {
    unlink(path_.c_str());
    for (size_t i = 0; i < kEndingSignals.size(); ++i) {
      sigaction(kEndingSignals[i], &before_[i], nullptr);
    }
    unfinished_file.fill('\0');
  }

 private:
  std::string path_;
  std::array<struct sigaction, kEndingSignals.size()> before_ = {};
};

/// \return 0, or errno.
int WriteAll(int file, std::string_view text) {
  const auto before = std::signal(SIGPIPE, SIG_IGN);  // Turns a closed pipe into an error of write.
  int error = 0;
  while (!text.empty() && error == 0) {
    const ssize_t written = write(file, text.data(), text.size());
    error = written < 0 && errno != EINTR ? errno : 0;
    text.remove_prefix(written > 0 ? static_cast<size_t>(written) : 0);
  }
  std::signal(SIGPIPE, before);
  return error;
}

std::optional<struct stat> StatusOf(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

std::string FolderOf(const std::string& path) {
  const std::string folder = fs::path(path).parent_path().string();
  return folder.empty() ? "." : folder;
}

// Linux does not follow these links either (fs.protected_symlinks): any user could choose which file root replaces.
bool IsTrap(const std::string& link, const struct stat& status) {
  const auto folder = StatusOf(FolderOf(link));
  const mode_t for_all = S_ISVTX | S_IWOTH;
  return folder && (folder->st_mode & for_all) == for_all && status.st_uid != geteuid() &&
         status.st_uid != folder->st_uid;
}

/// The target of a link, whether it exists or not; the path itself if it is not a link.
std::string TargetOf(const std::string& path) {
  constexpr int kMostLinks = 40;  // Linux has the same limit.
  std::string target = path;
  for (int i = 0; i < kMostLinks; ++i) {
    struct stat status = {};
    if (lstat(target.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) {
      return target;
    }
    if (IsTrap(target, status)) {
      Fail(path, EACCES);
    }
    std::error_code error;
    // If the link's text is an absolute path, operator/ drops the folder.
    target = (fs::path(target).parent_path() / fs::read_symlink(target, error)).string();
  }
  Fail(path, ELOOP);
}

std::string TemporaryNameIn(const std::string& folder) {
  uint64_t number = 0;
  if (getentropy(&number, sizeof number) != 0) {
    Fail(folder, errno);
  }
  return fmt::format("{}/.blnits-{:016x}", folder, number);
}

/// Creates a file with the mode and owner of the one that it will replace. \return its descriptor, or -1.
int OpenLike(const std::optional<struct stat>& before, const std::string& path) {
  const int file =
      open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, before.has_value() ? 0600 : 0666);
  if (file >= 0 && before) {
    constexpr auto kSame = static_cast<uid_t>(-1);
    if (fchown(file, before->st_uid, before->st_gid) != 0 && fchown(file, kSame, before->st_gid) != 0) {
      errno = 0;  // The file then belongs to the user.
    }
    fchmod(file, before->st_mode & 0777);
  }
  return file;
}

// Some file systems do not support fsync.
bool IsOnDisk(int file) { return fsync(file) == 0 || errno == EINVAL || errno == ENOSYS; }

void WriteInto(int file, const std::string& path, const std::string& text) {
  const int error = WriteAll(file, text);
  if (error != 0) {
    Fail(path, error);
  }
}

std::string TextOf(const std::function<void(std::ostream&)>& write) {
  std::ostringstream text;
  write(text);
  return text.str();
}

void WriteInPlace(const std::string& path, const std::string& text) {
  Descriptor file(open(path.c_str(), O_WRONLY | O_TRUNC | O_NOCTTY | O_CLOEXEC));
  if (file.Number() < 0) {
    Fail(path, errno);
  }
  WriteInto(file.Number(), path, text);
  if (!file.Close()) {
    Fail(path, errno);
  }
}

/// Fills the temporary file and renames it to the target. \return 0, or errno.
int Exchange(const std::string& text, Descriptor* file, const std::string& temporary, const std::string& target) {
  const int error = WriteAll(file->Number(), text);
  if (error != 0) {
    return error;
  }
  const bool done = IsOnDisk(file->Number()) && file->Close() && rename(temporary.c_str(), target.c_str()) == 0;
  return done ? 0 : errno;
}

void Replace(const std::string& path, const std::optional<struct stat>& before,
             const std::function<void(std::ostream&)>& write) {
  const std::string target = TargetOf(path);
  if (before && faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) {
    Fail(path, errno);  // Replacing a read-only file would bypass its mode.
  }
  const std::string name = TemporaryNameIn(FolderOf(target));
  if (name.size() >= unfinished_file.size()) {
    Fail(path, ENAMETOOLONG);
  }
  const Unfinished unfinished(name);
  Descriptor file(OpenLike(before, name));
  int error = file.Number() < 0 ? errno : 0;
  bool in_place = before && (error == EACCES || error == EPERM || error == EROFS);  // The folder refuses new files.
  if (error != 0 && !in_place) {
    Fail(path, error);
  }
  const std::string text = TextOf(write);
  if (!in_place) {
    error = Exchange(text, &file, name, target);
    in_place = error == EBUSY;  // The target is a mount point.
  }
  if (in_place) {
    WriteInPlace(path, text);
  } else if (error != 0) {
    Fail(path, error);
  }
}

}  // namespace

void WriteWhole(const std::string& path, const std::function<void(std::ostream& text)>& write) {
  const auto before = StatusOf(path);
  if (path == "-") {
    const std::string text = TextOf(write);
    std::fflush(stdout);
    WriteInto(STDOUT_FILENO, path, text);
  } else if (before && !S_ISREG(before->st_mode)) {
    WriteInPlace(path, TextOf(write));
  } else {
    Replace(path, before, write);
  }
}

void KeepInputs(const std::vector<std::string>& inputs, const std::string& output) {
  for (const std::string& input : inputs) {
    std::error_code error;
    if (std::filesystem::equivalent(input, output, error)) {
      throw Failure(fmt::format("{}: is an input and would be overwritten; give --output another name", input));
    }
  }
}

bool IsRegularOutput(const std::string& path) {
  const auto status = StatusOf(path);
  return path != "-" && (!status || S_ISREG(status->st_mode));
}

}  // namespace blnits
