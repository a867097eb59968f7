// Compares the values that the tool reads from plain lists with those of the XML reader.
#include "calibration_source.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "client.h"

namespace {

using namespace blnits;

std::vector<Path> ListPaths() {
  std::vector<Path> paths = {{zarn::format::kLinearTable.first}, {zarn::format::kLinearTable.second}};
  for (const auto& table : zarn::format::kMeasuredTables) {
    for (const char* const list : {zarn::format::kPoints.first, zarn::format::kPoints.second}) {
      paths.push_back(PathOf(table));
      paths.back().push_back(list);
    }
  }
  return paths;
}

/// The line and text of each value of each list.
std::string ValuesIn(const CalibrationSource& source) {
  std::ostringstream values;
  for (const Path& path : ListPaths()) {
    values << path.back() << " at " << source.LineOf(path) << ":";
    for (const auto& [line, text] : source.Values(path)) {
      values << " " << line << "=" << (text == nullptr ? "(none)" : text);
    }
    values << "\n";
  }
  return values.str();
}

void ExpectTheSame(const std::string& file) {
  const CalibrationSource all(file);
  if (all.Load().fault == zarn::LoadFault::kNone) {
    EXPECT_EQ(ValuesIn(CalibrationSource(file, true)), ValuesIn(all)) << file;
  }
}

TEST(CalibrationSource, HasTheSameValuesWithoutTheXmlReader) {
  const TemporaryFolder folder;
  const std::string text = Calibration().Text();
  const std::string value = "<value>0</value>";
  ASSERT_NE(text.find(value), std::string::npos);
  for (const char* const other : {
           "<value>0</value>",
           "<value> 0</value>",
           "<value>0 </value>",
           "<value>\n0</value>",
           "<value>0\r\n</value>\r\n",
           "<value>&#48;</value>",
           "<value>0&amp;</value>",
           "<value a='>'>0</value>",
           "<value>0</value >",
           "<value/>",
           "<value></value>",
           "<value><b>0</b></value>",
           "<value>0<b/></value>",
           "<value><!-- 1 -->0</value>",
           "<!-- <value>1</value> -->\n<value>0</value>",
           "<value><![CDATA[</value>]]></value>",
           "<?p <bl_value><value>1</value>?><value>0</value>",
           "<v>0</v>",
           "<v>0</v><value>1</value>",
           "0<value>0</value>",
           "<value>0</value>0",
           "<value>0</value><bl_value><value>1</value></bl_value>",
       }) {
    std::string changed = text;
    changed.replace(changed.find(value), value.size(), other);
    WriteFile("changed.xml", changed);
    SCOPED_TRACE(other);
    ExpectTheSame("changed.xml");
  }
}

TEST(CalibrationSource, HasTheSameValuesInEveryFileOfTheTests) {
  for (const char* const files : {"/../samples", "/check", "/../fuzz/corpus/calibration_file"}) {
    for (const auto& entry : std::filesystem::directory_iterator(std::string(BLNITS_TESTS) + files)) {
      ExpectTheSame(entry.path().string());
    }
  }
}

TEST(CalibrationSource, LeavesTheValuesOfPlainListsOutOfTheDocument) {
  const TemporaryFolder folder;
  WriteFile("plain.xml", Calibration().Text());
  const CalibrationSource source("plain.xml", true);
  for (const Path& path : ListPaths()) {
    ASSERT_NE(source.Find(path), nullptr);
    EXPECT_TRUE(source.Find(path)->NoChildren()) << path.back();
  }
}

}  // namespace
