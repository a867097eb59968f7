// The figures of lots beside references, the order of merging, partial results from outside, and the reading of folders.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <numeric>
#include <random>

#include "client.h"
#include "figures/gsdf.h"
#include "lots/limits.h"
#include "lots/lot_figures.h"
#include "lots/lot_reader.h"
#include "lots/outliers.h"
#include "lots/partial_result.h"
#include "support/json.h"

namespace {

using namespace blnits;
using Json = nlohmann::ordered_json;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

template <class Action>
std::string FailureOf(Action action) {
  try {
    action();
  } catch (const Failure& failure) {
    std::string told = failure.what();
    for (const std::string& line : failure.more) {
      told += "\n" + line;
    }
    return told;
  }
  return "";
}

// Sums

__extension__ using Wide = __int128;

/// The sum of doubles that are whole numbers below 2^112, rounded once.
double Reference(const std::vector<double>& values) {
  Wide sum = 0;
  for (const double value : values) {
    sum += static_cast<Wide>(value);
  }
  return static_cast<double>(sum);
}

// With few bits in each summand, sums are often exactly half-way between two doubles, or cancel.
TEST(ExactSum, IsTheNearestDoubleToTheSumInAnyOrder) {
  std::mt19937 random(20261124);  // NOLINT(cert-msc51-cpp): the same in every run
  const std::vector<int> exponents = {0, 1, 26, 27, 52, 53, 54, 55, 79, 80, 105, 106, 107, 108};
  for (int round = 0; round < 20000; ++round) {
    std::vector<double> values;
    for (size_t i = 0; i < 1 + random() % 8; ++i) {
      const auto mantissa = static_cast<double>(1 + random() % 5);
      values.push_back(std::ldexp(random() % 2 == 0 ? mantissa : -mantissa, exponents[random() % exponents.size()]));
    }
    const ExactSum sum(values);
    ASSERT_EQ(sum.Value(), Reference(values)) << round;
    std::vector<double> rest = values;
    for (const double term : sum.Terms()) {
      ASSERT_EQ(term, Reference(rest)) << "each term is the nearest double to what is left";
      rest.push_back(-term);
    }
    ASSERT_EQ(Reference(rest), 0.0);
    ExactSum merged;
    std::shuffle(values.begin(), values.end(), random);
    const auto middle = values.begin() + static_cast<ptrdiff_t>(random() % (values.size() + 1));
    merged.Add(ExactSum({middle, values.end()}));
    merged.Add(ExactSum({values.begin(), middle}));
    ASSERT_EQ(merged.Terms(), sum.Terms()) << round;
  }
}

TEST(ExactSum, HasTheMeanOfEqualNumbersExactly) {
  for (const double number : {0.1, 2.0 / 3.0, 478.5, 5e-324, 1e9, 0.0}) {
    ExactSum sum;
    for (uint64_t count = 1; count <= 300; ++count) {
      sum.Add(number);
      ASSERT_EQ(sum.Mean(count), number) << count;
    }
  }
}

// Of whole numbers, so that the distance of a mean from the exact one is known without rounding.
TEST(ExactSum, HasTheNearestDoubleToTheMean) {
  std::mt19937_64 random(5);  // NOLINT(cert-msc51-cpp)
  for (int round = 0; round < 20000; ++round) {
    ExactSum sum;
    Wide exact = 0;
    const auto count = static_cast<int>(1 + random() % 200);
    for (int i = 0; i < count; ++i) {
      const double value = std::ldexp(static_cast<double>(random() >> 11), static_cast<int>(10 + random() % 40));
      sum.Add(value);
      exact += static_cast<Wide>(value);
    }
    const double mean = sum.Mean(static_cast<uint64_t>(count));
    const auto distance = [&](double of) {
      const Wide difference = exact - static_cast<Wide>(of) * count;
      return difference < 0 ? -difference : difference;
    };
    ASSERT_TRUE(distance(mean) <= distance(std::nextafter(mean, 0.0))) << round;
    ASSERT_TRUE(distance(mean) <= distance(std::nextafter(mean, HUGE_VAL))) << round;
  }
}

// Sketches

TEST(Sketch, HasEachLuminanceNearTheMiddleOfItsBucket) {
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp)
  std::uniform_real_distribution<double> exponents(-6.0, 9.0);
  std::vector<double> luminances = {std::nextafter(1.0, 0.0), 1.0, std::nextafter(2.0, 0.0), 2.0, 1e9};
  std::generate_n(std::back_inserter(luminances), 10000, [&] { return std::pow(10.0, exponents(random)); });
  double largest = 0.0;
  for (const double nits : luminances) {
    largest = std::max(largest, std::abs(Sketch::MiddleOf(Sketch::BucketOf(nits)) - nits) / nits);
  }
  EXPECT_LE(largest, Sketch::kError);
  EXPECT_GT(largest, 0.9 * Sketch::kError) << "the stated error is not generous";
  for (const double black : {0.0, -0.0}) {
    EXPECT_EQ(Sketch::MiddleOf(Sketch::BucketOf(black)), 0.0);
  }
}

