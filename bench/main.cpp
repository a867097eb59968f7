#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "operations.h"

namespace {

/// An empty working folder for the panels' files, as long as it lives.
class WorkingFolder {
 public:
  WorkingFolder() {
    std::string pattern = std::filesystem::temp_directory_path() / "blnits.XXXXXX";
    path_ = mkdtemp(pattern.data());
    std::filesystem::current_path(path_);
  }
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;
  ~WorkingFolder() { std::filesystem::remove_all(path_); }

 private:
  std::string path_;
};

}  // namespace

// A --benchmark_out must be an absolute path.
int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
#ifndef BLNITS_PEER
  std::cerr << "Built without GSL: there is no peer to compare with.\n";
#endif
  const WorkingFolder folder;
  bench::RegisterOperations();
  bench::RegisterGrowth();
  bench::RegisterContention();
  bench::RegisterCurves();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
