#include <fmt/format.h>

#include "foreign_text.h"
#include "readings/readers.h"
#include "readings/xml.h"
#include "support/failure.h"

namespace blnits {
namespace {

using tinyxml2::XMLElement;

constexpr const char* kMap = "screenBrightnessMap";
constexpr const char* kMode = "highBrightnessMode";
constexpr const char* kTransition = "transitionPoint";
constexpr const char* kFraction = "a fraction from 0 to 1";

class DisplayConfig {
 public:
  explicit DisplayConfig(Collected* collected) : collected_(*collected) {}

  void Read(const XMLElement& root) {
    UseTopLevel();
    const XMLElement* const map = OnlyChild(root, kMap);
    const XMLElement* const mode = OnlyChild(root, kMode);
    if (map == nullptr) {
      throw Failure(fmt::format("{}:{}: found no {}, expected one", collected_.Path(), LineOf(root), kMap));
    }
    TellInterpolation(*map);
    if (mode != nullptr) {
      ReadMode(*mode);
    }
    ReadPoints(*map);
  }

 private:
  void UseTopLevel() {
    const ReadingsOptions& options = collected_.Options();
    if (!options.scale && !options.top_level) {
      throw Failure(fmt::format("{}: found fractions for levels, expected --max-os-bl or --scale 1:LEVEL with them",
                                collected_.Path()));
    }
    collected_.UseScale({1.0, static_cast<double>(options.top_level.value_or(1))});
  }

  // Null if there is none. Refuses a second one.
  const XMLElement* OnlyChild(const XMLElement& parent, const char* name) {
    const XMLElement* const child = parent.FirstChildElement(name);
    const XMLElement* const second = child != nullptr ? child->NextSiblingElement(name) : nullptr;
    if (second != nullptr) {
      collected_.Refuse(LineOf(*second), fmt::format("found a second {}, expected one", name));
    }
    return child;
  }

  void TellInterpolation(const XMLElement& map) {
    const char* const given = map.Attribute("interpolation");
    const std::string name = given != nullptr ? given : "";
    collected_.Note(name == "linear" ? std::string("interpolation is linear")
                                     : fmt::format("interpolation is not linear{}: between the points, straight lines "
                                                   "differ from the curve of that device",
                                                   name.empty() ? "" : fmt::format(" but \"{}\"", Shown(name))));
  }

  void ReadMode(const XMLElement& mode) {
    const auto transition = NumberOf(mode, kTransition, "a fraction below 1");
    if (!transition) {
      return;
    }
    if (*transition >= 1.0) {
      collected_.Refuse(LineOf(*mode.FirstChildElement(kTransition)),
                        fmt::format("found transition point {}, expected a fraction below 1", *transition));
      return;
    }
    const bool enabled = mode.BoolAttribute("enabled", false);
    collected_.Note(
        fmt::format("transition point {}{}", *transition, enabled ? "" : ", high brightness is not enabled"));
    collected_.SetTransition(*transition);
    transition_ = transition;
  }

  void ReadPoints(const XMLElement& map) {
    size_t points = 0;
    for (const auto* point = map.FirstChildElement("point"); point != nullptr;
         point = point->NextSiblingElement("point"), ++points) {
      ReadPoint(*point);
    }
    if (points < 2) {
      collected_.Refuse(LineOf(map), fmt::format("found {} points in {}, expected 2 or more", points, kMap));
    }
  }

  // A device drops a map in which a number falls.
  void ReadPoint(const XMLElement& point) {
    const auto value = NumberOf(point, "value", kFraction);
    const auto nits = NumberOf(point, "nits", "a luminance in nits");
    if (!value || !nits) {
      return;
    }
    if (*value > 1.0 && !collected_.Options().scale) {
      collected_.Refuse(LineOf(point), fmt::format("found value {}, expected {}", *value, kFraction));
    } else if (*value < value_ || *nits < nits_) {
      collected_.Refuse(LineOf(point),
                        fmt::format("found value {} with {} nits after {} with {}, expected numbers that "
                                    "do not fall",
                                    *value, *nits, value_, nits_));
    } else {
      collected_.Add(LineOf(point), *value, *nits,
                     {{}, transition_ ? std::optional<bool>(*value > *transition_) : std::nullopt});
      value_ = *value;
      nits_ = *nits;
    }
  }

  // The number in a child. Refuses its absence.
  std::optional<double> NumberOf(const XMLElement& parent, const char* name, const char* what) {
    const XMLElement* const child = parent.FirstChildElement(name);
    if (child == nullptr) {
      collected_.Refuse(LineOf(parent), fmt::format("found no {} in {}, expected {}", name, parent.Name(), what));
      return std::nullopt;
    }
    return DecimalIn(*child, what, &collected_);
  }

  Collected& collected_;
  std::optional<double> transition_;
  double value_ = 0.0;  // Of the point before.
  double nits_ = 0.0;
};

}  // namespace

void ReadDisplayConfig(const CalibrationSource& file, Collected* collected) {
  DisplayConfig(collected).Read(RootOf(file, kDisplayConfigRoot));
}

}  // namespace blnits