TEST(Sketch, HasTheLuminanceOfTheNearestRank) {
  struct Case {
    size_t count;  // Of the luminances 1, 2, 3...
    double share;
    double rank;
  };
  for (const auto& [count, share, rank] : {Case{1, 0.01, 1},
                                           {1, 0.99, 1},
                                           {2, 0.5, 1},
                                           {3, 0.5, 2},
                                           {100, 0.01, 1},
                                           {100, 0.99, 99},
                                           {101, 0.99, 100},
                                           {100, 0.05, 5},
                                           {200, 0.95, 190},
                                           {199, 0.95, 190},
                                           {10, 0.0, 1},
                                           {10, 1.0, 10}}) {
    Sketch sketch;
    for (size_t i = count; i > 0; --i) {
      sketch.Add(static_cast<double>(i));
    }
    EXPECT_NEAR(sketch.Percentile(share), rank, rank * Sketch::kError) << share << " of " << count;
  }
  EXPECT_TRUE(std::isnan(Sketch().Percentile(0.5)));
}

// Lots

/// A lot's shape with so many levels in each table.
LotShape ShapeWith(size_t levels) {
  LotShape shape = {{}, 3, {}};
  shape.range.minimum_bl = 1;
  shape.range.max_bl = 2;
  shape.range.max_os_bl = 255;
  for (auto& table : shape.levels) {
    table.resize(levels);
    std::iota(table.begin(), table.end(), 1);
  }
  return shape;
}

/// A unit with these luminances in every table.
Unit UnitWith(const std::string& name, const std::vector<double>& nits) {
  Unit unit = {name, 2.2, 0.9, {0, 1, 2}, {}, {}};
  unit.nits.fill(nits);
  std::vector<double> jnd(nits.size());
  std::transform(nits.begin(), nits.end(), jnd.begin(),
                 [](double each) { return RoughJndIndexOfNits(each).value_or(kNan); });
  unit.jnd.fill(jnd);
  return unit;
}

LotSummary LotOf(const std::vector<Unit>& units) {
  LotSummary lot(ShapeWith(units.front().nits.front().size()));
  for (const Unit& unit : units) {
    lot.Add(unit);
  }
  return lot;
}

/// Units with dark, usual and very bright luminances, many of them equal, with and without JND indices.
std::vector<Unit> AnyUnits(size_t count) {
  std::mt19937 random(7);  // NOLINT(cert-msc51-cpp)
  std::normal_distribution<double> scatter(1.0, 0.03);
  std::vector<Unit> units;
  for (size_t i = 0; i < count; ++i) {
    const std::string name = "u" + std::to_string(random() % count);
    const double factor = scatter(random);
    units.push_back(UnitWith(name, {0.051 * factor, 300.0 * factor * scatter(random), std::round(50.0 * factor) / 7.0,
                                    3900.0 * factor, random() % 10 == 0 ? 1e-3 : 0.0}));
    units.back().gamma = 2.2 * scatter(random);
    units.back().panel_levels[1] = static_cast<uint32_t>(random());
  }
  return units;
}

/// The figures without the scatter, which depends on the order; it is appended to `squares`.
std::string ExactPart(const LotSummary& lot, std::vector<double>* squares) {
  Json object = PartialResultOf(lot);
  for (auto& table : object["tables"]) {
    for (const char* const unit : {"nits", "jnd"}) {
      for (const auto& each : table[unit]["squares"]) {
        squares->push_back(each);
      }
      table[unit].erase("squares");
    }
  }
  return object.dump();
}

void ExpectSame(const LotSummary& lot, const LotSummary& expected) {
  std::vector<double> squares;
  std::vector<double> expected_squares;
  ASSERT_EQ(ExactPart(lot, &squares), ExactPart(expected, &expected_squares));
  ASSERT_EQ(squares.size(), expected_squares.size());
  for (size_t i = 0; i < squares.size(); ++i) {
    ASSERT_NEAR(squares[i], expected_squares[i], 1e-12 * expected_squares[i]) << i;
  }
}

/// The parts as another program reads them.
LotSummary Reread(const LotSummary& lot) { return ReadPartialResult(JsonLine(PartialResultOf(lot)), "part.json"); }

TEST(Lot, IsTheSameForEveryOrderAndSplit) {
  std::mt19937 random(11);  // NOLINT(cert-msc51-cpp)
  auto units = AnyUnits(400);
  LotSummary whole = LotOf(units);
  for (size_t i = 0; i < 150; ++i) {
    whole.rejected.Add("x" + std::to_string(i * 7919 % 1000), "reason " + std::to_string(i));
  }
  for (const size_t parts : {1U, 2U, 7U, 64U}) {
    SCOPED_TRACE(parts);
    std::shuffle(units.begin(), units.end(), random);
    std::vector<LotSummary> lots(parts, LotSummary(whole.shape));
    for (const Unit& unit : units) {
      lots[random() % parts].Add(unit);
    }
    for (size_t i = 150; i-- > 0;) {
      lots[random() % parts].rejected.Add("x" + std::to_string(i * 7919 % 1000), "reason " + std::to_string(i));
    }
    while (lots.size() > 1) {  // In a random tree, each part as another machine sends it.
      const size_t taken = random() % (lots.size() - 1);
      lots[taken].Merge(Reread(lots.back()));
      lots.pop_back();
    }
    ExpectSame(lots.front(), whole);
  }
}

