#include "reporting/page.h"

#include <ctemplate/template.h>
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <string_view>

#include "foreign_text.h"
#include "reporting/report_template.h"
#include "support/failure.h"
#include "support/json.h"

namespace blnits {
namespace {

using Json = nlohmann::ordered_json;

/// {{NUMBER:x-fixed=3}}: with three decimals, or a dash if there is no number.
class Fixed : public ctemplate::TemplateModifier {
 public:
  void Modify(const char* in, size_t length, const ctemplate::PerExpandData* /*data*/, ctemplate::ExpandEmitter* out,
              const std::string& argument) const override {
    const std::string_view text(in, length);
    double number = 0.0;
    int decimals = 0;
    const auto read = std::from_chars(text.begin(), text.end(), number);
    std::from_chars(argument.data() + 1, argument.data() + argument.size(), decimals);
    out->Emit(read.ec == std::errc() ? fmt::format("{:.{}f}", number, decimals) : std::string("–"));
  }
};

/// {{TEXT:x-or-dash}}: a dash if there is none.
class OrDash : public ctemplate::TemplateModifier {
 public:
  void Modify(const char* in, size_t length, const ctemplate::PerExpandData* /*data*/, ctemplate::ExpandEmitter* out,
              const std::string& /*argument*/) const override {
    out->Emit(length > 0 ? std::string(in, length) : std::string("–"));
  }
};

std::string PathOf(const std::string& path, const std::string& key) {
  std::string name = path.empty() ? key : path + "_" + key;
  std::transform(name.begin(), name.end(), name.begin(),
                 [](char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); });
  return name;
}

std::string TextOf(const Json& value) { return value.is_string() ? Printable(value.get<std::string>()) : value.dump(); }

// Names are whole paths, because a section also sees the variables and sections around it.
void Fill(const std::string& path, const Json& value, ctemplate::TemplateDictionary* dictionary) {
  const bool absent = value.is_null() || value == false || (value.is_array() && value.empty());
  if (absent || value == true) {
    dictionary->ShowSection(absent ? "NO_" + path : path);
  } else if (value.is_array()) {
    for (const Json& element : value) {
      ctemplate::TemplateDictionary* const section = dictionary->AddSectionDictionary(path);
      if (element.is_object()) {
        for (const auto& [key, member] : element.items()) {
          Fill(PathOf(path, key), member, section);
        }
      } else {
        section->SetValue(path, TextOf(element));
      }
    }
  } else if (value.is_object()) {
    Fill(path, Json::array({value}), dictionary);
  } else {
    dictionary->SetValue(path, TextOf(value));
  }
}

void PrepareTemplate() {
  static const Fixed fixed;
  static const OrDash or_dash;
  static const bool prepared =
      ctemplate::AddModifier("x-fixed=", &fixed) && ctemplate::AddModifier("x-or-dash", &or_dash) &&
      ctemplate::StringToTemplateCache("report", kReportTemplate, ctemplate::STRIP_BLANK_LINES);
  if (!prepared) {
    throw Failure("the template of the report is faulty");
  }
}

}  // namespace

std::string FilledPage(const Json& figures, const std::map<std::string, std::string>& pictures) {
  PrepareTemplate();
  ctemplate::TemplateDictionary dictionary("report");
  for (const auto& [key, member] : figures.items()) {
    Fill(PathOf("", key), member, &dictionary);
  }
  for (const auto& [name, picture] : pictures) {
    dictionary.SetValue(name, picture);
    dictionary.ShowSection(name + "_PICTURE");
  }
  std::string page;
  if (!ctemplate::ExpandTemplate("report", ctemplate::STRIP_BLANK_LINES, &dictionary, &page)) {
    throw Failure("the template of the report is faulty");
  }
  return page;
}

}  // namespace blnits
