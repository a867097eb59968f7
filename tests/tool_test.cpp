#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>

#include "client.h"

namespace {

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

std::string ReadAndClose(FILE* file) {
  std::string text;
  char buffer[4096];
  for (size_t got = 0; (got = std::fread(buffer, 1, sizeof buffer, file)) > 0;) {
    text.append(buffer, got);
  }
  std::fclose(file);
  return text;
}

/// Runs the tool in the working folder, with `input` as its standard input.
Outcome Blnits(const std::string& arguments, const std::string& input = "") {
  WriteFile("input", input);
  const std::string command = BLNITS_TOOL " " + arguments + " < input > out 2> err";
  const int status = std::system(command.c_str());
  return {WEXITSTATUS(status), ReadAndClose(std::fopen("out", "r")), ReadAndClose(std::fopen("err", "r"))};
}

class Tool : public testing::Test {
 protected:
  Tool() {
    std::filesystem::create_directory("d");
    std::filesystem::copy(BLNITS_SAMPLES, "samples");
    WriteFile("d/backlight_calib_x.xml", Calibration().Text());
    WriteFile("backlight_calib_here.xml", Calibration().Text());
    WriteFile("d/backlight_calib_bad.xml", "<Calib_Data gamma='1'/>");
    WriteFile("d/backlight_calib_torn.xml", "<Calib_Data");
  }