TEST(Lot, HasTheFiguresOfItsUnits) {
  const auto units = AnyUnits(999);
  const LotSummary lot = LotOf(units);
  for (size_t place = 0; place < 4; ++place) {
    SCOPED_TRACE(place);
    std::vector<double> nits;
    std::vector<double> jnd;
    for (const Unit& unit : units) {
      nits.push_back(unit.nits[2][place]);
      jnd.push_back(unit.jnd[2][place]);
    }
    jnd.erase(std::remove_if(jnd.begin(), jnd.end(), [](double each) { return std::isnan(each); }), jnd.end());
    const auto mean_of = [](const std::vector<double>& values) {
      return std::accumulate(values.begin(), values.end(), 0.0L) / static_cast<long double>(values.size());
    };
    const auto squares_around = [](const std::vector<double>& values, long double centre) {
      return std::accumulate(values.begin(), values.end(), 0.0L,
                             [&](long double sum, double each) { return sum + (each - centre) * (each - centre); });
    };
    const LevelReport report = ReportOn(lot, 2, place, {});
    EXPECT_EQ(report.nits.units, nits.size());
    EXPECT_EQ(report.jnd.units, jnd.size());
    for (const auto& [figures, values] : {std::pair(&report.nits, &nits), {&report.jnd, &jnd}}) {
      const auto mean = static_cast<double>(mean_of(*values));
      EXPECT_DOUBLE_EQ(figures->mean, mean);
      const auto variance = squares_around(*values, mean_of(*values)) / static_cast<long double>(values->size() - 1);
      EXPECT_NEAR(figures->deviation, std::sqrt(static_cast<double>(variance)), 1e-12 * figures->deviation);
    }
    const auto around_mean_curve = squares_around(jnd, RoughJndIndexOfNits(report.nits.mean).value());
    EXPECT_NEAR(report.mean_curve_rms,
                std::sqrt(static_cast<double>(around_mean_curve / static_cast<long double>(jnd.size()))), 1e-9);
    std::sort(nits.begin(), nits.end());
    EXPECT_EQ(report.nits.least, nits.front());
    EXPECT_EQ(report.nits.greatest, nits.back());
    for (size_t i = 0; i < kShares.size(); ++i) {
      const double exact = nits[static_cast<size_t>(std::ceil(kShares[i] * 999.0)) - 1];
      EXPECT_NEAR(report.nits.percentiles[i], exact, exact * Sketch::kError) << kShares[i];
      EXPECT_EQ(Shortest(report.jnd.percentiles[i]),
                Shortest(RoughJndIndexOfNits(report.nits.percentiles[i]).value_or(kNan)));
    }
  }
}

TEST(Lot, WithOneUnitHasNoScatterAndItsOwnFigures) {
  const LotSummary lot = LotOf({UnitWith("one", {0.0, 0.04, 100.1, 5000.0})});
  for (size_t place = 0; place < 4; ++place) {
    const LevelReport report = ReportOn(lot, 0, place, {});
    const double own = std::array{0.0, 0.04, 100.1, 5000.0}[place];
    EXPECT_EQ(report.nits.mean, own);
    EXPECT_EQ(report.nits.percentiles, (std::array{own, own, own, own, own}));
    EXPECT_TRUE(std::isnan(report.nits.deviation));
    EXPECT_EQ(report.jnd.units, own == 100.1 ? 1U : 0U);
    EXPECT_EQ(std::isnan(report.mean_curve_rms), own != 100.1);
  }
}

TEST(Lot, KeepsTheExtremeUnitsByLuminanceAndName) {
  std::vector<Unit> units;
  for (size_t i = 0; i < 100; ++i) {
    units.push_back(
        UnitWith(std::string(1, static_cast<char>('A' + i % 50)), {std::floor(static_cast<double>(i) / 10.0)}));
  }
  const LotSummary lot = LotOf(units);
  const auto listed = [](const Extremes& extremes) {
    std::string list;
    for (const auto& [nits, unit] : extremes.All()) {
      list += unit + Shortest(nits) + " ";
    }
    return list;
  };
  const LevelFigures& level = lot.tables[0][0];
  EXPECT_EQ(listed(level.darkest),
            "A0 B0 C0 D0 E0 F0 G0 H0 I0 J0 K1 L1 M1 N1 O1 P1 Q1 R1 S1 T1 U2 V2 W2 X2 Y2 Z2 [2 \\2 ]2 ^2 _3 `3 ");
  EXPECT_EQ(listed(level.brightest),
            "i9 j9 k9 l9 m9 n9 o9 p9 q9 r9 _8 `8 a8 b8 c8 d8 e8 f8 g8 h8 U7 V7 W7 X7 Y7 Z7 [7 \\7 ]7 ^7 K6 L6 ");
}

// Outliers

/// 100 units of 1 to 1.99 nits and a hundred times that. With a few others, the robust deviation is 1.4826 * 0.25.
std::vector<Unit> EvenUnits() {
  std::vector<Unit> units;
  for (size_t i = 0; i < 100; ++i) {
    const double nits = 1.0 + static_cast<double>(i) / 100.0;
    units.push_back(UnitWith("u" + std::to_string(i), {nits, 100.0 * nits}));
  }
  return units;
}

