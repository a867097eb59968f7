#include "load_trouble.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <string_view>
#include <utility>

#include "foreign_text.h"
#include "named_tables.h"

namespace blnits {
namespace {

namespace fs = std::filesystem;
namespace format = zarn::format;
using Troubles = std::vector<LoadTrouble>;

std::string WhyUnreadable(const std::string& file) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (status.type() == fs::file_type::not_found) {
    return "there is no such file; check its name and folder";
  }
  if (status.type() == fs::file_type::directory) {
    return "this is a folder; name a file in it";
  }
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    return "this is a device node, a pipe or a socket; the device loads only regular files; copy the text into a file";
  }
  return "the file cannot be read; check its permissions";
}

/// The encoding of a file that begins with a UTF-16 byte order mark or with a two-byte character; null for other files.
const char* EncodingOfTwoBytes(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  const int first = stream.get();
  const int second = stream.get();
  if ((first == 0xff && second == 0xfe) || (first == 0xfe && second == 0xff)) {
    return "UTF-16";
  }
  if (first == EOF || second == EOF || (first == 0) == (second == 0)) {
    return nullptr;
  }
  return first == 0 ? "UTF-16BE" : "UTF-16LE";
}

/// The element that the XML reader's error message names; empty if it names none.
std::string ElementInError(const tinyxml2::XMLDocument& document) {
  const std::string words = document.ErrorStr() != nullptr ? document.ErrorStr() : "";
  const std::string start = "XMLElement name=";
  const size_t at = words.find(start);
  return at == std::string::npos ? "" : words.substr(at + start.size());
}

/// The attribute that occurs twice in the tag of `element` around line `line`; empty if there is none.
std::string RepeatedAttribute(const std::string& file, const std::string& element, int line) {
  std::ifstream stream(file, std::ios::binary);
  std::string text;
  std::string row;
  for (int i = 0; i < line && std::getline(stream, row); ++i) {
    text += row + "\n";
  }
  size_t at = text.rfind("<" + element);
  at = at == std::string::npos ? text.size() : at + 1 + element.size();
  for (std::set<std::string> names;;) {
    at = text.find_first_not_of(" \t\r\n", at);
    const size_t end = text.find_first_of(" \t\r\n=>", at);
    const size_t open = text.find_first_of("\"'", end);
    const size_t close = open == std::string::npos ? open : text.find(text[open], open + 1);
    if (close == std::string::npos) {
      return "";
    }
    std::string name = text.substr(at, end - at);
    if (!names.insert(name).second) {
      return name;
    }
    at = close + 1;
  }
}

std::string XmlTrouble(const CalibrationSource& source) {
  const tinyxml2::XMLDocument& document = source.Document();
  const std::string element = ElementInError(document);
  switch (document.ErrorID()) {
    case tinyxml2::XML_ERROR_PARSING_ELEMENT:
      return "no element can be read here; after < comes a name, and each tag ends with >";
    case tinyxml2::XML_ERROR_PARSING_ATTRIBUTE: {
      const std::string twice = RepeatedAttribute(source.File(), element, source.Load().line);
      return twice.empty()
                 ? fmt::format("an attribute of {} cannot be read; write each as name=\"value\"", Shown(element))
                 : fmt::format("{} has the attribute {} twice; remove one", Shown(element), Shown(twice));
    }
    case tinyxml2::XML_ERROR_PARSING_TEXT:
      return "no tag follows this text; close the elements around it, or remove it";
    case tinyxml2::XML_ERROR_PARSING_CDATA:
      return "a CDATA section does not end; close it with ]]>";
    case tinyxml2::XML_ERROR_PARSING_COMMENT:
      return "a comment does not end; close it with -->";
    case tinyxml2::XML_ERROR_PARSING_DECLARATION:
      return "a declaration <? does not end, or follows an element; close it with ?>, and put it first";
    case tinyxml2::XML_ERROR_PARSING_UNKNOWN:
      return "markup that begins with <! does not end; close it with >";
    case tinyxml2::XML_ERROR_EMPTY_DOCUMENT:
      return fmt::format("the file has no XML; a calibration begins with <{}", format::kRoot);
    case tinyxml2::XML_ERROR_PARSING:
      return "the file ends before its elements are closed; close each of them";
    case tinyxml2::XML_ERROR_MISMATCHED_ELEMENT:
      return fmt::format("element {} is not closed, or another name closes it; close it with </{}>", Shown(element),
                         Shown(element));
    case tinyxml2::XML_ELEMENT_DEPTH_EXCEEDED:
      return "elements are nested too deeply; a calibration has 6 levels";
    default:
      return fmt::format("the XML cannot be read ({}); compare it with a calibration that loads", document.ErrorName());
  }
}

void AddFault(const CalibrationSource& source, Troubles* troubles) {
  const auto [fault, line] = source.Load();
  switch (fault) {
    case zarn::LoadFault::kUnreadable:
      troubles->push_back({0, WhyUnreadable(source.File())});
      break;
    case zarn::LoadFault::kTooLarge:
      troubles->push_back(
          {0,
           fmt::format("the file is larger than {} MiB; drop points that interpolation between the others reproduces",
                       format::kMaxFileBytes >> 20)});
      break;
    case zarn::LoadFault::kTagTooLong:
      troubles->push_back({line, fmt::format("this tag is longer than {} bytes; put the numbers into value elements",
                                             format::kMaxTagBytes)});
      break;
    case zarn::LoadFault::kReferenceTooLong:
      troubles->push_back(
          {line,
           fmt::format(
               R"(the reference that begins with this "&#" has more than {} bytes; write the character itself, or "&amp;" for &)",
               format::kMaxReferenceBytes)});
      break;
    case zarn::LoadFault::kNestedTooDeep:
      troubles->push_back(
          {line, fmt::format("elements are nested more than {} deep; close the tag that is left open before it",
                             format::kMaxDepth)});
      break;
    case zarn::LoadFault::kTooManyNodes:
      troubles->push_back({line, fmt::format("the file has more than {} elements, texts and comments; drop points that "
                                             "interpolation between the others reproduces",
                                             format::kMaxNodes)});
      break;
    case zarn::LoadFault::kTooManyAttributes:
      troubles->push_back(
          {line, fmt::format("the file has more than {} attributes; put the numbers into value elements",
                             format::kMaxAttributes)});
      break;
    case zarn::LoadFault::kNotWellFormed:
      troubles->push_back({line, XmlTrouble(source)});
      break;
    case zarn::LoadFault::kNone:
      break;
  }
}

