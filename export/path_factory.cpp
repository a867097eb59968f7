#include "path_factory.h"

#include "backlight_nits_factory_intf.h"
#include "backlight_nits_imp.h"
#include "backlight_nits_parser_imp.h"

namespace zarn {
namespace {

/// An engine gets its parser from the process's factory. This one replaces the library's factory in the tool and in the C
/// library: each engine is a new one, and a name with a slash is a path.
class Factory : public BackLightNitsFactoryIntf {
 public:
  std::shared_ptr<BackLightNitsIntf> CreateBackLightNitsIntf(std::string panel_name) override {
    return MakeEngine(panel_name);
  }
  std::unique_ptr<BackLightNitsIntf> CreateBackLightNitsParser(std::string panel_name) override {
    return MakeParser(panel_name);
  }
};

}  // namespace

std::string EngineNameOf(const std::string& path) { return path.find('/') != std::string::npos ? path : "./" + path; }

std::shared_ptr<BackLightNitsIntf> MakeEngine(const std::string& name) {
  return std::make_shared<BackLightNitsImp>(name);
}

std::unique_ptr<BackLightNitsIntf> MakeParser(const std::string& name) {
  if (name.find('/') != std::string::npos) {
    return std::make_unique<BackLightNitsParserImp>(CalibrationPath{name});
  }
  return std::make_unique<BackLightNitsParserImp>(name);
}

}  // namespace zarn

zarn::BackLightNitsFactoryIntf* GetBackLightNitsFactoryIntf() {
  static zarn::Factory factory;
  return &factory;
}