std::string Told(const Outliers& outliers) {
  std::string told;
  for (const Outlier& each : outliers.units) {
    told += each.unit + " " + std::to_string(each.table) + "/" + std::to_string(each.place) + " " +
            std::to_string(std::lround(10.0 * each.score)) + "; ";
  }
  return told + (outliers.complete ? "" : "and more");
}

TEST(Outliers, AreTheUnitsBeyondTheThresholdWithTheirWorstLevel) {
  auto units = EvenUnits();
  units.push_back(UnitWith("dark", {1.5, 149.0}));
  units.back().nits[3] = {0.1, 1.0};
  units.push_back(UnitWith("bright", {9.0, 149.0}));
  units.back().nits[1][0] = 12.0;
  units.push_back(UnitWith("near", {3.2, 149.0}));
  const LotSummary lot = LotOf(units);
  EXPECT_EQ(Told(OutliersOf(lot, 5.0)), "bright 1/0 283; ");
  EXPECT_EQ(Told(OutliersOf(lot, 4.0)), "bright 1/0 283; near 0/0 46; ");
  EXPECT_EQ(Told(OutliersOf(lot, 3.6)), "bright 1/0 283; near 0/0 46; dark 3/1 -40; ");
}

TEST(Outliers, OfALevelWithoutScatterAreMeasuredByWhatTheSketchResolves) {
  std::vector<Unit> units(50, UnitWith("same", {0.0, 100.0}));
  units.push_back(UnitWith("lit", {0.5, 100.0}));
  units.push_back(UnitWith("hair", {0.0, 100.1}));
  units.push_back(UnitWith("percent", {0.0, 101.0}));
  EXPECT_EQ(Told(OutliersOf(LotOf(units), 5.0)), "percent 0/1 403; ") << "a black level has no scale";
}

TEST(Outliers, MayBeMoreThanALotRemembers) {
  auto units = EvenUnits();
  for (const size_t out : {31U, 1U}) {
    for (size_t i = 0; i < out; ++i) {
      units.push_back(UnitWith("out" + std::to_string(units.size()), {50.0, 149.0}));
    }
    const Outliers outliers = OutliersOf(LotOf(units), 5.0);
    EXPECT_EQ(outliers.units.size(), units.size() - 100);
    EXPECT_EQ(outliers.complete, out == 31);
  }
}

// Limits

TEST(Limits, AreLinesBetweenTheLevelsOfTheirTables) {
  const TemporaryFolder folder;
  WriteFile("limits.csv",
            "mode;coverage;level;lower;upper\nstandard;100;10;1,5;9\nstandard;100;20;2,5;9\nhbm;10;4294967295;7;8\n"
            "hbm;10;0;5;8\n");
  const Limits lower("limits.csv", "lower");
  constexpr size_t kStandard10 = 0;
  constexpr size_t kStandard100 = 1;
  constexpr size_t kHbm10 = 2;
  EXPECT_EQ(lower.At(kStandard100, 10), 1.5);
  EXPECT_EQ(lower.At(kStandard100, 12), 1.7);
  EXPECT_EQ(lower.At(kStandard100, 20), 2.5);
  EXPECT_EQ(lower.At(kStandard100, 9), std::nullopt);
  EXPECT_EQ(lower.At(kStandard100, 21), std::nullopt);
  EXPECT_EQ(lower.At(kStandard10, 15), std::nullopt);
  EXPECT_NEAR(lower.At(kHbm10, 2147483648U).value(), 6.0, 1e-9);
  WriteFile("all.csv", "level,upper\n10,3\n");
  for (size_t table = 0; table < kMeasuredTables.size(); ++table) {
    EXPECT_EQ(Limits("all.csv", "upper").At(table, 10), 3.0);
  }
}

TEST(Limits, TellWhatIsWrongInTheirFile) {
  const TemporaryFolder folder;
  struct Case {
    const char* text;
    const char* told;
  };
  for (const auto& [text, told] : {
           Case{"level,upper\n10,3\n", "lower"},
           {"", "limits.csv"},
           {"level,lower\nx,3\n", "limits.csv:2: found \"x\", expected a level"},
           {"level,lower\n-1,3\n", "limits.csv:2: found \"-1\", expected a level"},
           {"level,lower\n1,3\n1,4\n", "limits.csv:3: found \"1\", expected each level once for each table"},
           {"level,lower\n1,-3\n", "limits.csv:2: found \"-3\", expected a luminance in nits"},
           {"level,lower\n1,\n", "limits.csv:2: found \"\", expected a luminance in nits"},
           {"level,lower,coverage\n1,3,55\n", "found \"55\", expected a coverage of 10 or 100"},
           {"level,lower,mode\n1,3,sdr\n", "found \"sdr\", expected the mode standard or hbm"},
       }) {
    WriteFile("limits.csv", text);
    const std::string failure = FailureOf([] { Limits("limits.csv", "lower"); });
    EXPECT_NE(failure.find(told), std::string::npos) << text << "\n" << failure;
  }
  EXPECT_NE(FailureOf([] { Limits("missing.csv", "lower"); }), "");
}

