#include "calibration_source.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace blnits {

using tinyxml2::XMLElement;

namespace {

// Adds the lists without children, in the order of the document. Elements are nested no deeper than
// zarn::format::kMaxDepth.
void AddEmptyLists(XMLElement* element, std::vector<XMLElement*>* lists) {
  for (; element != nullptr; element = element->NextSiblingElement()) {
    if (IsList(element->Name()) && element->NoChildren() && element->ClosingType() == XMLElement::OPEN) {
      lists->push_back(element);
    }
    AddEmptyLists(element->FirstChildElement(), lists);
  }
}

}  // namespace

Path PathOf(const zarn::format::MeasuredTable& table) {
  return {zarn::format::kMeasurements, table.group, table.element};
}

CalibrationSource::CalibrationSource(std::string file, bool loads) : file_(std::move(file)) {
  if (!loads || !ReadWithoutPlainLists()) {
    plain_lists_.clear();
    load_ = zarn::LoadCalibrationFile(file_, &document_);
  }
  if (load_.fault == zarn::LoadFault::kNone) {
    root_ = document_.FirstChildElement();
  }
}

bool CalibrationSource::ReadWithoutPlainLists() {
  std::error_code error;
  const auto size = std::filesystem::file_size(file_, error);
  if (error || size > zarn::format::kMaxFileBytes) {
    return false;
  }
  std::ifstream file(file_, std::ios::binary);
  text_.resize(size);
  file.read(text_.data(), static_cast<std::streamsize>(text_.size()));
  text_.resize(static_cast<size_t>(file.gcount()));
  CutText cut = CutPlainLists(&text_);
  plain_lists_ = std::move(cut.lists);
  if (document_.Parse(cut.rest.data(), cut.rest.size()) != tinyxml2::XML_SUCCESS) {
    return false;
  }
  std::vector<XMLElement*> elements;
  AddEmptyLists(document_.FirstChildElement(), &elements);
  const auto is_of = [](const PlainList& list, const XMLElement* element) {
    return list.line == element->GetLineNum();
  };
  if (!std::equal(plain_lists_.begin(), plain_lists_.end(), elements.begin(), elements.end(), is_of)) {
    return false;
  }
  for (size_t i = 0; i < elements.size(); ++i) {
    elements[i]->SetUserData(&plain_lists_[i]);
  }
  return true;
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
  if (list != nullptr && list->GetUserData() != nullptr) {
    return static_cast<const PlainList*>(list->GetUserData())->values;
  }
  const XMLElement* value = list != nullptr ? list->FirstChildElement() : nullptr;
  for (; value != nullptr; value = value->NextSiblingElement()) {
    const tinyxml2::XMLNode* const first = value->FirstChild();
    const bool has_text = first != nullptr && first->ToText() != nullptr;
    values.push_back({value->GetLineNum(), has_text ? first->Value() : nullptr});
  }
  return values;
}

std::vector<SourceValue> CalibrationSource::TakeValues(const Path& path) {
  const XMLElement* const list = Find(path);
  if (list != nullptr && list->GetUserData() != nullptr) {
    return std::move(static_cast<PlainList*>(list->GetUserData())->values);
  }
  return Values(path);
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
