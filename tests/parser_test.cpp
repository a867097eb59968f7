#include <array>
#include <filesystem>

#include "client.h"

namespace {

using namespace zarn;

class Parser : public testing::Test {
 protected:
  /// A parser of panel "x", whose file is rewritten with this text.
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
  const std::string text = Calibration().Text();
  const auto expect = [this](const std::string& file, const std::string& line) {
    const auto parser = Of(file);
    const std::string function = line.substr(0, line.find(':'));
    const std::string step = function == "BackLightsToNitsTableParse" ? "ParseFullScreenNitsTable" : function;
    EXPECT_EQ(log_.With(parser->Init()), "-22 | E parser::" + line + " | E parser::Init: " + step + ": ret -22");
    EXPECT_EQ(log_.With(parser->GetParameter(kBLRange, nullptr)),
              "-22 | E parser::GetParameter: Implementation not initialized");
  };
  for (const auto& [what, with, line] : std::vector<std::array<const char*, 3>>{
           {"gamma", "Gamma", "ParseGamma: failed to find gamma"},
           {"minimum_bl", "min", "ParseBlRange: failed to find minimum_bl"},
           {"max_bl", "max", "ParseBlRange: failed to find max_bl"},
           {"d_bl><value>0<", "d_bl>0<value> <", "ParseLinearTable: linear backlight value invalid cnt 0"},
           {">1023<", "><!-- first -->1<", "ParseLinearTable: linear backlight value invalid cnt 1"},
           {"l_bl>", "l_bl><b>1</b><b><i>2</i></b>", "ParseLinearTable: panel backlight value invalid cnt 1"},
           {"l_bl>", "l_bl><b>1</b>", "ParseLinearTable: invalid cfg panel bl size 3 linear bl size 2"},
           {"d_bl>", "d_bl><b>1</b>", "ParseLinearTable: invalid cfg panel bl size 2 linear bl size 3"},
           {"<m", "<measurement_data/><m", "ParseFullScreenNitsTable: failed to find standard"},
           {"<stan", "<standard/><stan", "ParseFullScreenNitsTable: failed to find nits_100"},
           {"<nits_100>", "<nits_100/><nits_100>", "BackLightsToNitsTableParse: failed to find bl_value node"},
           {"nits_value>", "other>", "BackLightsToNitsTableParse: failed to find nits_value node"},
           {">100<", "><", "BackLightsToNitsTableParse: backlight value invalid cnt 0"},
           {">600<", "><", "BackLightsToNitsTableParse: nits value invalid cnt 1"},
           {"<nits_v", "<nits_value/><nits_v", "BackLightsToNitsTableParse: invalid cfg nits size 0 bl size 2"},
           {"s_value>", "s_value><b>1</b>", "BackLightsToNitsTableParse: invalid cfg nits size 3 bl size 2"},
           {"<hbm>", "<hbm><nits_100><bl_value/><nits_value/></nits_100></hbm><hbm>",
            "ParseHdrOneTenthScreenNitsTable: failed to find nits_10"},
           {"<hbm>", "<hbm/><hbm>", "ParseHdrFullScreenNitsTable: failed to find nits_100"},
       }) {
    std::string file = Replaced(text, what, with);
    expect(std::string(what) == "nits_value>" ? Replaced(file, "</nits_value>", "</other>") : file, line);
  }
  // The element is missing and the file ends before it.
  for (const auto& [last, end, line] : std::vector<std::array<const char*, 3>>{
           {"<linearized", "", "ParseLinearTable: failed to find linearized_bl"},
           {"<panel_bl", "", "ParseLinearTable: failed to find panel_bl"},
           {"<measurement", "", "ParseFullScreenNitsTable: failed to find measurement_data"},
           {"<nits_10>", "</standard></measurement_data>", "ParseOneTenthScreenNitsTable: failed to find nits_10"},
           {"<hbm", "</measurement_data>", "ParseHdrFullScreenNitsTable: failed to find hbm"}}) {
    expect(text.substr(0, text.find(last)) + end + "</Calib_Data>", line);
  }
  // The parser reads a list completely before it looks for the next one.
  expect(Replaced(text.substr(0, text.find("<panel_bl")), ">1023<", "><") + "</Calib_Data>",
         "ParseLinearTable: linear backlight value invalid cnt 1");
  expect(Replaced(text.substr(0, text.find("<nits_v")), ">100<", "><") +
             "</nits_100></standard></measurement_data></Calib_Data>",
         "BackLightsToNitsTableParse: backlight value invalid cnt 0");
  EXPECT_EQ(log_.With(Of("<Calib_Data gamma='1' minimum_bl='1' max_bl='2'/>")->Init()),
            "-22 | I parser::ParseBlRange: failed to find max_os_bl"
            " | W parser::ParsePccThresh: failed to find pcc_thresh"
            " | E parser::ParseLinearTable: failed to find linearized_bl | E parser::Init: ParseLinearTable: ret -22");
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

