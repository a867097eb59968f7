// Runs the linked target on every file of the given folders: tests the inputs that were found earlier, with any
// compiler.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "target.h"

namespace {

namespace fs = std::filesystem;

// Returns the number of files in `folder`; 0 if the folder does not exist.
int RunAll(const fs::path& folder) {
  int files = 0;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string input{std::istreambuf_iterator<char>(file), {}};
    // Printed first, so that the last line names the input that fails.
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
