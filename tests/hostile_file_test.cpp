#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>

#include "client.h"

namespace {

using namespace zarn;

/// A valid file with `inserted` before the first occurrence of `before`.
std::string With(const std::string& before, const std::string& inserted) {
  std::string text = Calibration().Text();
  return text.insert(text.find(before), inserted);
}

double ThreadSeconds() {
  timespec now = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// A tag with as many different attributes as it can hold: the reader compares each with all earlier ones.
std::string MostAttributes() {
  std::string tag = "<a ";
  for (const std::string first : {"", "a", "b", "c"}) {
    for (int second = 0x80; second <= 0xff && tag.size() < 2040; ++second) {
      tag += first + static_cast<char>(second) + "=''";
    }
  }
  return tag + "/>";
}

/// A file with a repeated text.
struct Shape {
  const char* what;
  const char* place;  ///< The repetition stands before this text of a valid file; "": it is the whole file.
  std::string before;
  std::string unit;
  std::string after;
  int result;  ///< Expected result of Init.

  std::string Text(size_t bytes) const {
    const std::string text = before + Repeated(unit, bytes / unit.size()) + after;
    return *place != '\0' ? With(place, text) : text;
  }
};

std::vector<Shape> HostileShapes() {
  const char* const ignored = "<meas";
  const char* const value = "0</value>";
  const std::string all = Calibration().Text();
  const std::string attributes = MostAttributes();
  return {
      {"&#x in a value", value, "", "&#x", "", -2},
      {"&# in a value, digits at its end", value, "", "&#", "g" + std::string(4096, '1') + ";", -2},
      {"&# up to the longest reference", value, "", Repeated("&#", 16) + std::string(31, '1') + ";", "", 0},
      {"&# up to the longest that is none", value, "", Repeated("&#", 16) + "g" + std::string(30, '1') + ";", "", 0},
      {"references in a value", value, "", "&#x31;", "", 0},
      {"&amp;", value, "", "&amp;", "", 0},
      {"& in a value", value, "", "&", "", 0},
      {"&#x in attributes", ignored, "", "<a b='" + Repeated("&#x", 670) + "'/>", "", -2},
      {"references in attributes", ignored, "", "<a b='" + Repeated("&#x31;", 330) + "'/>", "", 0},
      {"tags full of attributes", ignored, "", attributes, "", 0},
      {"end tags full of attributes", ignored, "", "<a></" + attributes.substr(1, attributes.size() - 3) + ">", "", 0},
      {"one attribute", ignored, "", "<a b=''/>", "", 0},
      {"long attributes", ignored, "", "<a b='" + std::string(2036, 'x') + "'/>", "", 0},
      {"long names", ignored, "", "<" + std::string(2040, 'x') + "/>", "", 0},
      {"comments", ignored, "", "<!---->", "", 0},
      {"a long comment", ignored, "<!--", "- -", "-->", 0},
      {"a comment without an end", ignored, "<!--", "<a>", "", -2},
      {"beginnings of comments", ignored, "", "<!--", "", -2},
      {"CDATA", ignored, "", "<![CDATA[]]>", "", 0},
      {"long CDATA as a value", "<value>0<", "<value><![CDATA[", "] ]", "]]></value>", -22},
      {"beginnings of CDATA", ignored, "", "<![CDATA[", "", -2},
      {"<!>", ignored, "", "<!>", "", 0},
      {"declarations", "<Calib", "", "<?a?>", "", 0},
      {"beginnings of declarations", "", "", "<?", "", -2},
      {"empty elements", ignored, "", "<a/>", "", 0},
      {"pairs of tags", ignored, "", "<a></a>", "", 0},
      {"start tags", ignored, "", "<a>", "", -2},
      {"end tags behind the root", "", all, "</a>", "", 0},
      {"nesting to the bound, many times", ignored, "", Repeated("<a>", 63) + Repeated("</a>", 63), "", 0},
      {"empty elements at the bound", ignored, Repeated("<a>", 62), "<a/>", Repeated("</a>", 62), 0},
      {"a tag without an end", ignored, "<a b='", "x", "", -2},
      {"<", ignored, "", "<", "", -2},
      {"quotes", ignored, "", "<a'", "", -2},
      {"a long value", value, "", "1", "", 0},
      {"a long fraction", value, "0.", "0", "1", 0},
      {"white space in a value", value, "", " ", "", 0},
      {"line ends in a value", value, "", "\r\n", "", 0},
      {"white space between sections", ignored, "", " \n\t", "", 0},
      {"values", "</linearized_bl>", "", "<v>1</v>", "", -22},
      {"levels without luminance", "</bl_value>", "", "<v>1</v>", "", -22},
      {"bytes that are no XML", "", "", "\xff", "", -2},
      {"NUL", ignored, "", std::string(1, '\0'), "", -2},
  };
}

// A file of twice the size takes less than three times as long. The time must be short, because reading holds a lock.
TEST(HostileFile, TakesTimeInProportionToItsSize) {
  const TemporaryFolder folder;
  const auto parser = GetBackLightNitsFactoryIntf()->CreateBackLightNitsParser("x");
  const LogLines log;
  const auto measure = [&](const std::string& text, int result, double* least) {
    WriteFile(FileName("x"), text);
    const double start = ThreadSeconds();
    EXPECT_EQ(parser->Init(), result);
    *least = std::min(*least, ThreadSeconds() - start);
  };
  const size_t bytes = kSlowed ? 1 << 17 : 1 << 20;
  const double longest = kSlowed ? 1.0 : 0.5;  // In seconds. An emulated processor is slower if others work beside it.
  std::printf("%-36s %7zu KiB %7zu KiB  times\n", "", bytes >> 10, bytes >> 9);
  for (const Shape& shape : HostileShapes()) {
    SCOPED_TRACE(shape.what);
    double once = 1e9;
    double twice = 1e9;
    for (int i = 0; i < 5 && !(twice < 3 * once && once < longest); ++i) {
      measure(shape.Text(bytes), shape.result, &once);
      measure(shape.Text(2 * bytes), shape.result, &twice);
    }
    std::printf("%-36s %8.1f ms %8.1f ms %6.2f\n", shape.what, once * 1e3, twice * 1e3, twice / once);
    EXPECT_LT(twice, 3 * once + 0.002) << "short times say little";
    EXPECT_LT(once, longest);
  }
}

TEST(HostileFile, LoadsManyPointsSoon) {
  const TemporaryFolder folder;
  Calibration calibration;
  calibration.standard_100.resize(800000, {300, 700.0});
  WriteFile(FileName("x"), calibration.Text());
  const double start = ThreadSeconds();
  EXPECT_EQ(GetBackLightNitsFactoryIntf()->CreateBackLightNitsParser("x")->Init(), 0);
  EXPECT_LT(ThreadSeconds() - start, 60.0);
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
