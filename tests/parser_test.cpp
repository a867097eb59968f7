#include <sys/stat.h>

#include <filesystem>

#include "client.h"

namespace {

using namespace zarn;

class Parser : public testing::Test {
 protected:
  /// A parser of the file "x", rewritten with this text.
  std::unique_ptr<BackLightNitsIntf> Of(const std::string& text) {
    WriteFile(FileName("x"), text);
    auto parser = GetBackLightNitsFactoryIntf()->CreateBackLightNitsParser("x");
    EXPECT_EQ(log_.With(""), " | I parser::BackLightNitsParserImp: file_name " + FileName("x"));
    return parser;
  }

  TemporaryFolder folder_;
  LogLines log_;
};

std::string Replaced(std::string text, const std::string& what, const std::string& with) {
  const size_t at = text.find(what);
  EXPECT_NE(at, std::string::npos) << what;
  return text.replace(at, what.size(), with);
}

TEST_F(Parser, SaysWhatIsWrongInAFile) {
  const std::string full = "ParseFullScreenNitsTable";
  struct Case {
    const char* what;
    const char* with;
    std::string step;  // that fails
    std::string line;
  };
  for (const Case& each : {
           Case{"gamma", "Gamma", "ParseGamma", "ParseGamma: failed to find gamma"},
           Case{"minimum_bl", "min", "ParseBlRange", "ParseBlRange: failed to find minimum_bl"},
           Case{"max_bl", "max", "ParseBlRange", "ParseBlRange: failed to find max_bl"},
           Case{"<linearized_bl>", "<linearized_bl>0<value> </value>", "ParseLinearTable",
                "ParseLinearTable: linear backlight value invalid cnt 0"},
           Case{">1023<", "><!-- first -->1<", "ParseLinearTable",
                "ParseLinearTable: linear backlight value invalid cnt 1"},
           Case{"<panel_bl>", "<panel_bl><b>1</b><b><i>2</i></b>", "ParseLinearTable",
                "ParseLinearTable: panel backlight value invalid cnt 1"},
           Case{"<panel_bl>", "<panel_bl><b>1</b>", "ParseLinearTable",
                "ParseLinearTable: invalid cfg panel bl size 3 linear bl size 2"},
           Case{"<measurement_data>", "<measurement_data/><measurement_data>", full,
                full + ": failed to find standard"},
           Case{"<standard>", "<standard/><standard>", full, full + ": failed to find nits_100"},
           Case{"<nits_100>", "<nits_100/><nits_100>", full,
                "BackLightsToNitsTableParse: failed to find bl_value node"},
           Case{"<value>100<", "<value><", full, "BackLightsToNitsTableParse: backlight value invalid cnt 0"},
           Case{"<value>600<", "<value><", full, "BackLightsToNitsTableParse: nits value invalid cnt 1"},
           Case{"<nits_value>", "<nits_value/><nits_value>", full,
                "BackLightsToNitsTableParse: invalid cfg nits size 0 bl size 2"},
           Case{"<nits_10>", "<nits_10><bl_value/></nits_10><nits_10>", "ParseOneTenthScreenNitsTable",
                "BackLightsToNitsTableParse: failed to find nits_value node"},
           Case{"<hbm>", "<hbm/><hbm>", "ParseHdrFullScreenNitsTable",
                "ParseHdrFullScreenNitsTable: failed to find nits_100"},
       }) {
    SCOPED_TRACE(std::string(each.what) + " -> " + each.with);
    const auto parser = Of(Replaced(Calibration().Text(), each.what, each.with));
    EXPECT_EQ(log_.With(parser->Init()),
              "-22 | E parser::" + each.line + " | E parser::Init: " + each.step + ": ret -22");
    EXPECT_EQ(log_.With(parser->GetParameter(kBLRange, nullptr)),
              "-22 | E parser::GetParameter: Implementation not initialized");
  }
  // Missing altogether: the file ends before it.
  for (const auto& [last, end, line] :
       {std::tuple{"<linearized", "", "ParseLinearTable: failed to find linearized_bl"},
        std::tuple{"<panel_bl", "", "ParseLinearTable: failed to find panel_bl"},
        std::tuple{"<measurement", "", "ParseFullScreenNitsTable: failed to find measurement_data"},
        std::tuple{"<nits_10>", "</standard></measurement_data>",
                   "ParseOneTenthScreenNitsTable: failed to find nits_10"},
        std::tuple{"<hbm", "</measurement_data>", "ParseHdrFullScreenNitsTable: failed to find hbm"}}) {
    const std::string text = Calibration().Text();
    const auto parser = Of(text.substr(0, text.find(last)) + end + "</Calib_Data>");
    const std::string told = log_.With(parser->Init());
    EXPECT_EQ(told.substr(0, told.rfind(" | ")), std::string("-22 | E parser::") + line);
  }
}

TEST_F(Parser, TellsAFileThatCannotBeLoadedFromOneThatIsWrong) {
  const std::string missing =
      "-2 | W parser::ParseTopNode: file not found backlight_calib_x.xml | W parser::Init: ParseTopNode: ret -2";
  for (const char* text : {"<Calib_Data>", "", "\xff"}) {
    EXPECT_EQ(log_.With(Of(text)->Init()), missing) << text;
  }
  const auto gone = Of("");
  std::filesystem::remove(FileName("x"));
  EXPECT_EQ(log_.With(gone->Init()), missing);
  ASSERT_EQ(mkfifo(FileName("x").c_str(), 0600), 0);
  EXPECT_EQ(log_.With(gone->Init()), missing) << "a FIFO without a writer, which must not be waited for";
  std::filesystem::remove(FileName("x"));

  EXPECT_EQ(log_.With(Of("<!-- no element -->")->Init()),
            "-22 | E parser::ParseTopNode: invalid group ptr (nil)K group name NULL"
            " | E parser::Init: ParseTopNode: ret -22");
  const std::string other = log_.With(Of("<calib_data/>")->Init());
  EXPECT_EQ(other.find("-22 | E parser::ParseTopNode: invalid group ptr 0x"), 0U) << other;
  EXPECT_NE(other.find("K group name calib_data | "), std::string::npos) << other;
}

TEST_F(Parser, ReadsNumbersAsTheyStandAndIgnoresWhatItDoesNotKnow) {
  Calibration calibration;
  calibration.attributes = R"(gamma="x" minimum_bl="3" max_bl="4294967295")";
  calibration.linear = {{1, 2}};
  calibration.hbm_10 = {};
  std::string text = Replaced(calibration.Text(), "<linearized_bl><value>1</value>",
                              "<other/>text<linearized_bl><a> 12 </a><!-- no value --><b>12abc</b><c>abc</c><d>-1</d>"
                              "<e><![CDATA[7]]></e>");
  text = Replaced(text, "<panel_bl><value>2</value>",
                  "<panel_bl><v>5</v><v>4</v><v>3</v><v>2</v><v>1</v></panel_bl><panel_bl>");
  text = Replaced(text, "</measurement_data>", "</measurement_data><measurement_data><standard/></measurement_data>");
  text = Replaced(text, "<value>600</value>", "<value>-0.25e1 nits</value>");
  const auto parser = Of(text);
  EXPECT_EQ(log_.With(parser->Init()),
            "0 | I parser::ParseBlRange: failed to find max_os_bl"
            " | W parser::ParsePccThresh: failed to find pcc_thresh");
  Holding<BLLinearTable> linear;
  Holding<BackLightToNitsTable> full;
  Holding<BackLightToNitsTable> empty;
  Holding<BLRange> range;
  Holding<BLPccThresh> threshold;
  Holding<BLGamma> gamma({0, 1.0});
  EXPECT_EQ(parser->GetParameter(kBLLinearTable, &linear.payload), 0);
  EXPECT_EQ(parser->GetParameter(kBLNitsMapping100Percent, &full.payload), 0);
  EXPECT_EQ(parser->GetParameter(kBLHdrNitsMapping10Percent, &empty.payload), 0);
  EXPECT_EQ(parser->GetParameter(kBLRange, &range.payload), 0);
  EXPECT_EQ(parser->GetParameter(kBLPccThresh, &threshold.payload), 0);
  EXPECT_EQ(parser->GetParameter(kBLGamma, &gamma.payload), 0);
  EXPECT_EQ(linear->entries, (Levels{{12, 5}, {12, 4}, {0, 3}, {4294967295U, 2}, {7, 1}}));
  EXPECT_EQ(full->points.at(1).nits, -2.5);
  EXPECT_TRUE(empty->points.empty() && empty->percentage == 10);
  EXPECT_TRUE(range->minimum_bl == 3 && range->max_bl == 4294967295U && range->max_os_bl == 0);
  EXPECT_EQ(threshold->pcc_thresh, 1.0);
  EXPECT_EQ(gamma->gamma, 0.0);
}

TEST_F(Parser, ServesEachParameterUnderItsOwnIdentifier) {
  const auto parser = Of(Calibration().Text());
  GenericPayload empty;
  EXPECT_EQ(log_.With(parser->SetParameter(kBLGamma, empty)),
            "-22 | E parser::SetParameter: Implementation not initialized");
  EXPECT_EQ(log_.With(parser->ProcessOps(kBLToNits, empty, nullptr)),
            "-22 | E parser::ProcessOps: Implementation not initialized");
  ASSERT_EQ(parser->Init(), 0);
  EXPECT_EQ(log_.With(parser->SetParameter(kBLGamma, empty)), "-95");
  EXPECT_EQ(log_.With(parser->ProcessOps(kBLToNits, empty, nullptr)), "-95");
  EXPECT_EQ(log_.With(parser->GetParameter(kBLDimmingLuts, nullptr)),
            "-22 | E parser::GetParameter: output parameter is invalid");
  EXPECT_EQ(log_.With(parser->GetParameter(kBLDimmingStatus, &empty)),
            "-95 | E parser::GetParameter: getparameter not supported 8");

  Holding<BLDimmingStatus> other;  // smaller than all records that the getters want
  for (const auto& [param, getter] : {std::pair{kBLGamma, "GetBlGamma"},
                                      {kBLRange, "GetBlRange"},
                                      {kBLLinearTable, "GetBlLinearTable"},
                                      {kBLNitsMapping10Percent, "GetBlNitsMapping10Percent"},
                                      {kBLNitsMapping100Percent, "GetBlNitsMapping100Percent"},
                                      {kBLHdrNitsMapping10Percent, "GetBlHdrNitsMapping10Percent"},
                                      {kBLHdrNitsMapping100Percent, "GetBlHdrNitsMapping100Percent"},
                                      {kBLPccThresh, "GetPccThresh"}}) {
    EXPECT_EQ(log_.With(parser->GetParameter(param, &other.payload)),
              std::string("-22 | E parser::") + getter + ": get payload failed");
  }
  Holding<BLRange> two;
  Poke(&two.payload, offsetof(PayloadLayout, count), uint32_t{2});
  EXPECT_EQ(parser->GetParameter(kBLRange, &two.payload), -22);
  EXPECT_EQ(two->max_bl, 0U);

  for (const auto& [param, percentage, nits] :
       {std::tuple{kBLNitsMapping10Percent, 10U, 50.0}, std::tuple{kBLNitsMapping100Percent, 100U, 200.0},
        std::tuple{kBLHdrNitsMapping10Percent, 10U, 60.0}, std::tuple{kBLHdrNitsMapping100Percent, 100U, 210.0}}) {
    Holding<BackLightToNitsTable> table({1, 0, {{9, 9.0}}});
    EXPECT_EQ(parser->GetParameter(param, &table.payload), 0);
    EXPECT_TRUE(table->size == 1 && table->percentage == percentage);
    ASSERT_EQ(table->points.size(), 3U) << "appended";
    EXPECT_TRUE(table->points[0].bl == 9 && table->points[1].bl == 100 && table->points[1].nits == nits);
  }
}

TEST_F(Parser, ForgetsOnDeinitAndReadsAnewOnInit) {
  const auto parser = Of(Calibration().Text());
  EXPECT_EQ(parser->Deinit(), 0);
  EXPECT_EQ(parser->Init(), 0);
  EXPECT_EQ(parser->Init(), 0);
  Holding<BackLightToNitsTable> table;
  EXPECT_EQ(parser->GetParameter(kBLNitsMapping10Percent, &table.payload), 0);
  EXPECT_EQ(table->points.size(), 2U) << "not twice";
  EXPECT_EQ(parser->Deinit(), 0);
  EXPECT_EQ(parser->GetParameter(kBLNitsMapping10Percent, &table.payload), -22);
  EXPECT_EQ(parser->Init(), 0);
  WriteFile(FileName("x"), "");
  EXPECT_EQ(parser->Init(), -2);
  EXPECT_EQ(parser->GetParameter(kBLNitsMapping10Percent, &table.payload), -22);
}

}  // namespace
