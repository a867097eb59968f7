#pragma once

#include <string>
#include <string_view>

namespace blnits {

/// A file in memory, without a name. The destructor deletes it.
class MemoryFile {
 public:
  /// Makes a file that holds `text`. \throws Failure if there is no memory or no descriptor for it.
  explicit MemoryFile(std::string_view text = {});
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile();

  /// Its descriptor, positioned at the beginning. Duplicate it to give it to another program.
  int Descriptor() const { return descriptor_; }

  /// A path to it, valid in this process while /proc is mounted.
  std::string Path() const;

  /// The whole content. \throws Failure if it cannot be read.
  std::string Text() const;

 private:
  int descriptor_;
};

}  // namespace blnits
