#include "calibration_source.h"

#include <utility>

namespace blnits {

using tinyxml2::XMLElement;

Path PathOf(const zarn::format::MeasuredTable& table) {
  return {zarn::format::kMeasurements, table.group, table.element};
}

CalibrationSource::CalibrationSource(std::string file)
    : file_(std::move(file)), load_(zarn::LoadCalibrationFile(file_, &document_)) {
  if (load_.fault == zarn::LoadFault::kNone) {
    root_ = document_.FirstChildElement();
  }
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
    values.push_back({value->GetLineNum(), has_text ? first->Value() : nullptr});
  }
  return values;
}

std::optional<SourceValue> CalibrationSource::Attribute(const char* name) const {
  const tinyxml2::XMLAttribute* const attribute = root_ != nullptr ? root_->FindAttribute(name) : nullptr;
  if (attribute == nullptr) {
    return std::nullopt;
  }
  return SourceValue{attribute->GetLineNum(), attribute->Value()};
}

int CalibrationSource::LineOfAttribute(const char* name) const {
  const auto attribute = Attribute(name);
  return attribute ? attribute->line : LineOf({});
}

}  // namespace blnits
