// The C library beside the device's library, both in one process.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <numeric>
#include <random>
#include <thread>
#include <vector>

#include "backlight_nits.h"
#include "client.h"

namespace {

using namespace zarn;
using ContextPointer = std::unique_ptr<bln_context, decltype(&bln_context_free)>;
using PanelPointer = std::unique_ptr<bln_panel, decltype(&bln_panel_free)>;
using CurvePointer = std::unique_ptr<bln_curve, decltype(&bln_curve_free)>;

ContextPointer NewContext() {
  bln_context* context = nullptr;
  EXPECT_EQ(bln_context_create(&context), BLN_OK);
  return {context, bln_context_free};
}

PanelPointer Open(const std::string& path, const bln_context* context = nullptr) {
  bln_panel* panel = nullptr;
  EXPECT_EQ(bln_panel_open_file(context, path.c_str(), &panel), BLN_OK) << bln_last_error();
  return {panel, bln_panel_free};
}

CurvePointer Sample(const bln_panel* panel, uint32_t coverage, bln_mode mode) {
  bln_curve* curve = nullptr;
  EXPECT_EQ(bln_curve_create(panel, coverage, mode, &curve), BLN_OK) << bln_last_error();
  return {curve, bln_curve_free};
}

/// Below `limit`.
uint32_t Any(std::mt19937* random, uint32_t limit) { return static_cast<uint32_t>((*random)() % limit); }

// NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): the bits are what is compared
bool SameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

client::Mode ModeOf(bln_mode mode) {
  return mode == BLN_HIGH_BRIGHTNESS ? client::Mode::kHighBrightness : client::Mode::kStandard;
}

/// One panel in both libraries.
struct Both {
  explicit Both(const std::string& name) : device(client::Panel::Open(name).value()), c(Open("./" + FileName(name))) {}

  void SetDimming(bool enabled) {
    EXPECT_TRUE(device.SetDimming(enabled));
    EXPECT_EQ(bln_panel_set_dimming(c.get(), enabled ? 7 : 0), BLN_OK);
  }
  void SetLuts(std::mt19937* random) {
    const BLRange range = device.Range().value();
    std::vector<uint32_t> levels(size_t{range.max_bl} + 1);
    std::vector<double> factors(size_t{range.max_os_bl} + 1);
    std::generate(levels.begin(), levels.end(), [&] { return Any(random, range.max_bl + 2); });
    std::generate(factors.begin(), factors.end(), [&] { return Any(random, 1000) / 999.0; });
    EXPECT_TRUE(device.SetDimmingLuts(levels, factors));
    EXPECT_EQ(bln_panel_set_dimming_luts(c.get(), levels.data(), levels.size(), factors.data(), factors.size()), BLN_OK)
        << bln_last_error();
  }

  /// Converts `count` levels and as many luminances, one by one and as arrays.
  void Compare(std::mt19937* random, size_t count) {
    const uint32_t last = device.Range()->max_os_bl;
    const uint32_t coverage = Any(random, 102);
    const bln_mode mode = Any(random, 2) == 0 ? BLN_STANDARD : BLN_HIGH_BRIGHTNESS;
    std::vector<uint32_t> levels(count);
    std::generate(levels.begin(), levels.end(), [&] { return Any(random, last + 2); });
    std::vector<double> luminances(count);
    std::generate(luminances.begin(), luminances.end(), [&] { return Any(random, 7000) / 10.0 - 1.0; });
    std::vector<double> nits(count, -7.0);
    std::vector<uint32_t> found(count, 7);
    size_t refused = 0;
    bln_panel_nits_array(c.get(), levels.data(), count, coverage, mode, nits.data(), &refused);
    bln_panel_level_array(c.get(), luminances.data(), count, coverage, mode, found.data(), nullptr);
    const bool valid = coverage >= 1 && coverage <= 100;
    for (size_t i = 0; i < count; ++i) {
      const auto expected = device.Nits(levels[i], coverage, ModeOf(mode));
      double single = -7.0;
      ASSERT_EQ(bln_panel_nits(c.get(), levels[i], coverage, mode, &single), expected ? BLN_OK : BLN_REFUSED);
      ASSERT_TRUE(SameBits(single, expected.value_or(-7.0)));
      ASSERT_TRUE(expected ? SameBits(nits[i], *expected) : valid ? std::isnan(nits[i]) : nits[i] == -7.0);
      refused -= valid && !expected ? 1 : 0;
      const auto level = device.Level(luminances[i], coverage, ModeOf(mode));
      uint32_t one = 7;
      ASSERT_EQ(bln_panel_level(c.get(), luminances[i], coverage, mode, &one), level ? BLN_OK : BLN_REFUSED);
      ASSERT_EQ(one, level.value_or(7));
      ASSERT_EQ(found[i], level ? *level : valid ? BLN_NO_LEVEL : 7);
    }
    EXPECT_EQ(refused, 0U);
  }

