#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "client.h"
#include "log_lines.h"

namespace {

using namespace zarn;

class Parser : public testing::Test {
 protected:
  /// A parser of a file with this text; drops the line that tells the file's name.
  std::unique_ptr<BackLightNitsIntf> Of(const std::string& text) {
    panel_ = NewPanel(text);
    auto parser = GetBackLightNitsFactoryIntf()->CreateBackLightNitsParser(panel_);
    log_.Take();
    return parser;
  }

  TemporaryFolder folder_;
  LogLines log_;
  std::string panel_;
};

std::string Replaced(std::string text, const std::string& what, const std::string& with) {
  const size_t at = text.find(what);
  EXPECT_NE(at, std::string::npos) << what;
  return text.replace(at, what.size(), with);
}

TEST_F(Parser, SaysWhatIsMissingOrWrongInAFile) {
  struct Case {
    const char* what;
    const char* with;
    const char* step;  // that fails with -22
    Lines lines;       // before the step's own failure, without the class name
  };
  const std::string lists_100 = "<bl_value><value>100";
  const Case cases[] = {
      {"gamma=", "gama=", "ParseGamma", {"E ParseGamma: failed to find gamma"}},
      {"minimum_bl", "Minimum_bl", "ParseBlRange", {"E ParseBlRange: failed to find minimum_bl"}},
      {"max_bl", "maxbl", "ParseBlRange", {"E ParseBlRange: failed to find max_bl"}},
      {"<linearized_bl><value>0</value><value>1023</value></linearized_bl>",
       "",
       "ParseLinearTable",
       {"E ParseLinearTable: failed to find linearized_bl"}},
      {"<value>1023</value>",
       "<value><!-- first --> 1</value>",
       "ParseLinearTable",
       {"E ParseLinearTable: linear backlight value invalid cnt 1"}},
      {"<panel_bl>",
       "<panel_bl><b>1</b><b/>",
       "ParseLinearTable",
       {"E ParseLinearTable: panel backlight value invalid cnt 1"}},
      {"<panel_bl><value>0</value><value>1000</value></panel_bl>",
       "",
       "ParseLinearTable",
       {"E ParseLinearTable: failed to find panel_bl"}},
      {"<panel_bl>",
       "<panel_bl><b>1</b>",
       "ParseLinearTable",
       {"E ParseLinearTable: invalid cfg panel bl size 3 linear bl size 2"}},
      {"<measurement_data>\n<standard>",
       "<measurement_data/><measurement_data>\n<standard>",
       "ParseFullScreenNitsTable",
       {"E ParseFullScreenNitsTable: failed to find standard"}},
      {"<nits_100>\n<bl_value><value>100</value>",
       "<nits_100><x/>\n<bl_value><value><b>100</b></value>",
       "ParseFullScreenNitsTable",
       {"E BackLightsToNitsTableParse: backlight value invalid cnt 0"}},
      {"<value>600</value>",
       "<value></value>",
       "ParseFullScreenNitsTable",
       {"E BackLightsToNitsTableParse: nits value invalid cnt 1"}},
      {"<value>600</value>",
       "",
       "ParseFullScreenNitsTable",
       {"E BackLightsToNitsTableParse: invalid cfg nits size 1 bl size 2"}},
      {"<nits_100>\n<bl_value>",
       "<nits_100>\n<other/></nits_100><nits_100><bl_value>",
       "ParseFullScreenNitsTable",
       {"E BackLightsToNitsTableParse: failed to find bl_value node"}},
      {"<nits_value>",
       "<nits_value/><nits_value>",
       "ParseFullScreenNitsTable",
       {"E BackLightsToNitsTableParse: invalid cfg nits size 0 bl size 2"}},
      {"<nits_10>",
       "<other/><nits_10><bl_value/></nits_10><nits_10>",
       "ParseOneTenthScreenNitsTable",
       {"E BackLightsToNitsTableParse: failed to find nits_value node"}},
      {"<hbm>\n<nits_100>",
       "<hbm><other/></hbm><hbm>\n<nits_100>",
       "ParseHdrFullScreenNitsTable",
       {"E ParseHdrFullScreenNitsTable: failed to find nits_100"}},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(std::string(each.what) + " -> " + each.with);
    const auto parser = Of(Replaced(Calibration().Text(), each.what, each.with));
    EXPECT_EQ(parser->Init(), -22);
    Lines expected;
    for (const std::string& line : each.lines) {
      expected.push_back(line.substr(0, 2) + "BackLightNitsParserImp::" + line.substr(2));
    }
    expected.push_back("E BackLightNitsParserImp::Init: " + std::string(each.step) + ": ret -22");
    EXPECT_EQ(log_.Take(), expected);
    EXPECT_EQ(parser->GetParameter(kBLRange, nullptr), -22);
    EXPECT_EQ(log_.Take(), Lines{"E BackLightNitsParserImp::GetParameter: Implementation not initialized"});
  }
  // What stands last in its file, or is a whole group.
  const std::string text = Calibration().Text();
  for (const auto& [gone, line, step] : {
           std::tuple{"<measurement_data>", "ParseFullScreenNitsTable: failed to find measurement_data",
                      "ParseFullScreenNitsTable"},
           std::tuple{"<hbm>", "ParseHdrFullScreenNitsTable: failed to find hbm", "ParseHdrFullScreenNitsTable"},
       }) {
    const size_t start = text.find(gone);
    const std::string end_tag = "</" + std::string(gone).substr(1);
    const size_t end = text.find(end_tag) + end_tag.size();
    EXPECT_EQ(Of(text.substr(0, start) + text.substr(end))->Init(), -22);
    EXPECT_EQ(log_.Take(), (Lines{std::string("E BackLightNitsParserImp::") + line,
                                  "E BackLightNitsParserImp::Init: " + std::string(step) + ": ret -22"}));
  }
  const size_t last = text.rfind("<nits_10>");
  EXPECT_EQ(Of(text.substr(0, last) + "</hbm></measurement_data></Calib_Data>")->Init(), -22);
  EXPECT_EQ(log_.Take().at(0), "E BackLightNitsParserImp::ParseHdrOneTenthScreenNitsTable: failed to find nits_10");
}

TEST_F(Parser, TellsAFileThatCannotBeLoadedFromOneThatIsWrong) {
  const auto not_found = [this] {
    return Lines{"W BackLightNitsParserImp::ParseTopNode: file not found " + FileName(panel_),
                 "W BackLightNitsParserImp::Init: ParseTopNode: ret -2"};
  };
  for (const char* text : {"<Calib_Data>", "", "\xff"}) {
    EXPECT_EQ(Of(text)->Init(), -2) << text;
    EXPECT_EQ(log_.Take(), not_found());
  }
  const auto gone = Of("");
  std::filesystem::remove(FileName(panel_));
  EXPECT_EQ(gone->Init(), -2);
  EXPECT_EQ(log_.Take(), not_found());
  ASSERT_EQ(mkfifo(FileName(panel_).c_str(), 0600), 0);
  EXPECT_EQ(gone->Init(), -2) << "a FIFO without a writer, which must not be waited for";
  EXPECT_EQ(log_.Take(), not_found());

  EXPECT_EQ(Of("<calib_data/>")->Init(), -22);
  const Lines lines = log_.Take();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].find("E BackLightNitsParserImp::ParseTopNode: invalid group ptr 0x"), 0U) << lines[0];
  EXPECT_NE(lines[0].find("K group name calib_data"), std::string::npos) << lines[0];
  EXPECT_EQ(lines[1], "E BackLightNitsParserImp::Init: ParseTopNode: ret -22");
  EXPECT_EQ(Of("<!-- no element -->")->Init(), -22);
  EXPECT_NE(log_.Take().at(0).find("group name NULL"), std::string::npos);
}

