#include "support/output_file.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>

#include "support/failure.h"

namespace blnits {

void WriteWhole(const std::string& path, const std::function<void(const std::string& unfinished)>& write) {
  const std::string unfinished = path + ".unfinished";
  std::error_code error;
  try {
    if (!std::ofstream(unfinished)) {
      throw Failure(fmt::format("{}: cannot be written", path));
    }
    write(unfinished);
  } catch (...) {
    std::filesystem::remove(unfinished, error);
    throw;
  }
  std::filesystem::rename(unfinished, path, error);
  if (error) {
    std::filesystem::remove(unfinished, error);
    throw Failure(fmt::format("{}: cannot be written", path));
  }
}

}  // namespace blnits
