#include "panel/calibration_source.h"

#include <algorithm>
#include <cctype>

namespace blnits {

using tinyxml2::XMLElement;

CalibrationSource::CalibrationSource(const std::string& file) : load_(zarn::LoadCalibrationFile(file, &document_)) {
  if (load_.fault == zarn::LoadFault::kNone) {
    root_ = document_.FirstChildElement();
  }
}

// tinyxml2 has names for its errors: XML_ERROR_MISMATCHED_ELEMENT.
std::string CalibrationSource::XmlError() const {
  std::string words = document_.ErrorName();
  words.erase(0, words.rfind("XML_ERROR_", 0) == 0 ? 10 : 4);
  std::transform(words.begin(), words.end(), words.begin(),
                 [](unsigned char c) { return c == '_' ? ' ' : static_cast<char>(std::tolower(c)); });
  return words;
}

const XMLElement* CalibrationSource::Find(const Path& path) const {
  const XMLElement* element = root_;
  for (auto name = path.begin(); element != nullptr && name != path.end(); ++name) {
    element = element->FirstChildElement(*name);
  }
  return element;
}

int CalibrationSource::LineOf(const Path& path) const {
  for (Path found = path;; found.pop_back()) {
    const XMLElement* const element = Find(found);
    if (element != nullptr) {
      return element->GetLineNum();
    }
    if (found.empty()) {
      return 1;
    }
  }
}

std::vector<SourceValue> CalibrationSource::Values(const Path& path) const {
  std::vector<SourceValue> values;
  const XMLElement* const list = Find(path);
  const XMLElement* value = list != nullptr ? list->FirstChildElement() : nullptr;
  for (; value != nullptr; value = value->NextSiblingElement()) {
    const tinyxml2::XMLNode* const first = value->FirstChild();
    const bool has_text = first != nullptr && first->ToText() != nullptr;
    values.push_back({value->GetLineNum(), has_text ? std::optional<std::string>(first->Value()) : std::nullopt});
  }
  return values;
}

std::optional<SourceValue> CalibrationSource::Attribute(const char* name) const {
  const tinyxml2::XMLAttribute* const attribute = root_ != nullptr ? root_->FindAttribute(name) : nullptr;
  if (attribute == nullptr) {
    return std::nullopt;
  }
  return SourceValue{attribute->GetLineNum(), std::string(attribute->Value())};
}

}  // namespace blnits
