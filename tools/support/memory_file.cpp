#include "support/memory_file.h"

#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "support/failure.h"

namespace blnits {
namespace {

[[noreturn]] void Fail() {
  throw Failure(fmt::format("a file in memory cannot be used: {}", std::generic_category().message(errno)));
}

}  // namespace

MemoryFile::MemoryFile(std::string_view text) : descriptor_(memfd_create("blnits", MFD_CLOEXEC)) {
  if (descriptor_ < 0) {
    Fail();
  }
  for (size_t done = 0; done < text.size();) {
    const ssize_t written = pwrite(descriptor_, text.data() + done, text.size() - done, static_cast<off_t>(done));
    if (written <= 0) {
      close(descriptor_);
      Fail();
    }
    done += static_cast<size_t>(written);
  }
}

MemoryFile::~MemoryFile() { close(descriptor_); }

std::string MemoryFile::Path() const { return fmt::format("/proc/self/fd/{}", descriptor_); }

std::string MemoryFile::Text() const {
  struct stat status = {};
  if (fstat(descriptor_, &status) != 0) {
    Fail();
  }
  std::string text(static_cast<size_t>(status.st_size), '\0');
  for (size_t done = 0; done < text.size();) {
    const ssize_t count = pread(descriptor_, text.data() + done, text.size() - done, static_cast<off_t>(done));
    if (count <= 0) {
      Fail();
    }
    done += static_cast<size_t>(count);
  }
  return text;
}

}  // namespace blnits