TEST_F(Parser, ReadsNumbersAsTheyStandAndIgnoresWhatItDoesNotKnow) {
  Calibration calibration;
  calibration.linear = {{1, 2}};
  calibration.hbm_10 = {};
  std::string text = calibration.Text();
  text = Replaced(text, "<linearized_bl><value>1</value>",
                  "<other/>text<linearized_bl><a> 12 </a><!-- no value --><b>12abc</b><c>abc</c><d>-1</d>"
                  "<e><![CDATA[7]]></e>");
  text = Replaced(text, "<panel_bl><value>2</value>",
                  "<panel_bl><v>5</v><v>4</v><v>3</v><v>2</v><v>1</v></panel_bl><panel_bl>");
  text = Replaced(text, "</measurement_data>", "</measurement_data><measurement_data><standard/></measurement_data>");
  text = Replaced(text, "<value>600</value>", "<value>-0.25e1 nits</value>");
  const auto parser = Of(text);
  ASSERT_EQ(parser->Init(), 0);
  EXPECT_EQ(log_.Take(), Lines());

  Holding<BLLinearTable> linear;
  EXPECT_EQ(parser->GetParameter(kBLLinearTable, &linear.payload), 0);
  EXPECT_EQ(linear->entries,
            (std::vector<std::pair<uint32_t, uint32_t>>{{12, 5}, {12, 4}, {0, 3}, {4294967295U, 2}, {7, 1}}));
  Holding<BackLightToNitsTable> full;
  EXPECT_EQ(parser->GetParameter(kBLNitsMapping100Percent, &full.payload), 0);
  EXPECT_EQ(full->points.at(1).nits, -2.5);
  Holding<BackLightToNitsTable> empty;
  EXPECT_EQ(parser->GetParameter(kBLHdrNitsMapping10Percent, &empty.payload), 0);
  EXPECT_TRUE(empty->points.empty());
  EXPECT_EQ(empty->percentage, 10U);
}