TEST(Capability, IsTheRoomBetweenMeanAndLimitsInDeviations) {
  struct Case {
    std::optional<double> lower;
    std::optional<double> upper;
    double deviation;
    std::optional<double> cp;
    std::optional<double> cpk;
  };
  for (const auto& [lower, upper, deviation, cp, cpk] : {
           Case{88.0, 118.0, 2.0, 2.5, 2.0},
           {82.0, 112.0, 2.0, 2.5, 2.0},
           {{}, 112.0, 2.0, {}, 2.0},
           {94.0, {}, 2.0, {}, 1.0},
           {101.0, 107.0, 1.0, 1.0, -1.0 / 3.0},
           {{}, {}, 2.0, {}, {}},
           {88.0, 118.0, 0.0, {}, {}},
           {88.0, 118.0, kNan, {}, {}},
       }) {
    const Capability capability = CapabilityOf(100.0, deviation, lower, upper);
    EXPECT_EQ(capability.cp, cp);
    EXPECT_EQ(capability.cpk, cpk);
  }
}

// Partial results from outside

TEST(PartialResult, OfALotWithoutUnitsReadsBack) {
  LotSummary lot(ShapeWith(2));
  lot.rejected.Add("a.xml", "does not load");
  LotSummary read = Reread(lot);
  ExpectSame(read, lot);
  read.Merge(LotOf(EvenUnits()));
  EXPECT_EQ(read.units, 100U);
}

TEST(PartialResult, KeepsNamesOfAnyBytes) {
  const LotSummary lot = LotOf({UnitWith("a\x1b[31m\x01/\xc3\xa9.xml", {1.0}), UnitWith("latin\xe9.xml", {2.0})});
  const std::string line = JsonLine(PartialResultOf(lot));
  EXPECT_TRUE(std::all_of(line.begin(), line.end(), [](char c) { return c >= ' ' && c <= '~'; })) << line;
  const LotSummary read = ReadPartialResult(line, "x.json");
  const auto& darkest = read.tables[0][0].darkest.All();
  EXPECT_EQ(darkest[0].unit, "a\x1b[31m\x01/\xc3\xa9.xml");
  EXPECT_EQ(darkest[1].unit, "latin\xef\xbf\xbd.xml");
}

TEST(PartialResult, IsRefusedIfItIsNone) {
  struct Case {
    const char* place;  // JSON pointer,
    Json value;         // what it gets,
    const char* told;   // and a part of the message.
  };
  auto units = EvenUnits();
  const Json good = PartialResultOf(LotOf({units.begin(), units.begin() + 3}));
  const std::string table = "/tables/hbm_100";
  for (const auto& [place, value, told] : {
           Case{"/schema/name", "lot", "schema: expected version 1 of lot_partial"},
           {"/schema/version", 2, "schema: expected version 1"},
           {"/units", -1, "units: expected a whole number"},
           {"/units", 4, "sketch[0]: expected counts of 4 units"},
           {"/units", 2.5, "units: expected a whole number"},
           {"/units", nullptr, "units: expected a whole number"},
           {"/range/max_bl", 4294967296, "range.max_bl: expected a whole number from 0 to 4294967295"},
           {"/range", 1, "range: expected an object with \"minimum_bl\""},
           {"/rejected/count", "1", "rejected.count: expected a whole number"},
           {"/rejected/first", {{{"file", "a"}, {"reason", "b"}}}, "rejected: expected a count of at least"},
           {"/gamma", {"x"}, "gamma[0]: expected a number"},
           {"/gamma", Json::array({1e300}), "gamma[0]: expected a number of at most"},
           {"/gamma", std::vector<double>(1000, 1.5), "gamma: expected at most"},
           {"/linear_table", "x", "linear_table: expected an array"},
           {"/linear_table/1", -5, "linear_table[1]: expected a whole number"},
           {"/names", Json::array(), "expected names for these units"},
           {"/names/0", 7, "names[0]: expected a text"},
           {"/tables", {}, "tables: expected an object with \"standard_10\""},
           {"/levels/0", 256, "levels[0]: expected a whole number from 0 to 255"},
           {"/levels/1", 1, "levels: expected levels that rise"},
           {"/nits/sums", Json::array({1.0}), "nits.sums: expected an array of 2 values"},
           {"/nits/sums/0", 1.0, "nits.sums[0]: expected an array"},
           {"/nits/squares/1", -1.0, "nits.squares[1]: expected a number that is not negative"},
           {"/nits/least/0", nullptr, "nits.least[0]: expected a number"},
           {"/nits/least/0", 1e6, "nits.least[0]: expected at most the greatest luminance"},
           {"/nits/greatest/0", -1.0, "nits.greatest[0]: expected a number that is not negative"},
           {"/jnd/counts/0", 4, "jnd.counts[0]: expected a whole number from 0 to 3"},
           {"/sketch/0/0", Json::array({1, 2, 3}), "sketch[0][0]: expected an array of 2 values"},
           {"/sketch/0/0/1", 2, "sketch[0]"},
           {"/sketch/0/0/1", 0, "sketch[0][0]: expected a bucket above the one before, and its count above 0"},
           {"/sketch/0/1/0", 5, "sketch[0][1]: expected a bucket above the one before"},
           {"/sketch/0/2/0", 4192256, "sketch[0][2]: expected a bucket"},
           {"/sketch/0/0/0", 18446744073709551615U, "sketch[0][0][0]: expected a whole number"},
           {"/darkest/0", Json::array(), "darkest[0]: expected an array of 3 values"},
           {"/darkest/0/0/1", 3, "darkest[0][0][1]: expected a whole number from 0 to 2"},
           {"/brightest/1/0/0", -1.0, "brightest[1][0][0]: expected a number that is not negative"},
       }) {
    const Json::json_pointer whole{place};
    Json wrong = good;
    wrong[good.contains(whole) ? whole : Json::json_pointer(table + place)] = value;
    const std::string failure = FailureOf([&, &text = wrong] { ReadPartialResult(text.dump(), "p\n.json"); });
    EXPECT_EQ(failure.find("p\\x0a.json: "), 0U) << failure;
    EXPECT_NE(failure.find(told), std::string::npos) << place << "\n" << failure;
  }
  for (const char* const text : {"", "{", "[]", "null", "1e999", "<Calib_Data/>", "{\"schema\":{}}"}) {
    EXPECT_EQ(FailureOf([&] { ReadPartialResult(text, "p.json"); }).find("p.json: "), 0U) << text;
  }
  EXPECT_NE(FailureOf([&] { ReadPartialResult(Repeated("[", 1000000), "p.json"); }), "");
}

