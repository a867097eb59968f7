#include <cerrno>
#include <cstdlib>
#include <utility>

#include "backlight_nits_parser_imp.h"
#include "log.h"

namespace zarn {
namespace {

using tinyxml2::XMLElement;

template <class Number>
Number ToNumber(const char* text);

// A negative number keeps its bit pattern; text without a number gives 0.
template <>
uint32_t ToNumber<uint32_t>(const char* text) {
  return static_cast<uint32_t>(std::atoi(text));
}

template <>
double ToNumber<double>(const char* text) {
  return std::atof(text);
}

void TellAbsence(format::Absence absence, const char* name, const char* function) {
  switch (absence) {
    case format::Absence::kRefused:
      Log().Error("BackLightNitsParserImp::%s: failed to find %s", function, name);
      break;
    case format::Absence::kWarning:
      Log().Warning("BackLightNitsParserImp::%s: failed to find %s", function, name);
      break;
    case format::Absence::kInfo:
      Log().Info("BackLightNitsParserImp::%s: failed to find %s", function, name);
      break;
  }
}

// Sets the attribute's field of `record`. 0, or -EINVAL when it is absent and required.
template <class Record, class Number>
int ReadAttribute(const XMLElement& root, const format::Attribute<Record, Number>& attribute, const char* function,
                  Record* record) {
  const char* const text = root.Attribute(attribute.name);
  if (text == nullptr) {
    TellAbsence(attribute.absence, attribute.name, function);
    if (attribute.absence == format::Absence::kRefused) {
      return -EINVAL;
    }
  }
  record->*attribute.field = text != nullptr ? ToNumber<Number>(text) : attribute.default_number;
  return 0;
}

XMLElement* FindChild(XMLElement* parent, const char* name, const char* function, const char* kind = "") {
  XMLElement* const child = parent->FirstChildElement(name);
  if (child == nullptr) {
    Log().Error("BackLightNitsParserImp::%s: failed to find %s%s", function, name, kind);
  }
  return child;
}

// The text of a value. XMLElement::GetText will not do: it skips a comment before the text.
const char* TextOf(const XMLElement& value) {
  const tinyxml2::XMLNode* const first = value.FirstChild();
  return first != nullptr && first->ToText() != nullptr ? first->Value() : nullptr;
}

// Every child element of `list` is a value, whatever its name. False, after an Error that counts the values before it,
// when one of them has no text.
template <class T>
bool ReadValueList(const XMLElement& list, const char* function, const char* kind, std::vector<T>* values) {
  for (const XMLElement* value = list.FirstChildElement(); value != nullptr; value = value->NextSiblingElement()) {
    const char* const text = TextOf(*value);
    if (text == nullptr) {
      Log().Error("BackLightNitsParserImp::%s: %s value invalid cnt %zd", function, kind, values->size());
      return false;
    }
    values->push_back(ToNumber<T>(text));
  }
  return true;
}

}  // namespace

int BackLightNitsParserImp::ParseGamma() { return ReadAttribute(*top_node_, format::kGamma, __func__, &gamma_); }

int BackLightNitsParserImp::ParseBlRange() {
  for (const auto& attribute : {format::kMinimumBl, format::kMaxBl, format::kMaxOsBl}) {
    const int ret = ReadAttribute(*top_node_, attribute, __func__, &bl_range_);
    if (ret != 0) {
      return ret;
    }
  }
  return 0;
}

int BackLightNitsParserImp::ParsePccThresh() {
  return ReadAttribute(*top_node_, format::kPccThresh, __func__, &pcc_thresh_);
}

int BackLightNitsParserImp::ParseLinearTable() {
  const XMLElement* const linear_list = FindChild(top_node_, format::kLinearTable.first, __func__);
  std::vector<uint32_t> linear;
  if (linear_list == nullptr || !ReadValueList(*linear_list, __func__, "linear backlight", &linear)) {
    return -EINVAL;
  }
  const XMLElement* const panel_list = FindChild(top_node_, format::kLinearTable.second, __func__);
  std::vector<uint32_t> panel;
  if (panel_list == nullptr || !ReadValueList(*panel_list, __func__, "panel backlight", &panel)) {
    return -EINVAL;
  }
  if (panel.size() != linear.size()) {
    Log().Error("BackLightNitsParserImp::%s: invalid cfg panel bl size %zd linear bl size %zd", __func__, panel.size(),
                linear.size());
    return -EINVAL;
  }
  auto& entries = bl_linear_table_.entries;
  entries.reserve(entries.size() + linear.size());
  for (size_t i = 0; i < linear.size(); ++i) {
    entries.emplace_back(linear[i], panel[i]);
  }
  return 0;
}

int BackLightNitsParserImp::ParseFullScreenNitsTable() {
  return ParseNitsTable(format::kStandard100, &nits_table_100_, __func__);
}

int BackLightNitsParserImp::ParseOneTenthScreenNitsTable() {
  return ParseNitsTable(format::kStandard10, &nits_table_10_, __func__);
}

int BackLightNitsParserImp::ParseHdrFullScreenNitsTable() {
  return ParseNitsTable(format::kHdr100, &hdr_nits_table_100_, __func__);
}

int BackLightNitsParserImp::ParseHdrOneTenthScreenNitsTable() {
  return ParseNitsTable(format::kHdr10, &hdr_nits_table_10_, __func__);
}

int BackLightNitsParserImp::ParseNitsTable(const format::MeasuredTable& table, BackLightToNitsTable* target,
                                           const char* step) {
  XMLElement* element = top_node_;
  for (const char* const name : {format::kMeasurements, table.group, table.element}) {
    element = FindChild(element, name, step);
    if (element == nullptr) {
      return -EINVAL;
    }
  }
  target->percentage = table.coverage;
  return BackLightsToNitsTableParse(element, target);
}

int BackLightNitsParserImp::BackLightsToNitsTableParse(XMLElement* element, BackLightToNitsTable* table) {
  if (element == nullptr || table == nullptr) {
    return -EINVAL;
  }
  const XMLElement* const bl_list = FindChild(element, format::kPoints.first, __func__, " node");
  std::vector<uint32_t> bl;
  if (bl_list == nullptr || !ReadValueList(*bl_list, __func__, "backlight", &bl)) {
    return -EINVAL;
  }
  const XMLElement* const nits_list = FindChild(element, format::kPoints.second, __func__, " node");
  std::vector<double> nits;
  nits.reserve(bl.size());
  if (nits_list == nullptr || !ReadValueList(*nits_list, __func__, "nits", &nits)) {
    return -EINVAL;
  }
  if (nits.size() != bl.size()) {
    Log().Error("BackLightNitsParserImp::%s: invalid cfg nits size %zd bl size %zd", __func__, nits.size(), bl.size());
    return -EINVAL;
  }
  table->points.reserve(table->points.size() + bl.size());
  for (size_t i = 0; i < bl.size(); ++i) {
    table->points.push_back({bl[i], nits[i]});
  }
  return 0;
}

}  // namespace zarn