  client::Panel device;
  PanelPointer c;
};

class CLibrary : public testing::Test {
 protected:
  CLibrary() { WriteFile(FileName("p"), Calibration().Text()); }

  TemporaryFolder folder_;
  LogLines log_;
};

TEST_F(CLibrary, GivesTheBitsOfTheDevicesLibrary) {
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same in every run
  size_t calls = 0;
  const auto compare = [&](Both* both) {
    for (int round = 0; round < 50; ++round) {
      both->Compare(&random, 60);
      calls += size_t{4} * 60;
    }
  };
  for (int i = 0; i < 10; ++i) {
    const std::string name = "bits" + std::to_string(i);
    Calibration calibration(100 + Any(&random, 900), 2 + Any(&random, 500));
    // Unsorted and with equal levels every other time: LUTs then find places without interpolation.
    for (Points* const table :
         {&calibration.standard_10, &calibration.standard_100, &calibration.hbm_10, &calibration.hbm_100}) {
      table->resize(2 + Any(&random, 40));
      for (size_t point = 0; point < table->size(); ++point) {
        (*table)[point] = {i % 2 == 0 ? Any(&random, 500) : static_cast<uint32_t>(3 + 7 * point),
                           Any(&random, 6000) / 7.0};
      }
    }
    WriteFile(FileName(name), calibration.Text());
    Both both(name);
    compare(&both);
    both.SetDimming(true);  // without LUTs
    both.Compare(&random, 60);
    if (i % 2 == 1) {
      both.SetLuts(&random);
      compare(&both);
      both.SetDimming(false);
      both.Compare(&random, 60);
    }
  }
  EXPECT_GT(calls, 100000U);
}

TEST_F(CLibrary, ReadsWhatTheFileHas) {
  Calibration calibration;
  calibration.standard_10 = {{9, 1.5}, {3, 2.5}, {9, 0.25}};
  WriteFile(FileName("read"), calibration.Text());
  const Both both("read");
  bln_range range = {};
  double number = 0.0;
  EXPECT_EQ(bln_panel_range(both.c.get(), &range), BLN_OK);
  EXPECT_EQ((std::vector<uint32_t>{range.lowest_panel_level, range.highest_panel_level, range.highest_client_level}),
            (std::vector<uint32_t>{1, 1023, 400}));
  EXPECT_EQ(bln_panel_gamma(both.c.get(), &number), BLN_OK);
  EXPECT_EQ(number, 2.2);
  EXPECT_EQ(bln_panel_threshold(both.c.get(), &number), BLN_OK);
  EXPECT_EQ(number, 0.5);
  const char* path = nullptr;
  EXPECT_EQ(bln_panel_file(both.c.get(), &path), BLN_OK);
  EXPECT_EQ(path, "./" + FileName("read"));

  for (const auto& [pattern, mode, points] : {std::tuple{BLN_ONE_TENTH, BLN_STANDARD, calibration.standard_10},
                                              {BLN_FULL_SCREEN, BLN_STANDARD, calibration.standard_100},
                                              {BLN_ONE_TENTH, BLN_HIGH_BRIGHTNESS, calibration.hbm_10},
                                              {BLN_FULL_SCREEN, BLN_HIGH_BRIGHTNESS, calibration.hbm_100}}) {
    size_t count = 0;
    EXPECT_EQ(bln_panel_table(both.c.get(), pattern, mode, nullptr, nullptr, 0, &count), BLN_OK);
    ASSERT_EQ(count, points.size());
    std::vector<uint32_t> levels(count, 7);
    std::vector<double> nits(count, 7.0);
    EXPECT_EQ(bln_panel_table(both.c.get(), pattern, mode, levels.data(), nits.data(), count - 1, &count),
              BLN_TOO_SMALL);
    EXPECT_EQ(levels[0], 7U);
    EXPECT_EQ(bln_panel_table(both.c.get(), pattern, mode, levels.data(), nits.data(), count, &count), BLN_OK);
    for (size_t i = 0; i < count; ++i) {
      EXPECT_EQ(std::pair(levels[i], nits[i]), points[i]);
    }
  }

  size_t count = 0;
  EXPECT_EQ(bln_panel_linear_table(both.c.get(), nullptr, 0, &count), BLN_OK);
  std::vector<uint32_t> linear(count);
  EXPECT_EQ(bln_panel_linear_table(both.c.get(), linear.data(), count, &count), BLN_OK);
  const auto expected = both.device.LinearTable().value();
  ASSERT_EQ(count, expected.size());
  for (size_t i = 0; i < count; ++i) {
    EXPECT_EQ(std::pair(static_cast<uint32_t>(i), linear[i]), expected[i]);
  }
}

TEST_F(CLibrary, SamplesCurves) {
  const PanelPointer panel = Open("./" + FileName("p"));
  for (const uint32_t coverage : {10U, 55U, 100U}) {
    const CurvePointer curve = Sample(panel.get(), coverage, BLN_HIGH_BRIGHTNESS);
    const double* values = nullptr;
    size_t count = 0;
    ASSERT_EQ(bln_curve_values(curve.get(), &values, &count), BLN_OK);
    ASSERT_EQ(count, 401U);
    std::vector<uint32_t> levels(count + 1);
    std::iota(levels.begin(), levels.end(), 0U);
    std::vector<double> nits(levels.size());
    EXPECT_EQ(bln_curve_nits(curve.get(), levels.data(), levels.size(), nits.data()), BLN_OK);
    EXPECT_TRUE(std::isnan(nits.back()));
    std::vector<uint32_t> back(count);
    EXPECT_EQ(bln_curve_levels(curve.get(), nits.data(), count, back.data()), BLN_OK);
    for (uint32_t level = 0; level < count; ++level) {
      double expected = 0.0;
      EXPECT_EQ(bln_panel_nits(panel.get(), level, coverage, BLN_HIGH_BRIGHTNESS, &expected), BLN_OK);
      EXPECT_TRUE(SameBits(expected, nits[level]) && SameBits(expected, values[level]));
      EXPECT_EQ(back[level], level);
    }
  }
}

/// The status and the reason of a call that fails.
std::string Failed(bln_status status) { return std::string(bln_status_name(status)) + " " + bln_last_error(); }

TEST_F(CLibrary, TellsWhatIsWrong) {
  Calibration repeated;
  repeated.standard_100 = {{5, 1.0}, {5, 2.0}, {4, 3.0}, {4, 3.0}};
  repeated.linear = {{0, 0}, {0, 1}};
  WriteFile("repeated", repeated.Text());
  WriteFile("high", Calibration(10, 4000000000).Text());
  WriteFile("broken\033.xml",
            "<Calib_Data\n gamma='1' minimum_bl='0' max_bl='1'>\n<linearized_bl>\n<v/></linearized_bl>"
            "<panel_bl/></Calib_Data>");
  WriteFile("cut.xml", "<Calib_Data>\n");
  const PanelPointer opened = Open(FileName("p"));
  const PanelPointer faulty = Open("repeated");
  const PanelPointer high = Open("high");
  const PanelPointer undimmed = Open(FileName("p"));
  EXPECT_EQ(bln_panel_set_dimming(undimmed.get(), 1), BLN_OK);
  const ContextPointer context = NewContext();
  bln_panel* const p = opened.get();
  bln_panel* panel = nullptr;
  bln_curve* curve = nullptr;
  double nits[] = {1.0, 2.0};
  uint32_t levels[] = {400, 401};
  size_t count = 0;
  const std::string mode = "mode is 2, expected BLN_STANDARD (0) or BLN_HIGH_BRIGHTNESS (1)";
  const std::string faulty_table = ": a measured table has two neighbouring points at the same place";
  struct Case {
    std::function<bln_status()> call;
    std::string reason;
  };
  for (const auto& [call, reason] : std::vector<Case>{
           {[&] { return bln_context_create(nullptr); }, "BLN_INVALID_ARGUMENT bln_context_create: context is null"},
           {[&] { return bln_context_add_folder(context.get(), ""); },
            "BLN_INVALID_ARGUMENT bln_context_add_folder: folder is empty"},
           {[&] { return bln_context_add_xdg_folders(context.get(), "/a"); }, "BLN_INVALID_ARGUMENT"},
           {[&] { return bln_context_set_log(nullptr, nullptr, nullptr); }, "BLN_INVALID_ARGUMENT"},
           {[&] { return bln_panel_open(nullptr, nullptr, &panel); },
            "BLN_INVALID_ARGUMENT bln_panel_open: name is null"},
           {[&] { return bln_panel_open(nullptr, "a/b", &panel); }, "BLN_INVALID_ARGUMENT bln_panel_open: the panel's"},
           {[&] { return bln_panel_open(nullptr, "", &panel); }, "BLN_INVALID_ARGUMENT"},
           {[&] { return bln_panel_open(nullptr, "no\nne", &panel); },
            "BLN_NOT_FOUND panel no\\x0ane: there is no calibration file that can be read; searched: "},
           {[&] { return bln_panel_open_file(nullptr, "", &panel); }, "BLN_NOT_FOUND : there is no such file"},
           {[&] { return bln_panel_open_file(nullptr, ".", &panel); }, "BLN_NOT_FOUND .: this is a folder"},
           {[&] { return bln_panel_open_file(nullptr, "cut.xml", &panel); }, "BLN_BAD_FILE cut.xml:1: "},
           {[&] { return bln_panel_open_file(nullptr, "broken\033.xml", &panel); },
            "BLN_BAD_FILE broken\\x1b.xml:4: Calib_Data: this value of"},
           {[&] { return bln_panel_open_file(nullptr, std::string(5000, 'a').c_str(), &panel); },
            "BLN_NOT_FOUND " + std::string(1000, 'a')},
           {[&] { return bln_panel_file(p, nullptr); }, "BLN_INVALID_ARGUMENT bln_panel_file: path is null"},
           {[&] { return bln_panel_range(nullptr, nullptr); }, "BLN_INVALID_ARGUMENT"},
           {[&] { return bln_panel_gamma(p, nullptr); }, "BLN_INVALID_ARGUMENT bln_panel_gamma: gamma is null"},
           {[&] { return bln_panel_threshold(nullptr, nits); }, "BLN_INVALID_ARGUMENT"},
           {[&] { return bln_panel_table(p, 55, BLN_STANDARD, nullptr, nullptr, 0, &count); },
            "BLN_INVALID_ARGUMENT bln_panel_table: pattern is 55"},
           {[&] { return bln_panel_table(p, BLN_ONE_TENTH, 2, nullptr, nullptr, 0, &count); },
            "BLN_INVALID_ARGUMENT bln_panel_table: " + mode},
           {[&] { return bln_panel_table(p, BLN_ONE_TENTH, 0, nullptr, nullptr, 0, nullptr); }, "BLN_INVALID_ARGUMENT"},
           {[&] { return bln_panel_table(p, BLN_ONE_TENTH, 0, levels, nullptr, 1, &count); },
            "BLN_TOO_SMALL bln_panel_table: the arrays have 1 elements, expected 2"},
           {[&] { return bln_panel_linear_table(faulty.get(), nullptr, 0, &count); },
            "BLN_REFUSED repeated: the linear table has fewer than two pairs"},
           {[&] { return bln_panel_linear_table(p, levels, 2, &count); }, "BLN_TOO_SMALL"},
           {[&] { return bln_panel_nits(p, 1, 55, BLN_STANDARD, nullptr); },
            "BLN_INVALID_ARGUMENT bln_panel_nits: nits is null"},
           {[&] { return bln_panel_nits(p, 1, 0, BLN_STANDARD, nits); },
            "BLN_REFUSED " + FileName("p") + ": coverage is 0, expected 1 to 100 per cent"},
           {[&] { return bln_panel_nits(p, 1, 55, 2, nits); }, "BLN_INVALID_ARGUMENT bln_panel_nits: " + mode},
           {[&] { return bln_panel_nits_array(p, nullptr, 1, 55, 0, nits, nullptr); }, "BLN_INVALID_ARGUMENT"},
           {[&] { return bln_panel_nits_array(p, levels, 2, 55, 0, nits, nullptr); },
            "BLN_REFUSED " + FileName("p") + ": level 401 (element 1) is above the highest client level, 400"},
           {[&] { return bln_panel_nits(faulty.get(), 5, 100, 0, nits); }, "BLN_OK"},
           {[&] { return bln_panel_level(faulty.get(), 2.9, 100, 0, levels); }, "BLN_OK"},
           {[&] { return bln_panel_level(p, 1.0, 101, 0, levels); }, "BLN_REFUSED"},
           {[&] { return bln_panel_level(undimmed.get(), 1.0, 55, 0, levels); },
            "BLN_REFUSED " + FileName("p") + ": 1 nits (element 0): dimming is on but no LUTs are set"},
           {[&] { return bln_panel_dimming(p, nullptr); }, "BLN_INVALID_ARGUMENT"},
           {[&] { return bln_panel_set_dimming(nullptr, 1); }, "BLN_INVALID_ARGUMENT"},
           {[&] { return bln_panel_set_dimming_luts(p, levels, 2, nits, 2); },
            "BLN_INVALID_ARGUMENT bln_panel_set_dimming_luts: found 2 panel levels and 2 factors, expected 1024 and "
            "401"},
           {[&] { return bln_panel_set_dimming_luts(p, nullptr, 0, nits, 2); }, "BLN_INVALID_ARGUMENT"},
           {[&] { return bln_curve_create(p, 101, 0, &curve); }, "BLN_REFUSED"},
           {[&] { return bln_curve_create(p, 55, -1, &curve); }, "BLN_INVALID_ARGUMENT"},
           {[&] { return bln_curve_create(high.get(), 55, 0, &curve); },
            "BLN_REFUSED high: the highest client level is 4000000000, and a curve has at most level 1048575"},
           {[&] { return bln_curve_values(nullptr, nullptr, &count); }, "BLN_INVALID_ARGUMENT"},
           {[&] { return bln_curve_nits(nullptr, levels, 1, nits); }, "BLN_INVALID_ARGUMENT"},
           {[&] { return bln_curve_levels(nullptr, nits, 1, levels); }, "BLN_INVALID_ARGUMENT"},
       }) {
    const std::string failed = Failed(call());
    EXPECT_EQ(failed.substr(0, reason.size()), reason);
    EXPECT_LE(failed.size(), 1050U);
  }
  EXPECT_TRUE(panel == nullptr && curve == nullptr);
  bln_panel_free(nullptr);
  bln_curve_free(nullptr);
  bln_context_free(nullptr);
}

TEST_F(CLibrary, SearchesFoldersInTheirOrder) {
  for (const char* const folder : {"first", "second", "xdg"}) {
    ASSERT_EQ(mkdir(folder, 0700), 0);
    Calibration calibration;
    calibration.attributes = R"(gamma="1" minimum_bl="0" max_bl="9" pcc_thresh=")" + std::to_string(folder[0]) + "\"";
    WriteFile(std::string(folder) + "/" + FileName("there"), calibration.Text());
  }
  rename(("first/" + FileName("there")).c_str(), ("first/" + FileName("other")).c_str());
  setenv("XDG_DATA_DIRS", (":relative:/none:" + folder_.Path()).c_str(), 1);
  const ContextPointer context = NewContext();
  const auto found = [&](const char* name) {
    bln_panel* panel = nullptr;
    if (bln_panel_open(context.get(), name, &panel) != BLN_OK) {
      return std::string("none");
    }
    const PanelPointer owner(panel, bln_panel_free);
    const char* path = nullptr;
    bln_panel_file(panel, &path);
    return std::string(path);
  };
  EXPECT_EQ(found("there"), "none");
  EXPECT_EQ(bln_context_add_xdg_folders(context.get(), "xdg"), BLN_OK);
  unsetenv("XDG_DATA_DIRS");
  EXPECT_EQ(found("there"), folder_.Path() + "/xdg/" + FileName("there"));
  EXPECT_EQ(bln_context_add_folder(context.get(), "first"), BLN_OK);
  EXPECT_EQ(bln_context_add_folder(context.get(), "second"), BLN_OK);
  EXPECT_EQ(found("other"), "first/" + FileName("other"));
  EXPECT_EQ(found("p"), FileName("p")) << "the device's folders come first";
}

