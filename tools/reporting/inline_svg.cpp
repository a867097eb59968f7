#include "reporting/inline_svg.h"

#include <tinyxml2.h>

#include <vector>

#include "support/failure.h"

namespace blnits {
namespace {

// "#gpPt1" and "url(#textbox)" point to elements of the same picture.
void MakeUnique(const std::string& id, tinyxml2::XMLElement* element) {
  std::vector<std::string> names;
  for (const auto* attribute = element->FirstAttribute(); attribute != nullptr; attribute = attribute->Next()) {
    names.emplace_back(attribute->Name());
  }
  for (const std::string& name : names) {
    std::string value = element->Attribute(name.c_str());
    const size_t target = value.rfind("url(#", 0) == 0 ? 5 : name == "xlink:href" && value[0] == '#' ? 1 : 0;
    if (name == "id" || target > 0) {
      value.insert(target, id + "-");
      element->SetAttribute(name == "xlink:href" ? "href" : name.c_str(), value.c_str());
    }
    if (name == "xlink:href") {
      element->DeleteAttribute(name.c_str());
    }
  }
  for (auto* child = element->FirstChildElement(); child != nullptr; child = child->NextSiblingElement()) {
    MakeUnique(id, child);
  }
}

/// Replaces the text of a child, or adds the child, and gives it an id.
void SetText(const char* name, const std::string& text, const std::string& id, tinyxml2::XMLElement* svg) {
  tinyxml2::XMLElement* child = svg->FirstChildElement(name);
  if (child == nullptr) {
    child = svg->GetDocument()->NewElement(name);
    svg->InsertFirstChild(child);
  }
  child->SetText(text.c_str());
  child->SetAttribute("id", (id + "-" + name).c_str());
}

}  // namespace

std::string InlineSvg(const std::string& svg, const PictureTexts& texts, std::string* origin) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* const root =
      document.Parse(svg.data(), svg.size()) == tinyxml2::XML_SUCCESS ? document.RootElement() : nullptr;
  if (root == nullptr || std::string(root->Name()) != "svg") {
    throw Failure("gnuplot's picture is not SVG");
  }
  const auto* const program = root->FirstChildElement("desc");
  *origin = program != nullptr && program->GetText() != nullptr ? program->GetText() : "";
  origin->erase(origin->find_last_not_of(' ') + 1);
  MakeUnique(texts.id, root);
  SetText("desc", texts.description, texts.id, root);
  SetText("title", texts.title, texts.id, root);
  for (const char* const name : {"xmlns", "xmlns:xlink", "width", "height"}) {
    root->DeleteAttribute(name);
  }
  root->SetAttribute("role", "img");
  root->SetAttribute("aria-labelledby", (texts.id + "-title").c_str());
  root->SetAttribute("aria-describedby", (texts.id + "-desc").c_str());
  constexpr bool kCompact = true;
  tinyxml2::XMLPrinter printer(nullptr, kCompact);
  root->Accept(&printer);
  return printer.CStr();
}

}  // namespace blnits
