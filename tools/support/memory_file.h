#pragma once

#include <string>
#include <string_view>

namespace blnits {

/// A file without a name, in memory. It ends with the object.
class MemoryFile {
 public:
  /// Holds `text`. \throws Failure when there is no memory or no descriptor for it.
  explicit MemoryFile(std::string_view text = {});
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile();

  /// Its descriptor, at the beginning of the text; another program gets it when it is duplicated.
  int Descriptor() const { return descriptor_; }

  /// A path that leads to it, in this process and while /proc is there.
  std::string Path() const;

  /// Everything that is in it. \throws Failure when it cannot be read.
  std::string Text() const;

 private:
  int descriptor_;
};

}  // namespace blnits
