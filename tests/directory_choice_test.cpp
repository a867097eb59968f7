#include <gtest/gtest.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "client.h"
#include "log_lines.h"

namespace {

const char* const kVendor = "/vendor/etc/display/";
const char* const kOdm = "/odm/etc/display/";
const char* const kData = "/usr/data/display/";

/// Runs `body` in a child process whose root is `folder` and returns the text that it returns.
std::string InRoot(const std::string& folder, const std::function<std::string()>& body) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    const bool entered =
        (geteuid() == 0 || unshare(CLONE_NEWUSER) == 0) && chroot(folder.c_str()) == 0 && chdir("/") == 0;
    const std::string text = entered ? body() : "no root";
    _exit(write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
  }
  close(ends[1]);
  std::string text;
  char buffer[256];
  for (ssize_t got = 0; (got = read(ends[0], buffer, sizeof buffer)) > 0;) {
    text.append(buffer, static_cast<size_t>(got));
  }
  close(ends[0]);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  return text;
}

struct Situation {
  std::vector<std::string> folders;  // that exist
  std::vector<std::string> files;    // folders that hold the panel's file
  std::string chosen;
  int result;  // of Init
};

void ExpectChoice(const Situation& situation) {
  const TemporaryFolder root;
  for (const auto& folder : situation.folders) {
    std::filesystem::create_directories(root.Path() + folder);
  }
  for (const auto& folder : situation.files) {
    WriteFile(root.Path() + folder + FileName("p"), Calibration().Text());
  }
  const std::string told = InRoot(root.Path(), [] {
    LogLines log;
    const auto parser = GetBackLightNitsFactoryIntf()->CreateBackLightNitsParser("p");
    std::string lines = log.Take().at(0);
    return lines + " " + std::to_string(parser->Init());
  });
  if (told == "no root") {
    GTEST_SKIP() << "this machine lets nobody change the root";
  }
  EXPECT_EQ(told, "I BackLightNitsParserImp::BackLightNitsParserImp: file_name " + situation.chosen + " " +
                      std::to_string(situation.result));
}

TEST(DirectoryChoice, IsMadeByTheConstructor) {
  for (const Situation& situation : {
           Situation{{kVendor, kOdm, kData}, {kVendor, kOdm, kData}, kVendor + FileName("p"), 0},
           Situation{{kVendor, kOdm}, {kOdm}, kOdm + FileName("p"), 0},
           Situation{{kVendor, kOdm, kData}, {kData}, kVendor + FileName("p"), -2},
           Situation{{kOdm}, {kOdm}, FileName("p"), -2},
           Situation{{kData, kOdm}, {kOdm, kData}, kData + FileName("p"), 0},
           Situation{{kData, kOdm}, {kOdm, "/"}, kData + FileName("p"), -2},
           Situation{{}, {"/"}, FileName("p"), 0},
       }) {
    SCOPED_TRACE(situation.chosen + testing::PrintToString(situation.folders) +
                 testing::PrintToString(situation.files));
    ExpectChoice(situation);
    if (testing::Test::IsSkipped()) {
      return;
    }
  }
}

}  // namespace
