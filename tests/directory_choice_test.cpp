#include <fcntl.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "client.h"

namespace {

/// Runs `body` in a child process with `folder` as root and returns the text that `body` returns; empty if this machine
/// does not allow a change of root.
std::string InRoot(const std::string& folder, const std::function<std::string()>& body) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const int root = open("/", O_RDONLY | O_CLOEXEC);
    if ((geteuid() != 0 && unshare(CLONE_NEWUSER) != 0) || chroot(folder.c_str()) != 0 || chdir("/") != 0) {
      std::exit(0);
    }
    WriteFile("told", body());
    // Leaves the new root again: a coverage build writes its counters at exit, into the build folder.
    std::exit(fchdir(root) == 0 && chroot(".") == 0 ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  std::ifstream told(folder + "/told");
  return {std::istreambuf_iterator<char>(told), {}};
}

/// The descriptor that the next opened file gets.
int FreeDescriptor() {
  const int descriptor = open("/", O_RDONLY | O_CLOEXEC);
  close(descriptor);
  return descriptor;
}

TEST(DirectoryChoice, IsMadeByTheConstructor) {
  const std::string vendor = "/vendor/etc/display/";
  const std::string odm = "/odm/etc/display/";
  const std::string data = "/usr/data/display/";
  struct Situation {
    std::vector<std::string> folders;  // existing folders
    std::vector<std::string> files;    // folders that contain the panel's file
    std::string chosen;
    const char* result;  // result of Init
  };
  for (const Situation& situation :
       {Situation{{vendor, odm, data}, {vendor, odm, data}, vendor, "0"}, Situation{{vendor, odm}, {odm}, odm, "0"},
        Situation{{vendor, odm, data}, {data}, vendor, "-2"}, Situation{{odm}, {odm}, "", "-2"},
        Situation{{data, odm}, {odm, data}, data, "0"}, Situation{{data, odm}, {odm, "/"}, data, "-2"},
        Situation{{}, {"/"}, "", "0"}}) {
    const TemporaryFolder root;
    for (const auto& folder : situation.folders) {
      std::filesystem::create_directories(root.Path() + folder);
    }
    for (const auto& folder : situation.files) {
      WriteFile(root.Path() + folder + FileName("p"), Calibration().Text());
    }
    const std::string told = InRoot(root.Path(), [] {
      LogLines log;
      const int free_before = FreeDescriptor();
      const auto parser = GetBackLightNitsFactoryIntf()->CreateBackLightNitsParser("p");
      const std::string lines = log.With("");
      const int result = parser->Init();
      const bool closed = FreeDescriptor() == free_before;
      return std::to_string(result) + (closed ? "" : ", leaves something open") + lines;
    });
    if (told.empty()) {
      GTEST_SKIP() << "this machine lets nobody change the root";
    }
    EXPECT_EQ(told, situation.result + (" | I parser::BackLightNitsParserImp: file_name " + situation.chosen) +
                        FileName("p"));
  }
}

}  // namespace
