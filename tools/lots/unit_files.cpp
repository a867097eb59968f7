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
    if (folder_ == fs::recursive_directory_iterator()) {
      if (opened_ == inputs_.size()) {
        return std::nullopt;
      }
      const std::string& input = inputs_[opened_++];
      std::error_code error;
      if (!fs::is_directory(input, error)) {
        return input;
      }
      folder_ = fs::recursive_directory_iterator(input, error);
      if (error) {
        return input;
      }
      continue;
    }
    const fs::path path = folder_->path();
    std::error_code error;
    const bool is_folder = fs::is_directory(path, error);
    folder_.increment(error);
    if (error || (!is_folder && path.extension() == zarn::format::kFileSuffix)) {
      return path.string();
    }
  }
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
