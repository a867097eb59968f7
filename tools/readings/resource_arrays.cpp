#include <fmt/format.h>

#include <string_view>

#include "readings/readers.h"
#include "readings/xml.h"
#include "support/failure.h"

namespace blnits {
namespace {

using tinyxml2::XMLElement;

constexpr const char* kLevels = "config_screenBrightnessBacklight";
constexpr const char* kNits = "config_screenBrightnessNits";

const XMLElement& ArrayOf(const XMLElement& root, const char* name, const std::string& path) {
  for (const auto* array = root.FirstChildElement(); array != nullptr; array = array->NextSiblingElement()) {
    const char* const given = array->Attribute("name");
    if (given != nullptr && std::string_view(given) == name) {
      return *array;
    }
  }
  throw Failure(fmt::format("{}:{}: found no array {}, expected {} and {}", path, LineOf(root), name, kLevels, kNits));
}

size_t CountItems(const XMLElement& array) {
  size_t count = 0;
  for (const auto* item = array.FirstChildElement("item"); item != nullptr; item = item->NextSiblingElement("item")) {
    ++count;
  }
  return count;
}

}  // namespace

void ReadResourceArrays(const CalibrationSource& file, Collected* collected) {
  const XMLElement& root = RootOf(file, kResourcesRoot);
  const XMLElement& levels = ArrayOf(root, kLevels, collected->Path());
  const XMLElement& luminances = ArrayOf(root, kNits, collected->Path());
  const size_t count = CountItems(levels);
  if (count == 0 || CountItems(luminances) != count) {
    collected->Refuse(LineOf(luminances),
                      fmt::format("found {} items in {} and {} in {}, expected equal numbers above 0",
                                  CountItems(luminances), kNits, count, kLevels));
    return;
  }
  const auto* luminance = luminances.FirstChildElement("item");
  for (const auto* item = levels.FirstChildElement("item"); item != nullptr;
       item = item->NextSiblingElement("item"), luminance = luminance->NextSiblingElement("item")) {
    const auto level = collected->Level(LineOf(*item), TextOf(*item), TextOf(*item));
    const auto nits = DecimalIn(*luminance, "a luminance in nits", collected);
    if (level && nits) {
      collected->Add(LineOf(*item), *level, *nits);
    }
  }
}

}  // namespace blnits
