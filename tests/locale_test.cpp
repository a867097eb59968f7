#include <clocale>
#include <cstdlib>

#include "client.h"

namespace {

// A locale with a decimal comma, as source for localedef, so that no locale has to be installed.
constexpr char kComma[] = R"(comment_char %
escape_char /
LC_NUMERIC
decimal_point ","
thousands_sep "."
grouping 3;3
END LC_NUMERIC
)";
constexpr char kCharacters[] = R"(<code_set_name> ANSI_X3.4-1968
<comment_char> %
<escape_char> /
CHARMAP
<U0000>..<U007F> /x00 ASCII
END CHARMAP
)";

class DecimalComma : public Client {
 protected:
  /// Runs Init in a process whose numbers have a decimal comma. No other function of this class uses that locale.
  std::string InitInLocale() {
    setenv("LOCPATH", folder_.Path().c_str(), 1);
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, "comma"), "comma");
    std::string said = Init();
    std::setlocale(LC_NUMERIC, "C");
    unsetenv("LOCPATH");
    return said;
  }
};

// The platform's functions read the numbers of the file. The thread's own locale takes precedence over the process's.
TEST_F(DecimalComma, IsKeptOutByALocaleOfTheThread) {
  WriteFile("comma.locale", kComma);
  WriteFile("characters", kCharacters);
  // localedef warns about missing categories and therefore does not exit with 0.
  const int made =
      std::system("localedef --force --charmap=./characters --inputfile=./comma.locale ./comma >localedef.log 2>&1");
  if (WEXITSTATUS(made) == 127) {
    GTEST_SKIP() << "localedef is not installed";
  }
  Calibration calibration;
  calibration.standard_100 = {{1, 2.6875}, {200, 600.5}};
  Open(calibration);
  const std::string done = "0 | I parser::BackLightNitsParserImp: file_name " + FileName(panel_);
  EXPECT_EQ(InitInLocale(), done);
  EXPECT_EQ(Nits(1, 100), "2");

  const locale_t plain = newlocale(LC_NUMERIC_MASK, "C", nullptr);
  const locale_t before = uselocale(plain);
  EXPECT_EQ(InitInLocale(), done);
  uselocale(before);
  freelocale(plain);
  EXPECT_EQ(Nits(1, 100), "2.6875");
}

}  // namespace