TEST_F(Parser, DoesWithoutTwoAttributes) {
  Calibration calibration;
  calibration.attributes = R"(gamma="x" minimum_bl="3" max_bl="4294967295")";
  const auto parser = Of(calibration.Text());
  ASSERT_EQ(parser->Init(), 0);
  EXPECT_EQ(log_.Take(), (Lines{"I BackLightNitsParserImp::ParseBlRange: failed to find max_os_bl",
                                "W BackLightNitsParserImp::ParsePccThresh: failed to find pcc_thresh"}));
  Holding<BLRange> range;
  Holding<BLPccThresh> threshold;
  Holding<BLGamma> gamma;
  gamma->gamma = 1.0;
  EXPECT_EQ(parser->GetParameter(kBLRange, &range.payload), 0);
  EXPECT_EQ(parser->GetParameter(kBLPccThresh, &threshold.payload), 0);
  EXPECT_EQ(parser->GetParameter(kBLGamma, &gamma.payload), 0);
  EXPECT_EQ(range->minimum_bl, 3U);
  EXPECT_EQ(range->max_bl, 4294967295U);
  EXPECT_EQ(range->max_os_bl, 0U);
  EXPECT_EQ(threshold->pcc_thresh, 1.0);
  EXPECT_EQ(gamma->gamma, 0.0);
}

TEST_F(Parser, ServesEachTableUnderItsOwnIdentifierAndAppends) {
  const auto parser = Of(Calibration().Text());
  ASSERT_EQ(parser->Init(), 0);
  for (const auto& [param, percentage, nits] :
       {std::tuple{kBLNitsMapping10Percent, 10U, 50.0}, std::tuple{kBLNitsMapping100Percent, 100U, 200.0},
        std::tuple{kBLHdrNitsMapping10Percent, 10U, 60.0}, std::tuple{kBLHdrNitsMapping100Percent, 100U, 210.0}}) {
    Holding<BackLightToNitsTable> table;
    table->size = 1;
    table->points = {{9, 9.0}};
    ASSERT_EQ(parser->GetParameter(param, &table.payload), 0);
    EXPECT_EQ(table->percentage, percentage);
    EXPECT_EQ(table->size, 1U) << "never written";
    ASSERT_EQ(table->points.size(), 3U);
    EXPECT_EQ(table->points[0].bl, 9U);
    EXPECT_EQ(table->points[1].bl, 100U);
    EXPECT_EQ(table->points[1].nits, nits);
  }
}