TEST(PartialResult, IsReadOrRefusedWhateverItsBytes) {
  std::mt19937 random(3);  // NOLINT(cert-msc51-cpp)
  auto units = EvenUnits();
  const std::string good = JsonLine(PartialResultOf(LotOf({units.begin(), units.begin() + 3})));
  const std::string bytes = "0123456789.,-eE[]{}\":nul \xff";
  size_t read = 0;
  for (int round = 0; round < (kSlowed ? 300 : 3000); ++round) {
    std::string text = good;
    for (size_t i = 0; i <= random() % 3; ++i) {
      text[random() % text.size()] = bytes[random() % bytes.size()];
    }
    const std::string failure = FailureOf([&] {
      LotSummary lot = ReadPartialResult(text, "p.json");
      ++read;
      for (size_t table = 0; table < kMeasuredTables.size(); ++table) {
        for (size_t place = 0; place < lot.tables[table].size(); ++place) {
          ReportOn(lot, table, place, {});
        }
      }
      OutliersOf(lot, 5.0);
      lot.Merge(LotSummary(lot.shape));
      Reread(lot);
    });
    EXPECT_TRUE(failure.empty() || failure.rfind("p.json: ", 0) == 0) << failure;
  }
  EXPECT_GT(read, 0U);
}

TEST(Lot, RefusesThePartsOfOthers) {
  const LotSummary lot = LotOf({UnitWith("a", {1.0, 2.0})});
  const auto told = [&](LotShape shape) {
    LotSummary merged = lot;
    std::string failure = FailureOf([&] { merged.Merge(LotSummary(std::move(shape))); });
    ExpectSame(merged, lot);
    return failure;
  };
  LotShape shape = lot.shape;
  shape.range.max_bl = 3;
  EXPECT_NE(told(shape).find("other backlight ranges"), std::string::npos);
  shape = lot.shape;
  shape.linear_levels = 4;
  EXPECT_NE(told(shape).find("other lengths of the linear tables"), std::string::npos);
  shape = lot.shape;
  shape.levels[3][1] = 3;
  EXPECT_NE(told(shape).find("other levels"), std::string::npos);
  EXPECT_EQ(told(lot.shape), "");
}

// Files

/// Reads calibration files in a folder of its own.
class LotFiles : public testing::Test {
 protected:
  static Calibration Panel(double factor) {
    Calibration calibration;
    for (Points* const table :
         {&calibration.standard_10, &calibration.standard_100, &calibration.hbm_10, &calibration.hbm_100}) {
      for (auto& point : *table) {
        point.second *= factor;
      }
    }
    return calibration;
  }

  LotShape Shape(const std::string& text, const std::vector<uint32_t>& levels = {}) {
    WriteFile("shape.xml", text);
    blnits::Panel panel = blnits::Panel::FromFile("shape.xml", &log_);
    LotShape shape = ShapeOf(&panel, levels);
    std::filesystem::remove("shape.xml");
    return shape;
  }

  /// The units of `inputs`, and the reasons of the others by their files.
  LotSummary Read(const std::vector<std::string>& inputs, std::vector<std::string>* order = nullptr) {
    LotSummary lot(Shape(Panel(1.0).Text()));
    UnitFiles files(inputs);
    ReadUnits(
        &files, lot.shape, &log_,
        [&](const Unit& unit) {
          lot.Add(unit);
          if (order != nullptr) {
            order->push_back(unit.name);
          }
        },
        [&](const std::string& file, const std::string& reason) { lot.rejected.Add(file, reason); });
    return lot;
  }

  TemporaryFolder folder_;
  CapturedLog log_;
};

TEST_F(LotFiles, ArePassedOnInTheirOrderWhicheverThreadReadsThem) {
  std::vector<std::string> inputs;
  for (int i = 0; i < 100; ++i) {
    inputs.push_back("u" + std::to_string(i));
    WriteFile(inputs.back(), Panel(1.0 + i % 7).Text() + Repeated("<!-- long -->\n", i % 5 == 0 ? 20000 : 0));
  }
  std::vector<std::string> order;
  EXPECT_EQ(Read(inputs, &order).units, 100U);
  EXPECT_EQ(order, inputs);
}

