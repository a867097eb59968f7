#include "regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zarn {

void CloseFile::operator()(FILE* file) const { std::fclose(file); }

std::unique_ptr<FILE, CloseFile> OpenRegularFile(const std::string& path) {
  // Without O_NONBLOCK the open itself would wait for a FIFO's writer.
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) {
    return nullptr;
  }
  struct stat status = {};
  FILE* file = nullptr;
  if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
    file = fdopen(descriptor, "rb");
  }
  if (file == nullptr) {
    close(descriptor);
  }
  return std::unique_ptr<FILE, CloseFile>(file);
}

}  // namespace zarn
