#include <cerrno>
#include <cstdlib>
#include <utility>

#include "backlight_nits_parser_imp.h"
#include "log.h"

namespace zarn {
namespace {

using tinyxml2::XMLElement;

// A negative number keeps its bit pattern; text without a number gives 0.
uint32_t ToLevel(const char* text) { return static_cast<uint32_t>(std::atoi(text)); }

double ToReal(const char* text) { return std::atof(text); }

const char* FindAttribute(const XMLElement& element, const char* name, const char* function) {
  const char* const value = element.Attribute(name);
  if (value == nullptr) {
    Log().Error("BackLightNitsParserImp::%s: failed to find %s", function, name);
  }
  return value;
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
bool ReadValueList(const XMLElement& list, T (*convert)(const char*), const char* function, const char* kind,
                   std::vector<T>* values) {
  for (const XMLElement* value = list.FirstChildElement(); value != nullptr; value = value->NextSiblingElement()) {
    const char* const text = TextOf(*value);
    if (text == nullptr) {
      Log().Error("BackLightNitsParserImp::%s: %s value invalid cnt %zd", function, kind, values->size());
      return false;
    }
    values->push_back(convert(text));
  }
  return true;
}

}  // namespace

int BackLightNitsParserImp::ParseGamma() {
  const char* const gamma = FindAttribute(*top_node_, "gamma", __func__);
  if (gamma == nullptr) {
    return -EINVAL;
  }
  gamma_.gamma = ToReal(gamma);
  return 0;
}

int BackLightNitsParserImp::ParseBlRange() {
  const char* const minimum_bl = FindAttribute(*top_node_, "minimum_bl", __func__);
  if (minimum_bl == nullptr) {
    return -EINVAL;
  }
  bl_range_.minimum_bl = ToLevel(minimum_bl);

  const char* const max_bl = FindAttribute(*top_node_, "max_bl", __func__);
  if (max_bl == nullptr) {
    return -EINVAL;
  }
  bl_range_.max_bl = ToLevel(max_bl);

  const char* const max_os_bl = top_node_->Attribute("max_os_bl");
  if (max_os_bl == nullptr) {
    Log().Info("BackLightNitsParserImp::%s: failed to find max_os_bl", __func__);
  }
  bl_range_.max_os_bl = max_os_bl != nullptr ? ToLevel(max_os_bl) : 0;
  return 0;
}

int BackLightNitsParserImp::ParsePccThresh() {
  const char* const pcc_thresh = top_node_->Attribute("pcc_thresh");
  if (pcc_thresh == nullptr) {
    Log().Warning("BackLightNitsParserImp::%s: failed to find pcc_thresh", __func__);
  }
  pcc_thresh_.pcc_thresh = pcc_thresh != nullptr ? ToReal(pcc_thresh) : 1.0;
  return 0;
}

int BackLightNitsParserImp::ParseLinearTable() {
  const XMLElement* const linear_list = FindChild(top_node_, "linearized_bl", __func__);
  std::vector<uint32_t> linear;
  if (linear_list == nullptr || !ReadValueList(*linear_list, ToLevel, __func__, "linear backlight", &linear)) {
    return -EINVAL;
  }
  const XMLElement* const panel_list = FindChild(top_node_, "panel_bl", __func__);
  std::vector<uint32_t> panel;
  if (panel_list == nullptr || !ReadValueList(*panel_list, ToLevel, __func__, "panel backlight", &panel)) {
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
  return ParseNitsTable("standard", "nits_100", 100, &nits_table_100_, __func__);
}

int BackLightNitsParserImp::ParseOneTenthScreenNitsTable() {
  return ParseNitsTable("standard", "nits_10", 10, &nits_table_10_, __func__);
}

int BackLightNitsParserImp::ParseHdrFullScreenNitsTable() {
  return ParseNitsTable("hbm", "nits_100", 100, &hdr_nits_table_100_, __func__);
}

int BackLightNitsParserImp::ParseHdrOneTenthScreenNitsTable() {
  return ParseNitsTable("hbm", "nits_10", 10, &hdr_nits_table_10_, __func__);
}

int BackLightNitsParserImp::ParseNitsTable(const char* group, const char* table, uint32_t percentage,
                                           BackLightToNitsTable* target, const char* step) {
  XMLElement* element = top_node_;
  for (const char* const name : {"measurement_data", group, table}) {
    element = FindChild(element, name, step);
    if (element == nullptr) {
      return -EINVAL;
    }
  }
  target->percentage = percentage;
  return BackLightsToNitsTableParse(element, target);
}

int BackLightNitsParserImp::BackLightsToNitsTableParse(XMLElement* element, BackLightToNitsTable* table) {
  if (element == nullptr || table == nullptr) {
    return -EINVAL;
  }
  const XMLElement* const bl_list = FindChild(element, "bl_value", __func__, " node");
  std::vector<uint32_t> bl;
  if (bl_list == nullptr || !ReadValueList(*bl_list, ToLevel, __func__, "backlight", &bl)) {
    return -EINVAL;
  }
  const XMLElement* const nits_list = FindChild(element, "nits_value", __func__, " node");
  std::vector<double> nits;
  if (nits_list == nullptr || !ReadValueList(*nits_list, ToReal, __func__, "nits", &nits)) {
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