// Threads load at the same time, and each must tell the library's reason for its own file.
TEST_F(LotFiles, ThatAreBrokenAreRejectedWithTheirOwnReason) {
  const std::vector<std::string> absent = {"gamma", "max_bl", "linearized_bl"};
  std::vector<std::string> inputs;
  const std::string good = Panel(1.0).Text();
  for (int i = 0; i < 90; ++i) {
    const std::string name = "u" + std::to_string(i);
    inputs.push_back(name);
    std::string text = good;
    const std::string& name_in_file = absent[static_cast<size_t>(i) % absent.size()];
    for (size_t at = text.find(name_in_file); at != std::string::npos; at = text.find(name_in_file, at + 1)) {
      text.replace(at, 3, "xyz");
    }
    WriteFile(name, text);
  }
  const LotSummary lot = Read(inputs);
  EXPECT_EQ(lot.units, 0U);
  ASSERT_EQ(lot.rejected.first.size(), inputs.size());
  for (size_t i = 0; i < inputs.size(); ++i) {
    const std::string& reason = lot.rejected.first.at(inputs[i]);
    EXPECT_EQ(reason.find(inputs[i] + ":"), 0U) << reason;
    EXPECT_EQ(reason.substr(reason.rfind(": ")), ": failed to find " + absent[i % absent.size()]) << reason;
  }
}

TEST_F(LotFiles, ThatDoNotFitAreRejectedAndChangeNothing) {
  struct Case {
    const char* file;
    std::string text;
    const char* told;
  };
  const std::string good = Panel(1.0).Text();
  const auto with = [&](const std::string& from, const std::string& to) {
    std::string text = good;
    EXPECT_NE(text.find(from), std::string::npos);
    return text.replace(text.find(from), from.size(), to);
  };
  const std::vector<Case> cases = {
      {"range.xml", with("max_os_bl=\"400\"", "max_os_bl=\"401\""), "max_os_bl 401, expected the lot's minimum_bl 1"},
      {"minimum.xml", with("minimum_bl=\"1\"", "minimum_bl=\"2\""), "found minimum_bl 2"},
      {"linear.xml", with("<value>1023</value>", "<value>1022</value>"), "found 1023 linearized levels, expected"},
      {"negative.xml", with("<value>600</value>", "<value>-600</value>"), "found -600 nits at level 200"},
      {"nan.xml", with("<value>600</value>", "<value>nan</value>"), "level 200"},
      {"bright.xml", with("<value>600</value>", "<value>1e10</value>"),
       "standard, full screen: found 10000000000 nits"},
      {"gamma.xml", with("gamma=\"2.2\"", "gamma=\"inf\""), "found gamma inf"},
      {"pcc.xml", with("pcc_thresh=\"0.5\"", "pcc_thresh=\"nan\""), "pcc_thresh nan"},
      {"falling.xml", with("<value>1023</value></linearized_bl>", "<value>0</value></linearized_bl>"), "falling.xml"},
      {"binary.xml", std::string(100, '\0'), "binary.xml"},
      {"empty.xml", "", "empty.xml"},
  };
  std::filesystem::create_directory("lot");
  WriteFile("lot/good.xml", good);
  for (const Case& each : cases) {
    WriteFile(std::string("lot/") + each.file, each.text);
  }
  const LotSummary lot = Read({"lot"});
  EXPECT_EQ(lot.units, 1U);
  for (const Case& each : cases) {
    const auto rejected = lot.rejected.first.find(std::string("lot/") + each.file);
    if (rejected != lot.rejected.first.end()) {
      EXPECT_NE(rejected->second.find(each.told), std::string::npos) << rejected->second;
    } else {
      ADD_FAILURE() << each.file << " counts";
    }
  }
  LotSummary expected(lot.shape);
  expected.Add(ReadUnit("lot/good.xml", lot.shape, &log_));
  expected.rejected = lot.rejected;
  ExpectSame(lot, expected);
}

TEST_F(LotFiles, AreFoundInFoldersAndFoldersInThem) {
  for (const char* const folder : {"lot/a/b", "lot/c.xml", "lot/empty"}) {
    std::filesystem::create_directories(folder);
  }
  for (const char* const file : {"lot/1.xml", "lot/a/2.xml", "lot/a/b/3.xml", "lot/c.xml/4.xml", "lot/5.XML",
                                 "lot/6.xml~", "lot/a\x1b[2J\n.xml", "given"}) {
    WriteFile(file, Panel(1.0).Text());
  }
  std::filesystem::create_directory_symlink(".", "lot/loop");
  std::filesystem::create_symlink("1.xml", "lot/link.xml");
  std::filesystem::create_symlink("nowhere", "lot/dangling.xml");
  ASSERT_EQ(mkfifo("lot/pipe.xml", 0600), 0);
  size_t count = 0;
  const auto paths = FirstPaths(UnitFiles({"lot", "given", "missing"}), 100, &count);
  EXPECT_EQ(paths, (std::vector<std::string>{"given", "lot/1.xml", "lot/a\x1b[2J\n.xml", "lot/a/2.xml", "lot/a/b/3.xml",
                                             "lot/c.xml/4.xml", "lot/dangling.xml", "lot/link.xml", "lot/pipe.xml",
                                             "missing"}));
  EXPECT_EQ(count, paths.size());
  EXPECT_EQ(FirstPaths(UnitFiles({"given", "lot"}), 2, &count), (std::vector<std::string>{"given", "lot/1.xml"}));
  const LotSummary lot = Read({"lot", "given", "missing"});
  EXPECT_EQ(lot.units, 7U);
  EXPECT_EQ(lot.rejected.count, 3U);
  EXPECT_TRUE(Read({"lot/empty"}).rejected.first.empty());
}

