#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "backlight_nits_factory_intf.h"
#include "required_flags.h"
#include "thread_safety.h"

namespace zarn {

/// The factory: one engine for each panel name, and any number of parsers.
class BackLightNitsFactoryIntfImp : public BackLightNitsFactoryIntf {
 public:
  BackLightNitsFactoryIntfImp() = default;
  BackLightNitsFactoryIntfImp(const BackLightNitsFactoryIntfImp&) = delete;
  BackLightNitsFactoryIntfImp& operator=(const BackLightNitsFactoryIntfImp&) = delete;

  /// Releases the engines, the newest first.
  ~BackLightNitsFactoryIntfImp() override;

  std::shared_ptr<BackLightNitsIntf> CreateBackLightNitsIntf(std::string panel_name) noexcept override;
  std::unique_ptr<BackLightNitsIntf> CreateBackLightNitsParser(std::string panel_name) noexcept override;

 private:
  std::mutex lock_;

  // Guarded by the lock: panel names and their engines, in the order of creation.
  std::vector<std::pair<std::string, std::shared_ptr<BackLightNitsIntf>>> bl_nits_intfs_ BLNITS_GUARDED_BY(lock_);
};

}  // namespace zarn
