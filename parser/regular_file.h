#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace zarn {

struct CloseFile {
  void operator()(FILE* file) const;
};

/// Opens a regular file for reading; null when there is none that can be read. Anything else (a FIFO, a device, a
/// directory) is refused without waiting for it: it could keep the caller waiting for ever.
std::unique_ptr<FILE, CloseFile> OpenRegularFile(const std::string& path);

}  // namespace zarn
