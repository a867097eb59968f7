// Runs a target, which is linked to it, on every file of the folders that it is given: inputs that were found once are
// tests from then on, with any compiler.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "target.h"

namespace {

namespace fs = std::filesystem;

// The number of files in `folder`; 0 also for a folder that does not exist.
int RunAll(const fs::path& folder) {
  int files = 0;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string input{std::istreambuf_iterator<char>(file), {}};
    // The last line on the screen names the culprit.
    std::printf("%s\n", entry.path().c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size());
    ++files;
  }
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  bool all_full = argc > 1;
  for (int i = 1; i < argc; ++i) {
    const int files = RunAll(argv[i]);
    std::printf("%d inputs in %s\n", files, argv[i]);
    all_full = all_full && files > 0;
  }
  return all_full ? 0 : 1;
}
