// Tests the file loader alone: it reports why and in which line a file is refused. Clients see only -2.
#include "calibration_file.h"

#include <array>

#include "client.h"

namespace {

using namespace zarn;

/// "loaded", or the fault and its line.
std::string LoadPath(const std::string& path) {
  constexpr const char* kNames[] = {"loaded",         "unreadable",          "too large",
                                    "tag too long",   "long reference",      "too deep",
                                    "too many nodes", "too many attributes", "not well-formed"};
  tinyxml2::XMLDocument document;
  const LoadResult result = LoadCalibrationFile(path, &document);
  return kNames[static_cast<int>(result.fault)] + (result.line != 0 ? ":" + std::to_string(result.line) : "");
}

std::string Load(const std::string& text) {
  const TemporaryFolder folder;
  WriteFile("file.xml", text);
  return LoadPath("file.xml");
}

/// Puts `content` into line 2.
std::string LoadContent(const std::string& content) { return Load("<root>\n" + content + "</root>"); }

/// Replaces the "..." in `text` by enough spaces to make `text` `bytes` long.
std::string Filled(std::string text, size_t bytes) {
  return text.replace(text.find("..."), 3, std::string(bytes - (text.size() - 3), ' '));
}

TEST(CalibrationFile, HasTagsOf2048Bytes) {
  for (const auto& [front, tag, back] : std::vector<std::array<const char*, 3>>{
           {"", "<a.../>", ""},
           {"", "<...a/>", ""},
           {"", "<a...>", "</a>"},
           {"<a>", "</a...>", ""},
           {"", "<a b='>...'/>", ""},
           {"", R"(<a b="'>..." c='">'/>)", ""},
           {"<!-- <a b=' -->", "<a.../>", ""},
           {"<!-->-->", "<a.../>", ""},
           {"<!--->-->", "<a.../>", ""},
           {"<![CDATA[ <a b=' ]]>", "<a.../>", ""},
           {"<![CDATA[]]>", "<a.../>", ""},
           {"<!a '>", "<a.../>", ""},
           {"' > ]]> -->", "<a.../>", ""},
       }) {
    SCOPED_TRACE(std::string(front) + tag);
    EXPECT_EQ(LoadContent(front + Filled(tag, 2048) + back), "loaded");
    EXPECT_EQ(LoadContent(front + Filled(tag, 2049) + back), "tag too long:2");
  }
  for (const char* const declaration : {"<?a <b c='?>\n", "<?><?>\n", "<!---->\n", "\xef\xbb\xbf\n"}) {
    EXPECT_EQ(Load(declaration + Filled("<root.../>", 2048)), "loaded") << declaration;
    EXPECT_EQ(Load(declaration + Filled("<root.../>", 2049)), "tag too long:2") << declaration;
  }
  // Only tags have this limit.
  const std::string tag = Filled("<a.../>", 9000);
  for (const auto& [front, back] :
       {std::pair{"<!--", "-->"}, {"<!-->", "-->"}, {"<!--->", "-->"}, {"<![CDATA[", "]]>"}, {"<![CDATA[]>", "]]>"}}) {
    EXPECT_EQ(LoadContent(front + tag + back), "loaded") << front;
  }
  EXPECT_EQ(Load("<?>" + tag + "?><root/>"), "loaded");
  EXPECT_EQ(Load("<root a='" + std::string(2048, 'x')), "tag too long:1") << "without an end";
}

TEST(CalibrationFile, HasElements64Deep) {
  const std::string ends = Repeated("</a>", 62);
  for (const char* const tag : {"<a>", "<a b='/>'>", "<\na >", "<a></a/>", "<!-- </root> --><a><![CDATA[</a>]]>"}) {
    SCOPED_TRACE(tag);
    const std::string deep = Repeated(tag, 62);  // Inside the root: the elements below are at levels 64 and 65.
    for (const auto& [elements, outcome] :
         {std::pair{"<b/><b></b><b>< /b>", "loaded"}, {"<b><c/></b>", "too deep"}, {"<b><c></c></b>", "too deep"}}) {
      std::string content = deep;
      content.append(elements).append(ends);
      EXPECT_EQ(LoadContent(content).substr(0, 8), std::string(outcome)) << elements;
    }
  }
  EXPECT_EQ(LoadContent(Repeated("<a>\n", 64)), "too deep:65");
  EXPECT_EQ(LoadContent("<a>" + Repeated("<b><c d='>'/></b><b/>\n", 1000) + "</a>"), "loaded") << "side by side";
}

TEST(CalibrationFile, HasReferencesOf64Bytes) {
  const std::string end = std::string(57, '0') + "31;";
  ASSERT_EQ(("&#0" + end).size(), 63U);
  for (const auto& [front, back] :
       {std::pair{"<a>", "</a>"}, {"<a>&#49;&#x31; & ;", "</a>"}, {"<a b='", "'/>"}, {"<a b=\">", "\"/>"}}) {
    for (const char* const reference : {"&#x0", "&#00", "&#&#", "&#@@"}) {
      SCOPED_TRACE(std::string(front) + reference);
      EXPECT_EQ(LoadContent(front + (reference + end) + back), "loaded");
      EXPECT_EQ(LoadContent(front + ("\n" + std::string(reference) + "0" + end) + back), "long reference:3");
    }
  }
  const std::string open = "&#" + std::string(62, 'x');
  EXPECT_EQ(LoadContent(open), "loaded") << "the text ends within the limit";
  EXPECT_EQ(LoadContent(open + "x"), "long reference:2");
  EXPECT_EQ(LoadContent("<!--" + open + "x--><![CDATA[" + open + "x]]>"), "loaded")
      << "comments and CDATA have no references";
}

TEST(CalibrationFile, HasFiveMillionNodes) {
  // An element, texts, comments and unknown markup: ten nodes.
  const std::string ten = "<a>1<!---->2</a> <!>3\n<b c=''/>4<![CDATA[]]>5";
  const std::string most = Repeated(ten, 499999) + "<a/><a/><a/><a/><a/><a/><a/><a/><a/>";
  EXPECT_EQ(LoadContent(most), "loaded");
  for (const char* const node : {"<a/>", "<a></a>", "1", "<!---->", "<!>", "<![CDATA[]]>"}) {
    EXPECT_EQ(LoadContent(most + node), "too many nodes:500001") << node;
  }
}

TEST(CalibrationFile, HasAMillionAttributes) {
  const std::string four = "<a b='=' c=\"''\" d = ''\ne='>'/>";
  const std::string most = Repeated(four, 249999) + "<a b=''></a c='' d='' e=''>";
  EXPECT_EQ(LoadContent(most), "loaded");
  EXPECT_EQ(LoadContent(most + "<a b=''/>"), "too many attributes:250001");
}

TEST(CalibrationFile, Has32MiB) {
  const std::string most = Filled("<root>...</root>", 32 << 20);
  EXPECT_EQ(Load(most), "loaded");
  EXPECT_EQ(Load(most + " "), "too large");
}

// The loader reads in blocks; the size of a file need not be a multiple of theirs.
TEST(CalibrationFile, IsReadToItsLastByte) {
  for (size_t bytes = 256; bytes <= 1 << 18; bytes *= 2) {
    const std::string text = Filled("<root>...</root>", bytes + 1);
    EXPECT_EQ(Load(text), "loaded");
    EXPECT_NE(Load(text.substr(0, bytes)), "loaded");
  }
}

// The process's own memory is a regular file whose first byte cannot be read.
TEST(CalibrationFile, IsUnreadableWhereReadingFails) {
  EXPECT_EQ(LoadPath("/proc/self/mem"), "unreadable");
  EXPECT_EQ(LoadPath("/proc/self/nothing"), "unreadable");
  EXPECT_EQ(Load(""), "not well-formed") << "a file that is empty is not unreadable";
}

}  // namespace
