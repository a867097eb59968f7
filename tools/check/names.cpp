#include <algorithm>
#include <map>

#include "check/rules.h"
#include "support/nearest_name.h"

namespace blnits {
namespace {

using Names = std::vector<std::string>;
using tinyxml2::XMLElement;

/// What the library looks up in an element.
struct Known {
  Names attributes;
  Names children;
};

Known KnownIn(const std::string& element) {
  if (element == "Calib_Data") {
    return {{"gamma", "minimum_bl", "max_bl", "max_os_bl", "pcc_thresh"},
            {"linearized_bl", "panel_bl", "measurement_data"}};
  }
  if (element == "measurement_data") {
    return {{}, {"standard", "hbm"}};
  }
  if (element == "standard" || element == "hbm") {
    return {{}, {"nits_100", "nits_10"}};
  }
  return {{}, {"bl_value", "nits_value"}};
}

bool IsList(const std::string& element) {
  const Names lists = {"linearized_bl", "panel_bl", "bl_value", "nits_value"};
  return std::find(lists.begin(), lists.end(), element) != lists.end();
}

// What to do about a name that is not known: the likely one, if there is one.
std::string Remedy(const std::string& name, const Names& known) {
  const std::string likely = NearestName(name, known);
  if (!likely.empty()) {
    return fmt::format("was {} meant?", likely);
  }
  std::string all;
  for (const std::string& each : known) {
    all += (all.empty() ? "" : ", ") + each;
  }
  return known.empty() ? "remove it" : fmt::format("the device reads {} here", all);
}

void CheckAttributeNames(const XMLElement& element, const Names& known, Findings* findings) {
  for (const auto* attribute = element.FirstAttribute(); attribute != nullptr; attribute = attribute->Next()) {
    if (std::find(known.begin(), known.end(), attribute->Name()) == known.end()) {
      findings->Add(RuleId::kIgnored, attribute->GetLineNum(), "the device ignores attribute {} of {}; {}",
                    Shown(attribute->Name()), Shown(element.Name()), Remedy(attribute->Name(), known));
    }
  }
}

// Text where only elements count.
void CheckStrayText(const XMLElement& element, Findings* findings) {
  for (const auto* node = element.FirstChild(); node != nullptr; node = node->NextSibling()) {
    const std::string text = node->ToText() != nullptr ? node->Value() : "";
    const size_t start = text.find_first_not_of(" \t\r\n");
    if (start != std::string::npos) {
      const auto lines = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(start), '\n');
      findings->Add(RuleId::kIgnored, node->GetLineNum() + static_cast<int>(lines),
                    "the device ignores the text \"{}\" in {}; {}", Shown(text.substr(start)), Shown(element.Name()),
                    IsList(element.Name()) ? "put each number into an element <value>" : "remove it");
    }
  }
}

// Only the text that a value begins with is read.
void CheckValue(const XMLElement& value, Findings* findings) {
  CheckAttributeNames(value, {}, findings);
  const auto* const rest = value.FirstChild() != nullptr ? value.FirstChild()->NextSibling() : nullptr;
  if (rest != nullptr) {
    findings->Add(RuleId::kIgnored, rest->GetLineNum(),
                  "the device reads a value up to the first element or comment in it and ignores the rest; write the "
                  "number alone");
  }
}

void CheckList(const XMLElement& list, Findings* findings) {
  CheckAttributeNames(list, {}, findings);
  CheckStrayText(list, findings);
  for (const auto* value = list.FirstChildElement(); value != nullptr; value = value->NextSiblingElement()) {
    CheckValue(*value, findings);
  }
}

void CheckElement(const XMLElement& element, Findings* findings) {
  if (IsList(element.Name())) {
    CheckList(element, findings);
    return;
  }
  const auto [attributes, children] = KnownIn(element.Name());
  CheckAttributeNames(element, attributes, findings);
  CheckStrayText(element, findings);
  std::map<std::string, int> read;  // name and line of each known child
  for (const auto* child = element.FirstChildElement(); child != nullptr; child = child->NextSiblingElement()) {
    if (std::find(children.begin(), children.end(), child->Name()) == children.end()) {
      findings->Add(RuleId::kIgnored, child->GetLineNum(), "the device ignores element {} in {}; {}",
                    Shown(child->Name()), element.Name(), Remedy(child->Name(), children));
    } else if (const auto [first, is_first] = read.try_emplace(child->Name(), child->GetLineNum()); !is_first) {
      findings->Add(RuleId::kRepeated, child->GetLineNum(),
                    "the device reads only the first {} in {}, in line {}; remove one of them", child->Name(),
                    element.Name(), first->second);
    } else {
      CheckElement(*child, findings);
    }
  }
}

}  // namespace

void CheckNames(const CalibrationSource& source, Findings* findings) {
  const XMLElement* const root = source.Root();
  if (root == nullptr || std::string(root->Name()) != "Calib_Data") {
    return;
  }
  CheckElement(*root, findings);
  for (const auto* next = root->NextSiblingElement(); next != nullptr; next = next->NextSiblingElement()) {
    findings->Add(RuleId::kIgnored, next->GetLineNum(),
                  "the device reads only the first element, in line {}; remove {}", root->GetLineNum(),
                  Shown(next->Name()));
  }
}

}  // namespace blnits