TEST_F(Parser, RefusesInTheOrderStateOutputIdentifierPayload) {
  const auto parser = Of(Calibration().Text());
  GenericPayload empty;
  EXPECT_EQ(parser->GetParameter(kBLGamma, nullptr), -22);
  EXPECT_EQ(parser->SetParameter(kBLGamma, empty), -22);
  EXPECT_EQ(parser->ProcessOps(kBLToNits, empty, nullptr), -22);
  const std::string start = "E BackLightNitsParserImp::";
  EXPECT_EQ(log_.Take(), (Lines{start + "GetParameter: Implementation not initialized",
                                start + "SetParameter: Implementation not initialized",
                                start + "ProcessOps: Implementation not initialized"}));
  ASSERT_EQ(parser->Init(), 0);
  EXPECT_EQ(parser->SetParameter(kBLGamma, empty), -95);
  EXPECT_EQ(parser->ProcessOps(kBLToNits, empty, nullptr), -95);
  EXPECT_EQ(log_.Take(), Lines());
  EXPECT_EQ(parser->GetParameter(kBLDimmingLuts, nullptr), -22);
  EXPECT_EQ(parser->GetParameter(kBLDimmingStatus, &empty), -95);
  EXPECT_EQ(parser->GetParameter(BLNitsParams(-1), &empty), -95);
  EXPECT_EQ(log_.Take(), (Lines{start + "GetParameter: output parameter is invalid",
                                start + "GetParameter: getparameter not supported 8",
                                start + "GetParameter: getparameter not supported -1"}));

  const std::pair<BLNitsParams, const char*> getters[] = {
      {kBLGamma, "GetBlGamma"},
      {kBLRange, "GetBlRange"},
      {kBLLinearTable, "GetBlLinearTable"},
      {kBLNitsMapping10Percent, "GetBlNitsMapping10Percent"},
      {kBLNitsMapping100Percent, "GetBlNitsMapping100Percent"},
      {kBLHdrNitsMapping10Percent, "GetBlHdrNitsMapping10Percent"},
      {kBLHdrNitsMapping100Percent, "GetBlHdrNitsMapping100Percent"},
      {kBLPccThresh, "GetPccThresh"},
  };
  Holding<BLDimmingStatus> other;  // smaller than all of the getters' records
  for (const auto& [param, name] : getters) {
    EXPECT_EQ(parser->GetParameter(param, &other.payload), -22);
    EXPECT_EQ(log_.Take(), Lines{start + name + ": get payload failed"});
  }
  Holding<BLRange> two;
  Poke(&two.payload, offsetof(PayloadLayout, count), uint32_t{2});
  EXPECT_EQ(parser->GetParameter(kBLRange, &two.payload), -22);
  EXPECT_EQ(two->max_bl, 0U);
}

TEST_F(Parser, ForgetsOnDeinitAndReadsAnewOnInit) {
  const auto parser = Of(Calibration().Text());
  EXPECT_EQ(parser->Deinit(), 0);
  ASSERT_EQ(parser->Init(), 0);
  ASSERT_EQ(parser->Init(), 0);
  Holding<BackLightToNitsTable> table;
  EXPECT_EQ(parser->GetParameter(kBLNitsMapping10Percent, &table.payload), 0);
  EXPECT_EQ(table->points.size(), 2U) << "not twice";
  EXPECT_EQ(parser->Deinit(), 0);
  EXPECT_EQ(parser->GetParameter(kBLNitsMapping10Percent, &table.payload), -22);
  ASSERT_EQ(parser->Init(), 0);
  WriteFile(FileName(panel_), "");
  EXPECT_EQ(parser->Init(), -2);
  EXPECT_EQ(parser->GetParameter(kBLNitsMapping10Percent, &table.payload), -22);
}

}  // namespace