  TemporaryFolder folder_;
};

TEST_F(Tool, ConvertsAndSaysWhatFailed) {
  struct Case {
    std::string arguments;
    std::string input;
    int status;
    std::string out;
    std::string err;  // whole, or its start when it ends with "..."
  };
  const std::string not_converted =
      "blnits: d/backlight_calib_x.xml: level 401 at 100 % coverage cannot be converted: "
      "BackLightNitsImp::ProcessBackLightToNits: invalid input backlight 401 max 400\n";
  for (const Case& each : {
           Case{"nits d/backlight_calib_x.xml --level 100 150 0", "", 0, "200\n400\n0\n", ""},
           Case{"nits here -l 100 -c 15", "", 0, "58.33333333333333\n", ""},
           Case{"nits here -l 100 --hdr --coverage 10", "", 0, "60\n", ""},
           Case{"nits ./backlight_calib_here.xml", " 100\n\n150 \r\n", 0, "200\n400\n", ""},
           Case{"nits d/backlight_calib_x.xml --table -l 150 -c 55", "", 0,
                "     level                  nits  coverage %\n"
                "       150                   250          55\n",
                ""},
           Case{"nits d/backlight_calib_x.xml", "100\n401\n150\n", 1, "200\n", not_converted},
           Case{"nits d/backlight_calib_x.xml", "100\n-1\n", 1, "200\n",
                "blnits: standard input:2: found \"-1\", expected a backlight level\n"},
           Case{"nits d/backlight_calib_x.xml", "1e2\n", 1, "",
                "blnits: standard input:1: found \"1e2\", expected a backlight level\n"},
           Case{"nits nowhere -l 1", "", 1, "",
                "blnits: backlight_calib_nowhere.xml: the calibration cannot be loaded: "
                "BackLightNitsParserImp::ParseTopNode: file not found backlight_calib_nowhere.xml\n"},
           Case{"show d/backlight_calib_bad.xml", "", 1, "",
                "blnits: d/backlight_calib_bad.xml: the calibration cannot be loaded: "
                "BackLightNitsParserImp::ParseBlRange: failed to find minimum_bl\n"},
           Case{"show d/backlight_calib_torn.xml", "", 1, "",
                "blnits: d/backlight_calib_torn.xml: the calibration cannot be loaded: "
                "BackLightNitsParserImp::ParseTopNode: file not found backlight_calib_torn.xml "
                "(the file is there: it cannot be read, or is not well-formed XML)\n"},
           Case{"show e/backlight_calib_x.xml", "", 1, "", "blnits: e/backlight_calib_x.xml: there is no folder ..."},
           Case{"show d/panel.xml", "", 2, "",
                "blnits: d/panel.xml: expected a panel's name or a file named backlight_calib_<panel>.xml\n"},
           Case{"nits here -l -1", "", 2, "", "--level: Value -1 not in range 0 to 4294967295\n..."},
           Case{"nits here -l 1 --bright", "", 2, "", "The following argument was not expected: --bright\n..."},
           Case{"show here there", "", 2, "", "The following argument was not expected: there\n..."},
           Case{"", "", 2, "", "A subcommand is required\n..."},
           Case{"show samples/backlight_calib_lcd_small.xml", "", 0,
                "panel          lcd_small\n"
                "file           samples/backlight_calib_lcd_small.xml\n"
                "panel levels   1 to 255\n"
                "client levels  0 to 255\n"
                "gamma          2.2\n"
                "PCC threshold  1\n"
                "\n"
                "measured table                points     client levels                  nits\n"
                "standard, 10 % of the screen       5         15 to 255             26 to 413\n"
                "standard, full screen              5         15 to 255             26 to 413\n"
                "high brightness, 10 %              5         15 to 255             26 to 413\n"
                "high brightness, full screen       5         15 to 255             26 to 413\n",
                ""},
       }) {
    SCOPED_TRACE("blnits " + each.arguments);
    const Outcome outcome = Blnits(each.arguments, each.input);
    EXPECT_EQ(outcome.status, each.status);
    EXPECT_EQ(outcome.out, each.out);
    const size_t dots = each.err.rfind("...");
    EXPECT_EQ(outcome.err.substr(0, dots), each.err.substr(0, dots));
  }
  EXPECT_EQ(Blnits("nits --help").status, 0);
  EXPECT_EQ(Blnits("--version").out, BLNITS_VERSION "\n");
}

TEST_F(Tool, SaysWhenTheLibraryReadsAnotherFile) {
  // This machine's root with a vendor folder beside the rest, in a namespace of its own.
  WriteFile("in_root",
            "set -e; mkdir root\n"
            "for entry in /*; do\n"
            "  if [ -L $entry ]; then cp -P $entry root; elif [ -d $entry ]; then\n"
            "    mkdir root$entry; mount --rbind $entry root$entry\n"
            "  fi\n"
            "done\n"
            "mkdir -p root/vendor/etc/display; cp backlight_calib_here.xml root/vendor/etc/display\n"
            "here=$PWD; exec chroot root sh -c \"cd $here && " BLNITS_TOOL " $*\"\n");
  const auto run = [](const std::string& arguments) {
    const std::string command = "unshare --map-root-user --mount sh in_root " + arguments +
                                " > out 2> err; "
                                "status=$?; rm -rf --one-file-system root; exit $status";
    const int status = std::system(command.c_str());
    return Outcome{WEXITSTATUS(status), ReadAndClose(std::fopen("out", "r")), ReadAndClose(std::fopen("err", "r"))};
  };
  if (std::system("unshare --map-root-user --mount true 2> err") != 0) {
    GTEST_SKIP() << "this machine gives nobody a namespace";
  }
  const Outcome other = run("nits ./backlight_calib_here.xml -l 100");
  EXPECT_EQ(other.status, 1);
  EXPECT_EQ(other.err,
            "blnits: ./backlight_calib_here.xml: the library reads "
            "/vendor/etc/display/backlight_calib_here.xml instead, since that is where panel here is "
            "searched first\n");
  EXPECT_EQ(run("nits here -l 100").out, "200\n");
  EXPECT_EQ(run("nits /vendor/etc/display/backlight_calib_here.xml -l 100").out, "200\n");
}

TEST_F(Tool, EverySampleLoadsAndRises) {
  int samples = 0;
  for (const auto& sample : std::filesystem::directory_iterator("samples")) {
    ++samples;
    for (const char* coverage : {"10", "55", "100"}) {
      const Outcome outcome = Blnits("nits " + sample.path().string() + " -c " + coverage, "0\n1\n100\n200\n255\n");
      EXPECT_EQ(outcome.status, 0) << outcome.err;
      double before = -1.0;
      size_t at = 0;
      for (std::string rest = outcome.out; !rest.empty(); rest = rest.substr(at + 1)) {
        const double nits = std::stod(rest, &at);
        EXPECT_GT(nits, before) << sample.path();
        before = nits;
      }
    }
  }
  EXPECT_EQ(samples, 3);
}

}  // namespace
