#include "panel/factory.h"

#include "backlight_nits_factory_intf.h"
#include "backlight_nits_imp.h"
#include "backlight_nits_parser_imp.h"

namespace blnits {
namespace {

/// Engines ask the process's factory for their parser. This one takes the place of the library's: it shares no engine,
/// and a name with a slash is a path.
class Factory : public zarn::BackLightNitsFactoryIntf {
 public:
  std::shared_ptr<zarn::BackLightNitsIntf> CreateBackLightNitsIntf(std::string panel_name) override {
    return MakeEngine(panel_name);
  }
  std::unique_ptr<zarn::BackLightNitsIntf> CreateBackLightNitsParser(std::string panel_name) override {
    return MakeParser(panel_name);
  }
};

}  // namespace

std::string EngineNameOf(const std::string& path) { return path.find('/') != std::string::npos ? path : "./" + path; }

std::shared_ptr<zarn::BackLightNitsIntf> MakeEngine(const std::string& name) {
  return std::make_shared<zarn::BackLightNitsImp>(name);
}

std::unique_ptr<zarn::BackLightNitsIntf> MakeParser(const std::string& name) {
  if (name.find('/') != std::string::npos) {
    return std::make_unique<zarn::BackLightNitsParserImp>(zarn::CalibrationPath{name});
  }
  return std::make_unique<zarn::BackLightNitsParserImp>(name);
}

}  // namespace blnits

zarn::BackLightNitsFactoryIntf* GetBackLightNitsFactoryIntf() {
  static blnits::Factory factory;
  return &factory;
}