void AddAttributes(const CalibrationSource& source, Troubles* troubles) {
  format::ForEachAttribute([&](const auto& attribute) {
    if (attribute.absence == format::Absence::kRefused && !source.Attribute(attribute.name)) {
      troubles->push_back(
          {source.LineOf({}), fmt::format("{} has no attribute {}; add it", format::kRoot, attribute.name)});
    }
  });
}

/// Reports a missing list, and values of the list without text. \param owner the element that needs the list.
void AddList(const CalibrationSource& source, const Path& list, const std::string& owner, Troubles* troubles) {
  if (source.Find(list) == nullptr) {
    troubles->push_back({source.LineOf(list), fmt::format("{} has no {}; add the list", owner, list.back())});
  }
  for (const SourceValue& value : source.Values(list)) {
    if (value.text == nullptr) {
      troubles->push_back(
          {value.line,
           fmt::format("{}: this value of {} has no text, or has other markup before its text; write only the number",
                       owner, list.back())});
    }
  }
}

/// \param parent path of the element that needs the two lists. \param owner its name.
void AddLists(const CalibrationSource& source, const Path& parent, const format::Lists& lists, const std::string& owner,
              Troubles* troubles) {
  Path first = parent;
  Path second = parent;
  first.push_back(lists.first);
  second.push_back(lists.second);
  AddList(source, first, owner, troubles);
  AddList(source, second, owner, troubles);
  const size_t firsts = source.Values(first).size();
  const size_t seconds = source.Values(second).size();
  if (source.Find(first) != nullptr && source.Find(second) != nullptr && firsts != seconds) {
    troubles->push_back(
        {source.LineOf(second),
         fmt::format("{}: {} has {} values, but {} has {}; each value needs its partner in the other list", owner,
                     lists.second, seconds, lists.first, firsts)});
  }
}

/// The path of the outermost missing element on the way to a table.
Path MissingOnTheWay(const CalibrationSource& source, Path path) {
  while (path.size() > 1 && source.Find(Path(path.begin(), path.end() - 1)) == nullptr) {
    path.pop_back();
  }
  return path;
}

/// One text about all missing tables.
std::string TellMissing(const CalibrationSource& source) {
  std::vector<std::string> missing;
  for (const MeasuredTable& table : kMeasuredTables) {
    if (source.Find(PathOf(table)) == nullptr) {
      const Path path = MissingOnTheWay(source, PathOf(table));
      missing.push_back(fmt::format("{} (no {} in {}, line {})", table.name, path.back(),
                                    path.size() > 1 ? path[path.size() - 2] : format::kRoot, source.LineOf(path)));
    }
  }
  return fmt::format("{} of the four measured tables {} missing: {}; measure {}, or repeat another table there",
                     missing.size(), missing.size() == 1 ? "is" : "are", fmt::join(missing, ", "),
                     missing.size() == 1 ? "it" : "them");
}

void AddTables(const CalibrationSource& source, Troubles* troubles) {
  bool told = false;
  for (const MeasuredTable* const table : TablesAsRead()) {
    const Path path = PathOf(*table);
    if (source.Find(path) != nullptr) {
      AddLists(source, path, format::kPoints, table->name, troubles);
    } else if (!std::exchange(told, true)) {
      troubles->push_back({source.LineOf(path), TellMissing(source)});
    }
  }
}

void AddContent(const CalibrationSource& source, Troubles* troubles) {
  const auto* const root = source.Root();
  if (root == nullptr || std::string_view(root->Name()) != format::kRoot) {
    troubles->push_back(
        {source.LineOf({}),
         root == nullptr
             ? fmt::format("there is no element; the outermost one must be {}", format::kRoot)
             : fmt::format("the outermost element is {}; rename it to {}", Shown(root->Name()), format::kRoot)});
    return;
  }
  AddAttributes(source, troubles);
  AddLists(source, {}, format::kLinearTable, format::kRoot, troubles);
  AddTables(source, troubles);
}

}  // namespace

Troubles LoadTroubles(const CalibrationSource& source) {
  Troubles troubles;
  const bool unreadable = source.Load().fault == zarn::LoadFault::kUnreadable;
  const char* const encoding = unreadable ? nullptr : EncodingOfTwoBytes(source.File());
  if (encoding != nullptr) {
    troubles.push_back(
        {1, fmt::format("the text is {}, and the device reads UTF-8; save it as UTF-8, or convert it with "
                        "iconv -f {} -t UTF-8",
                        encoding, encoding)});
    return troubles;
  }
  AddFault(source, &troubles);
  if (source.Load().fault == zarn::LoadFault::kNone) {
    AddContent(source, &troubles);
  }
  if (troubles.empty()) {
    troubles.push_back({0, "the file cannot be loaded"});
  }
  return troubles;
}

}  // namespace blnits