  EXPECT_EQ(log_.With(Of("<!-- no element -->")->Init()),
            "-22 | E parser::ParseTopNode: invalid group ptr (nil)K group name NULL"
            " | E parser::Init: ParseTopNode: ret -22");
  for (const std::string name : {"calib_data", "Calib_Data2", "Calib_Dat"}) {
    const std::string other = log_.With(Of("<" + name + "/>")->Init());
    EXPECT_EQ(other.find("-22 | E parser::ParseTopNode: invalid group ptr 0x"), 0U) << other;
    EXPECT_NE(other.find("K group name " + name + " | "), std::string::npos) << other;
  }
}

TEST_F(Parser, ReadsNumbersAsTheyStandAndIgnoresWhatItDoesNotKnow) {
  Calibration calibration;
  calibration.attributes = R"(gamma="x" minimum_bl="3" max_bl="4294967295")";
  calibration.hbm_10 = {};
  std::string text = Replaced(calibration.Text(), "<linearized_bl><value>0</value>",
                              "<other/>text<linearized_bl><a> 12 </a><!-- no value --><b>12abc</b><c>-1</c>"
                              "<d><![CDATA[abc]]></d><e>010</e><f>1e3</f>");
  text = Replaced(text, "<panel_bl>",
                  "<panel_bl><v>7</v><v>6</v><v>5</v><v>4</v><v>3</v><v>2</v><v>1</v></panel_bl><panel_bl>");
  text = Replaced(text, "</measurement_data>", "</measurement_data><measurement_data><standard/></measurement_data>");
  const auto parser = Of(Replaced(text, "<value>600</value>", "<value>-0.25e1 nits</value>"));
  EXPECT_EQ(log_.With(parser->Init()),
            "0 | I parser::ParseBlRange: failed to find max_os_bl"
            " | W parser::ParsePccThresh: failed to find pcc_thresh");
  EXPECT_EQ(Got<BLLinearTable>(*parser, kBLLinearTable)->entries,
            (Levels{{12, 7}, {12, 6}, {4294967295U, 5}, {0, 4}, {10, 3}, {1, 2}, {1023, 1}}));
  EXPECT_EQ(Got<BackLightToNitsTable>(*parser, kBLNitsMapping100Percent)->points.at(1).nits, -2.5);
  const auto empty = Got<BackLightToNitsTable>(*parser, kBLHdrNitsMapping10Percent);
  EXPECT_TRUE(empty->points.empty() && empty->percentage == 10);
  const auto range = Got<BLRange>(*parser, kBLRange);
  EXPECT_TRUE(range->minimum_bl == 3 && range->max_bl == 4294967295U && range->max_os_bl == 0);
  EXPECT_EQ(Got<BLPccThresh>(*parser, kBLPccThresh)->pcc_thresh, 1.0);
  EXPECT_EQ(Got<BLGamma>(*parser, kBLGamma)->gamma, 0.0);
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

  Holding<BLDimmingStatus> other;  // smaller than the records of all getters
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

  Holding<BLLinearTable> linear({1, {{9, 9}}});
  EXPECT_EQ(parser->GetParameter(kBLLinearTable, &linear.payload), 0);
  EXPECT_EQ(linear->entries, (Levels{{9, 9}, {0, 0}, {1023, 1000}})) << "appended";
}

TEST_F(Parser, ForgetsOnDeinitAndReadsAnewOnInit) {
  const std::string text = Calibration().Text();
  const auto parser = Of(text);
  const auto expect_tables = [&](const char* when) {
    SCOPED_TRACE(when);
    EXPECT_EQ(parser->Init(), 0);
    EXPECT_EQ(Got<BLLinearTable>(*parser, kBLLinearTable)->entries.size(), 2U) << "not twice";
    for (const auto param :
         {kBLNitsMapping10Percent, kBLNitsMapping100Percent, kBLHdrNitsMapping10Percent, kBLHdrNitsMapping100Percent}) {
      EXPECT_EQ(Got<BackLightToNitsTable>(*parser, param)->points.size(), 2U) << "not twice: " << param;
    }
  };
  const auto expect_nothing = [&] {
    log_.With("");
    GenericPayload unread;
    EXPECT_EQ(log_.With(parser->GetParameter(kBLRange, &unread)),
              "-22 | E parser::GetParameter: Implementation not initialized");
  };
  expect_tables("first");
  expect_tables("again");
  EXPECT_EQ(parser->Deinit(), 0);
  expect_nothing();
  EXPECT_EQ(parser->Deinit(), 0);
  expect_tables("after Deinit");
  const size_t hbm_10 = text.rfind("<nits_10>");
  for (const auto& [wrong, result] : {std::pair{std::string(), -2},
                                      {Replaced(text, "gamma", "Gamma"), -22},
                                      {text.substr(0, hbm_10) + "</hbm></measurement_data></Calib_Data>", -22},
                                      {text.substr(0, hbm_10) + Replaced(text.substr(hbm_10), ">60<", "><"), -22}}) {
    WriteFile(FileName("x"), wrong);
    EXPECT_EQ(parser->Init(), result);
    expect_nothing();
    WriteFile(FileName("x"), text);
    expect_tables("after a failure");
  }
}

}  // namespace
