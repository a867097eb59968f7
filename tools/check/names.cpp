#include <algorithm>
#include <map>

#include "check/rules.h"
#include "support/nearest_name.h"

namespace blnits {
namespace {

namespace format = zarn::format;
using Names = std::vector<std::string>;
using tinyxml2::XMLElement;

/// The names that the library looks up in an element.
struct Known {
  Names attributes;
  Names children;
};

void AddOnce(const char* name, Names* names) {
  if (std::find(names->begin(), names->end(), name) == names->end()) {
    names->emplace_back(name);
  }
}

Known KnownInRoot() {
  Known known;
  format::ForEachAttribute([&](const auto& attribute) { known.attributes.emplace_back(attribute.name); });
  known.children = {format::kLinearTable.first, format::kLinearTable.second, format::kMeasurements};
  return known;
}

Known KnownIn(const std::string& element) {
  if (element == format::kRoot) {
    return KnownInRoot();
  }
  Known known;
  for (const auto& table : format::kMeasuredTables) {
    if (element == format::kMeasurements) {
      AddOnce(table.group, &known.children);
    } else if (element == table.group) {
      AddOnce(table.element, &known.children);
    } else if (element == table.element) {
      known.children = {format::kPoints.first, format::kPoints.second};
    }
  }
  return known;
}

// Advice on an unknown name: the likely name if there is one.
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

// Reports text in an element of which the library reads only the child elements.
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

// The library reads only the text at the beginning of a value.
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
  std::map<std::string, int> read;  // Name and line of each known child.
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
  if (root == nullptr || std::string(root->Name()) != format::kRoot) {
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