// The order of a folder is the file system's, so some folders come after the unreadable one in any case.
TEST_F(LotFiles, OfFoldersAfterOneThatCannotBeReadAreFound) {
  constexpr int kFolders = 20;
  for (int i = 0; i < kFolders; ++i) {
    const std::string folder = "lot/" + std::to_string(i);
    std::filesystem::create_directories(folder);
    WriteFile(folder + "/unit.xml", Panel(1.0).Text());
  }
  std::filesystem::permissions("lot/7", std::filesystem::perms::none);
  std::filesystem::permissions(".", std::filesystem::perms(0755));
  const uid_t user = geteuid();
  constexpr uid_t kNobody = 65534;
  if (user == 0 && seteuid(kNobody) != 0) {  // The superuser reads every folder.
    GTEST_SKIP() << "this machine has no other user";
  }
  size_t count = 0;
  const auto paths = FirstPaths(UnitFiles({"lot"}), 100, &count);
  ASSERT_EQ(seteuid(user), 0);
  std::filesystem::permissions("lot/7", std::filesystem::perms::owner_all);
  EXPECT_EQ(count, kFolders);
  EXPECT_TRUE(std::binary_search(paths.begin(), paths.end(), "lot/7"));
}

TEST_F(LotFiles, EndWithWhatTheCallerThrows) {
  std::vector<std::string> inputs(500, "unit.xml");
  WriteFile("unit.xml", Panel(1.0).Text());
  const LotShape shape = Shape(Panel(1.0).Text());
  UnitFiles files(inputs);
  int counted = 0;
  EXPECT_EQ(FailureOf([&] {
              ReadUnits(
                  &files, shape, &log_, [&](const Unit&) { throw Failure("stop" + std::to_string(++counted)); },
                  [](const std::string&, const std::string&) {});
            }),
            "stop1");
}

TEST_F(LotFiles, HaveTheLevelsOfTheirTablesUnlessOthersAreGiven) {
  Calibration calibration = Panel(1.0);
  calibration.standard_10 = {{200, 1.0}, {3, 1.0}, {200, 2.0}, {401, 3.0}, {400, 3.0}};
  calibration.standard_100.clear();
  calibration.hbm_10.clear();
  for (uint32_t level = 0; level <= 300; ++level) {
    calibration.hbm_10.emplace_back(level, level);
  }
  LotShape shape = Shape(calibration.Text());
  EXPECT_EQ(shape.linear_levels, 1024U);
  EXPECT_EQ(shape.levels[0], (std::vector<uint32_t>{3, 200, 400}));
  EXPECT_TRUE(shape.levels[1].empty());
  ASSERT_EQ(shape.levels[2].size(), 256U);
  EXPECT_EQ(shape.levels[2][0], 0U);
  EXPECT_EQ(shape.levels[2][17], 20U);
  EXPECT_EQ(shape.levels[2][255], 300U);
  shape = Shape(calibration.Text(), {400, 0});
  EXPECT_EQ(shape.levels, (ForEachTable<std::vector<uint32_t>>{{{0, 400}, {0, 400}, {0, 400}, {0, 400}}}));
  EXPECT_NE(FailureOf([&] { Shape(calibration.Text(), {401}); }).find("expected levels up to max_os_bl, 400"),
            std::string::npos);
}

TEST_F(LotFiles, HaveAMeanThatIsACalibrationFile) {
  Calibration first = Panel(1.0);
  Calibration second = Panel(1.5);
  first.linear = {{0, 0}, {500, 400}, {1023, 1000}};
  second.linear = {{0, 0}, {500, 401}, {1023, 1001}};
  second.attributes = R"(gamma="2.4" minimum_bl="1" max_bl="1023" max_os_bl="400" pcc_thresh="1")";
  WriteFile("1.xml", first.Text());
  WriteFile("2.xml", second.Text());
  const LotSummary lot = Read({"1.xml", "2.xml"});
  WriteFile("mean.xml", MeanCalibrationOf(lot));
  auto mean = blnits::Panel::FromFile("mean.xml", &log_);
  EXPECT_DOUBLE_EQ(mean.Get(zarn::format::kGamma), 2.3);
  EXPECT_DOUBLE_EQ(mean.Get(zarn::format::kPccThresh), 0.75);
  EXPECT_EQ(mean.Get(zarn::format::kMaxOsBl), 400U);
  EXPECT_EQ(mean.ToNits(100, 100, false), 250.0);
  EXPECT_EQ(mean.ToNits(200, 10, true), 200.0);
  const auto read_mean = ReadUnit("mean.xml", lot.shape, &log_);
  for (const size_t level : {0U, 250U, 500U, 700U, 1023U}) {
    const double exact = static_cast<double>(lot.panel_levels[level]) / 2.0;
    EXPECT_EQ(read_mean.panel_levels[level], static_cast<uint32_t>(std::round(exact))) << level;
  }
}

}  // namespace
