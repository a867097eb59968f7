#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "client.h"

namespace {

/// What a shell command in the working folder says on both outputs, without blank lines, and "[status]" when that is not
/// 0.
std::string Shell(const std::string& command) {
  WriteFile("command", "{ " + command + "\n} > said 2>&1 < /dev/null");
  const int status = WEXITSTATUS(std::system("sh command"));
  std::ifstream output("said");
  std::ostringstream said;
  for (std::string line; std::getline(output, line);) {
    said << (line.empty() ? "" : line + "\n");
  }
  said << (status != 0 ? "[" + std::to_string(status) + "]\n" : "");
  return said.str();
}

/// Each "$ command" of the transcript says what stands below it, one after the other in one folder. Where this machine
/// lets nobody make a namespace, the transcript ends at the first command that needs one.
TEST(Tool, SaysWhatTheTranscriptSays) {
  const TemporaryFolder folder;
  std::filesystem::copy(BLNITS_TESTS "/../samples", "samples");
  std::filesystem::create_symlink(BLNITS_TESTS "/../fuzz/corpus/calibration_file", "corpus");
  WriteFile("backlight_calib_here.xml", Calibration().Text());
  const std::string path = std::filesystem::path(BLNITS_TOOL).parent_path().string() + ":" + std::getenv("PATH");
  ASSERT_EQ(setenv("PATH", path.c_str(), 1), 0);
  ASSERT_EQ(setenv("TESTS", BLNITS_TESTS, 1), 0);
  const bool namespaces = Shell("unshare --map-root-user --mount true").empty();

  std::ifstream transcript(BLNITS_TESTS "/tool.transcript");
  std::string line;
  std::string command = "true";
  std::string expected;
  do {
    const bool more = static_cast<bool>(std::getline(transcript, line));
    if (more && line.rfind("$ ", 0) != 0) {
      expected += line.empty() || line[0] == '#' ? "" : line + "\n";
      continue;
    }
    if (!namespaces && command.find("unshare") != std::string::npos) {
      GTEST_SKIP() << "no namespaces for " << command;
    }
    EXPECT_EQ(Shell(command), expected) << "$ " << command;
    command = line.substr(std::min<size_t>(2, line.size()));
    expected.clear();
  } while (transcript);
}

/// blnits check says of each faulty file what stands in the .txt beside it.
TEST(Tool, ChecksEachFaultAsToldBesideIt) {
  const TemporaryFolder folder;
  std::filesystem::copy(BLNITS_TESTS "/check", ".");
  for (const auto& entry : std::filesystem::directory_iterator(".")) {
    const std::string name = entry.path().filename().string();
    if (entry.path().extension() == ".xml") {
      EXPECT_EQ(Shell(BLNITS_TOOL " check " + name), Shell("cat " + entry.path().stem().string() + ".txt"));
    }
  }
}

}  // namespace
