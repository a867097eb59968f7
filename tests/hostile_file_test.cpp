#include <sys/stat.h>

#include <chrono>
#include <filesystem>

#include "client.h"

namespace {

using namespace zarn;

std::string Repeated(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) {
    all += text;
  }
  return all;
}

/// A valid file with `inserted` before the first place that reads `before`.
std::string With(const std::string& before, const std::string& inserted) {
  std::string text = Calibration().Text();
  return text.insert(text.find(before), inserted);
}

// Whatever the file is, it is loaded or refused, soon.
TEST(HostileFile, IsLoadedOrRefusedSoon) {
  const TemporaryFolder folder;
  const auto parser = GetBackLightNitsFactoryIntf()->CreateBackLightNitsParser("x");
  const LogLines log;
  const std::string many = Repeated("<v>1</v>", 1000000);
  std::string million = With("</bl_value>", many);
  million.insert(million.find("</nits_value>"), many);
  std::string attributes;
  for (int i = 0; i < 150000; ++i) {
    attributes += " a" + std::to_string(i) + "=''";
  }
  const std::string calib = "<Calib_Data gamma='1' minimum_bl='1' max_bl='2'";
  for (const auto& [what, text, result] : {
           std::tuple{"nesting", Repeated("<a>", 200000), -2},
           std::tuple{"nesting in a section", With("<measurement", Repeated("<a>", 200) + Repeated("</a>", 200)), -2},
           std::tuple{"a megabyte of attributes", "<Calib_Data" + attributes + "/>", -2},
           std::tuple{"attributes behind a quoted '>'", "<Calib_Data b='>'" + attributes + "/>", -2},
           std::tuple{"a tag that never ends", "<Calib_Data b='" + Repeated("x", 9000), -2},
           std::tuple{"a comment that never ends", With("<meas", "<!--"), -2},
           std::tuple{"a long comment", With("<meas", "<!--" + Repeated("'>\"<a ", 9000) + "-->"), 0},
           std::tuple{"a long value", With("<meas", "<![CDATA[" + Repeated("'>\"<a ", 9000) + "]]>"), 0},
           std::tuple{"a million levels without luminance", With("</bl_value>", many), -22},
           std::tuple{"a million points", million, 0},
           std::tuple{"beyond the greatest file", Calibration().Text() + Repeated(" ", 33 << 20), -2},
           std::tuple{"absurd numbers", calib + " max_os_bl='99999999999999999999' pcc_thresh='1e999'/>", -22},
       }) {
    SCOPED_TRACE(what);
    WriteFile(FileName("x"), text);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(parser->Init(), result);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
  }
}

TEST(HostileFile, IsNotAFileAtAll) {
  const TemporaryFolder folder;
  const auto parser = GetBackLightNitsFactoryIntf()->CreateBackLightNitsParser("x");
  const LogLines log;
  std::filesystem::create_directory(FileName("x"));
  EXPECT_EQ(parser->Init(), -2);
  std::filesystem::remove(FileName("x"));
  ASSERT_EQ(mkfifo(FileName("x").c_str(), 0600), 0);
  EXPECT_EQ(parser->Init(), -2) << "not waited for";
  for (const char* const endless : {"/dev/zero", "/proc/self/mem", "nothing"}) {
    std::filesystem::remove(FileName("x"));
    std::filesystem::create_symlink(endless, FileName("x"));
    EXPECT_EQ(parser->Init(), -2);
  }
}

}  // namespace
