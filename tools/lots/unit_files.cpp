#include "lots/unit_files.h"

#include <set>
#include <system_error>
#include <utility>

#include "calibration_format.h"

namespace blnits {

namespace fs = std::filesystem;

UnitFiles::UnitFiles(std::vector<std::string> inputs) : inputs_(std::move(inputs)) {}

std::optional<std::string> UnitFiles::Next() {
  for (;;) {
    std::optional<std::string> file;
    std::error_code error;
    if (!folders_.empty()) {
      file = NextInFolder();
    } else if (opened_ == inputs_.size()) {
      return std::nullopt;
    } else if (const std::string& input = inputs_[opened_++]; fs::is_directory(input, error)) {
      file = Open(input);
    } else {
      file = input;
    }
    if (file) {
      return file;
    }
  }
}

// The folder's path if it cannot be read.
std::optional<std::string> UnitFiles::Open(const fs::path& folder) {
  std::error_code error;
  fs::directory_iterator next(folder, error);
  if (error) {
    return folder.string();
  }
  folders_.push_back({folder, std::move(next)});
  return std::nullopt;
}

// The standard's recursive iterator would end at the first folder that it cannot open, and lose those after it.
std::optional<std::string> UnitFiles::NextInFolder() {
  auto& [folder, next] = folders_.back();
  if (next == fs::directory_iterator()) {
    folders_.pop_back();
    return std::nullopt;
  }
  const fs::directory_entry entry = *next;
  std::error_code error;
  next.increment(error);
  if (error) {
    const std::string unread = folder.string();
    folders_.pop_back();
    return unread;
  }
  const bool is_link = entry.is_symlink(error);
  if (entry.is_directory(error)) {
    return is_link ? std::nullopt : Open(entry.path());
  }
  return entry.path().extension() == zarn::format::kFileSuffix ? std::optional(entry.path().string()) : std::nullopt;
}

std::vector<std::string> FirstPaths(UnitFiles files, size_t most, size_t* count) {
  std::set<std::string> first;
  for (*count = 0; const auto path = files.Next(); ++*count) {
    if (first.size() < most || *path < *first.rbegin()) {
      first.insert(*path);
    }
    if (first.size() > most) {
      first.erase(std::prev(first.end()));
    }
  }
  return {first.begin(), first.end()};
}

}  // namespace blnits
