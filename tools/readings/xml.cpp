#include "readings/xml.h"

#include <fmt/format.h>

#include <string_view>
#include <vector>

#include "foreign_text.h"
#include "load_trouble.h"
#include "support/failure.h"
#include "support/numbers.h"

namespace blnits {
namespace {

[[noreturn]] void ThrowLoadTroubles(const CalibrationSource& file) {
  std::vector<std::string> lines;
  for (const LoadTrouble& trouble : LoadTroubles(file)) {
    lines.push_back(trouble.line == 0 ? fmt::format("{}: {}", file.File(), trouble.text)
                                      : fmt::format("{}:{}: {}", file.File(), trouble.line, trouble.text));
  }
  throw Failure(lines.front(), {lines.begin() + 1, lines.end()});
}

}  // namespace

const tinyxml2::XMLElement& RootOf(const CalibrationSource& file, const char* name) {
  const bool loaded = file.Load().fault == zarn::LoadFault::kNone;
  if (!loaded && file.Document().ErrorID() != tinyxml2::XML_ERROR_EMPTY_DOCUMENT) {
    ThrowLoadTroubles(file);
  }
  const auto* const root = loaded ? file.Root() : nullptr;
  if (root == nullptr || std::string_view(root->Name()) != name) {
    throw Failure(fmt::format(
        "{}:{}: found {}, expected {} as the first element", file.File(), root == nullptr ? 1 : LineOf(*root),
        root == nullptr ? "no XML" : fmt::format("the element \"{}\"", Shown(root->Name())), name));
  }
  return *root;
}

std::string TextOf(const tinyxml2::XMLElement& element) {
  const char* const blanks = " \t\r\n";
  const std::string text = element.GetText() != nullptr ? element.GetText() : "";
  const size_t first = text.find_first_not_of(blanks);
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::optional<double> DecimalIn(const tinyxml2::XMLElement& element, const char* what, Collected* collected) {
  const std::string text = TextOf(element);
  double number = 0.0;
  if (ParseNumber(text, &number) && number >= 0.0 && text.find_first_of("eE") == std::string::npos) {
    return number;
  }
  collected->Refuse(LineOf(element), fmt::format("found \"{}\", expected {}", Shown(text), what));
  return std::nullopt;
}

}  // namespace blnits
