#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace blnits {

/// The calibration files of a lot, one after the other: files as they are given, and all files that end with ".xml" in
/// folders and the folders in them, in the file system's order. Does not follow links to folders inside a folder. A folder
/// that cannot be read is itself one of the paths, and the library refuses it. Keeps no list. One thread at a time.
class UnitFiles {
 public:
  /// \param inputs paths of files and folders.
  explicit UnitFiles(std::vector<std::string> inputs);

  /// The path of the next file; empty at the end.
  std::optional<std::string> Next();

 private:
  std::optional<std::string> Open(const std::filesystem::path& folder);
  std::optional<std::string> NextInFolder();

  // Copies share the place in an open folder, so only a new object may be copied.
  std::vector<std::string> inputs_;
  size_t opened_ = 0;  ///< Of the inputs.
  struct Folder {
    std::filesystem::path path;
    std::filesystem::directory_iterator next;
  };
  std::vector<Folder> folders_;  ///< Each in the one before.
};

/// The first `most` paths of `files` in the order of their bytes. \param count gets the number of all.
std::vector<std::string> FirstPaths(UnitFiles files, size_t most, size_t* count);

}  // namespace blnits
