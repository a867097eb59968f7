#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "client.h"

namespace {

/// The output of a shell command in the working folder, on both streams, without blank lines; then "[status]" if the
/// status is not 0.
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

/// An empty working folder. A shell finds the tool, this project's tests as tests/ ($TESTS), and the commands that run
/// a command line with its own mounts ($IN_NAMESPACE) and in a terminal ($IN_TERMINAL).
class Workplace {
 public:
  Workplace() {
    static const std::string path = std::filesystem::path(BLNITS_TOOL).parent_path().string() + ":" + getenv("PATH");
    setenv("PATH", path.c_str(), 1);
    // Makes the shell's commands (seq, sort, awk) print the same on every machine.
    setenv("LC_ALL", "C", 1);
    // A link, because its name has no blanks for a shell to split.
    std::filesystem::create_symlink(BLNITS_TESTS, "tests");
    setenv("TESTS", "tests", 1);
    setenv("IN_NAMESPACE", "sh tests/in_namespace", 1);
    setenv("IN_TERMINAL", "sh tests/in_terminal", 1);
  }

 private:
  TemporaryFolder folder_;
};

std::vector<std::string> Transcripts() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(BLNITS_TESTS "/transcripts")) {
    names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class Tool : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Says, Tool, testing::ValuesIn(Transcripts()), [](const auto& name) { return name.param; });

/// Runs each "$ command" of a transcript in one folder and compares its output with the lines below. Ends at the first
/// command that needs mounts or a terminal if this machine has none.
TEST_P(Tool, WhatTheTranscriptSays) {
  const Workplace workplace;
  std::filesystem::copy(BLNITS_TESTS "/../samples", "samples");
  std::filesystem::create_symlink(BLNITS_TESTS "/../fuzz/corpus/calibration_file", "corpus");
  WriteFile("backlight_calib_here.xml", Calibration().Text());

  std::ifstream transcript(BLNITS_TESTS "/transcripts/" + GetParam() + ".transcript");
  std::string line;
  std::string command = "true";
  std::string expected;
  do {
    const bool more = static_cast<bool>(std::getline(transcript, line));
    if (more && line.rfind("$ ", 0) != 0) {
      expected += line.empty() || line[0] == '#' ? "" : line + "\n";
      continue;
    }
    for (const std::string way : {"$IN_NAMESPACE", "$IN_TERMINAL"}) {
      if (command.find(way) != std::string::npos && !Shell(way + " true").empty()) {
        GTEST_SKIP() << "this machine lacks the means for " << command;
      }
    }
    EXPECT_EQ(Shell(command), expected) << "$ " << command;
    command = line.substr(std::min<size_t>(2, line.size()));
    expected.clear();
  } while (transcript);
}

/// For each faulty file, blnits check must print the .txt file beside it.
TEST(Check, TellsEachFaultAsInTheFileBesideIt) {
  const Workplace workplace;
  std::filesystem::copy(BLNITS_TESTS "/check", ".");
  for (const auto& entry : std::filesystem::directory_iterator(BLNITS_TESTS "/check")) {
    const std::string name = entry.path().filename().string();
    if (entry.path().extension() == ".xml") {
      EXPECT_EQ(Shell("blnits check " + name), Shell("cat " + entry.path().stem().string() + ".txt"));
    }
  }
}

/// docs/check.md must have a section for each rule, in the order of --list-rules: "### RULE (SEVERITY)", the rule's
/// summary, and a line that check prints for a file of tests/check.
TEST(Check, SaysWhatItsDocumentShows) {
  const Workplace workplace;
  std::filesystem::copy(BLNITS_TESTS "/check", ".");
  std::ifstream document(BLNITS_TESTS "/../docs/check.md");
  std::stringstream text;
  text << document.rdbuf();
  std::vector<std::string> sections;
  const std::string heading = "\n### ";
  for (size_t at = text.str().find(heading); at != std::string::npos;) {
    const size_t end = text.str().find(heading, at + 1);
    sections.push_back(text.str().substr(at + heading.size(), end - at - heading.size()));
    at = end;
  }
  std::istringstream rules(Shell("blnits check --list-rules"));
  size_t count = 0;
  for (std::string rule, severity, summary; rules >> rule >> severity && std::getline(rules >> std::ws, summary);) {
    ASSERT_LT(count, sections.size()) << rule;
    const std::string& section = sections[count++];
    SCOPED_TRACE(section);
    summary[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(summary[0])));
    std::string start = rule;
    start.append(" (").append(severity).append(")\n\n").append(summary);
    EXPECT_EQ(section.find(start), 0U);
    const size_t shown = section.find("```\n") + 4;
    const std::string example = section.substr(shown, section.find('\n', shown) - shown);
    EXPECT_NE(example.find(std::string(": ").append(severity).append(": ")), std::string::npos);
    EXPECT_EQ(example.substr(example.find_last_of('[') + 1), std::string(rule).append("]"));
    const std::string said = Shell("blnits check --limit 0 " + example.substr(0, example.find(':')));
    EXPECT_NE(said.find(example + "\n"), std::string::npos) << said;
  }
  EXPECT_EQ(count, sections.size());
  EXPECT_GT(count, 0U);
}

/// The peak memory of a command in the working folder so far, in KiB.
int64_t MostMemory(const std::string& command) {
  EXPECT_EQ(Shell(command), "");
  struct rusage usage = {};
  getrusage(RUSAGE_CHILDREN, &usage);
  return usage.ru_maxrss;
}

/// Checking sixty files must take no more memory than one: each file is freed before the next. A sanitizer would delay
/// the release.
TEST(Check, FreesEachFileBeforeTheNext) {
  const Workplace workplace;
  Calibration calibration;
  for (uint32_t level = 0; level < 5000; ++level) {
    calibration.standard_100.push_back({level, level / 10.0});
  }
  WriteFile("dense.xml", calibration.Text());
  const std::string check = "export ASAN_OPTIONS=$ASAN_OPTIONS:quarantine_size_mb=1; blnits check > told dense.xml";
  const int64_t one = MostMemory(check + " || true");
  std::string others;
  for (int i = 1; i < 60; ++i) {
    others += " dense.xml";
  }
  EXPECT_LT(MostMemory(check + others + " || true"), one * 13 / 10);
}

}  // namespace