struct Lines {
  static void Add(void* lines, bln_log_level level, const char* line) {
    static_cast<Lines*>(lines)->all += std::to_string(level) + " " + line + "\n";
  }
  std::string all;
};

TEST_F(CLibrary, PrintsNothingAndLogsToTheCallback) {
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  Lines lines;
  const ContextPointer context = NewContext();
  EXPECT_EQ(bln_context_set_log(context.get(), &Lines::Add, &lines), BLN_OK);
  const PanelPointer panel = Open(FileName("p"), context.get());
  const PanelPointer silent = Open(FileName("p"));
  double nits = 0.0;
  for (bln_panel* const each : {panel.get(), silent.get()}) {
    EXPECT_EQ(bln_panel_nits(each, 500, 55, BLN_STANDARD, &nits), BLN_REFUSED);
  }
  EXPECT_EQ(lines.all, "0 BackLightNitsImp::NitsOf: invalid input backlight 500 max 400\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr() + testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(log_.With(0), "0") << "the device's log library is another one";
}

TEST_F(CLibrary, ServesManyThreads) {
  const PanelPointer shared = Open(FileName("p"));
  const std::vector<uint32_t> luts(1024, 500);
  const std::vector<double> factors(401, 0.5);
  std::vector<std::thread> threads;
  for (uint32_t i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      for (uint32_t round = 0; round < 50; ++round) {
        const PanelPointer own = Open(FileName("p"));
        const CurvePointer curve = Sample(shared.get(), 55, BLN_STANDARD);
        EXPECT_EQ(bln_panel_set_dimming_luts(shared.get(), luts.data(), 1024, factors.data(), 401), BLN_OK);
        EXPECT_EQ(bln_panel_set_dimming(shared.get(), round % 2 == 0), BLN_OK);
        double nits = 0.0;
        EXPECT_EQ(bln_panel_nits(own.get(), 150, 100, BLN_STANDARD, &nits), BLN_OK);
        EXPECT_EQ(nits, 400.0);
        EXPECT_EQ(bln_panel_nits(own.get(), 1000 + i, 100, BLN_STANDARD, &nits), BLN_REFUSED);
        EXPECT_NE(std::string(bln_last_error()).find("level " + std::to_string(1000 + i)), std::string::npos);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

}  // namespace
