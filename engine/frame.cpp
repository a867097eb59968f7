#include <cerrno>
#include <utility>

#include "backlight_nits_factory_intf.h"
#include "backlight_nits_imp.h"
#include "log.h"

namespace zarn {

BackLightNitsImp::BackLightNitsImp(std::string panel_name) : panel_name_(std::move(panel_name)) {
  using Imp = BackLightNitsImp;
  get_param_funcs_ = {
      {kBLGamma, &Imp::GetBlGamma},
      {kBLRange, &Imp::GetBlRange},
      {kBLLinearTable, &Imp::GetBlLinearTable},
      {kBLNitsMapping10Percent, &Imp::GetBlNitsMapping10Percent},
      {kBLNitsMapping100Percent, &Imp::GetBlNitsMapping100Percent},
      {kBLHdrNitsMapping10Percent, &Imp::GetBlHdrNitsMapping10Percent},
      {kBLHdrNitsMapping100Percent, &Imp::GetBlHdrNitsMapping100Percent},
      {kBLPccThresh, &Imp::GetPccThresh},
      {kBLDimmingStatus, &Imp::GetDimmingStatus},
      {kBLDimmingScale, &Imp::GetDimmingScale},
  };
  set_param_funcs_ = {
      {kBLDimmingStatus, &Imp::SetDimmingStatus},
      {kBLDimmingScale, &Imp::SetDimmingScale},
      {kBLDimmingLuts, &Imp::SetDimmingLuts},
  };
  process_ops_funcs_ = {
      {kBLToNits, &Imp::ProcessBackLightToNits},
      {kNitsToBL, &Imp::ProcessNitsToBackLight},
  };
}

int BackLightNitsImp::Init() BLNITS_NOEXCEPT {
  const std::lock_guard<std::mutex> guard(lock_);
  auto parser = GetBackLightNitsFactoryIntf()->CreateBackLightNitsParser(panel_name_);
  if (parser == nullptr) {
    Log().Error("BackLightNitsImp::%s: failed to create the parser", __func__);
    return -EINVAL;
  }
  parser_ = std::move(parser);
  int ret = parser_->Init();
  if (ret == -ENOENT) {
    Log().Warning("BackLightNitsImp::%s: parser initialization failed due to missing XML, ret %d", __func__, ret);
    return ret;
  }
  if (ret != 0) {
    Log().Error("BackLightNitsImp::%s: parser initialization failed, ret %d", __func__, ret);
    return ret;
  }
  GenericPayload payload;
  BLRange* range = nullptr;
  payload.CreatePayload(range);
  ret = parser_->GetParameter(kBLRange, &payload);
  if (ret != 0) {
    Log().Error("BackLightNitsImp::%s: get parameter for BlRange ret %d", __func__, ret);
    return ret;
  }
  bl_range_.minimum_bl = range->minimum_bl;
  bl_range_.max_bl = range->max_bl;
  bl_range_.max_os_bl = range->max_os_bl;
  initialized_ = true;
  return 0;
}

int BackLightNitsImp::Deinit() BLNITS_NOEXCEPT {
  const std::lock_guard<std::mutex> guard(lock_);
  if (initialized_) {
    parser_->Deinit();
    vb_to_nits_map_10_.clear();
    vb_to_nits_map_100_.clear();
    hdr_vb_to_nits_map_10_.clear();
    hdr_vb_to_nits_map_100_.clear();
    initialized_ = false;
    dimming_enabled_ = false;
    dimming_scale_ = 1.0;
  }
  return 0;
}

bool BackLightNitsImp::CheckInitialized(const char* function) const {
  if (!initialized_) {
    Log().Error("BackLightNitsImp::%s: Implementation not initialized", function);
  }
  return initialized_;
}

int BackLightNitsImp::SetParameter(BLNitsParams param, const GenericPayload& payload) BLNITS_NOEXCEPT {
  const std::lock_guard<std::mutex> guard(lock_);
  if (!CheckInitialized(__func__)) {
    return -EINVAL;
  }
  const auto handler = set_param_funcs_.find(param);
  if (handler == set_param_funcs_.end()) {
    Log().Error("BackLightNitsImp::%s: setparameter not supported %d", __func__, param);
    return -EOPNOTSUPP;
  }
  return (this->*handler->second)(payload);
}

int BackLightNitsImp::GetParameter(BLNitsParams param, GenericPayload* payload) BLNITS_NOEXCEPT {
  const std::lock_guard<std::mutex> guard(lock_);
  if (!CheckInitialized(__func__)) {
    return -EINVAL;
  }
  if (payload == nullptr) {
    Log().Error("BackLightNitsImp::%s: output parameter is invalid", __func__);
    return -EINVAL;
  }
  const auto handler = get_param_funcs_.find(param);
  if (handler == get_param_funcs_.end()) {
    Log().Error("BackLightNitsImp::%s: getparameter not supported %d", __func__, param);
    return -EOPNOTSUPP;
  }
  return (this->*handler->second)(payload);
}

int BackLightNitsImp::ProcessOps(BLNitOps op, const GenericPayload& in, GenericPayload* out) BLNITS_NOEXCEPT {
  const std::lock_guard<std::mutex> guard(lock_);
  if (!CheckInitialized(__func__)) {
    return -EINVAL;
  }
  if (out == nullptr) {
    Log().Error("BackLightNitsImp::%s: output parameter is invalid", __func__);
    return -EINVAL;
  }
  const auto handler = process_ops_funcs_.find(op);
  if (handler == process_ops_funcs_.end()) {
    Log().Error("BackLightNitsImp::%s: processops not supported %d", __func__, op);
    return -EOPNOTSUPP;
  }
  return (this->*handler->second)(in, out);
}

int BackLightNitsImp::GetBlGamma(GenericPayload* payload) { return parser_->GetParameter(kBLGamma, payload); }

int BackLightNitsImp::GetBlRange(GenericPayload* payload) { return parser_->GetParameter(kBLRange, payload); }

int BackLightNitsImp::GetPccThresh(GenericPayload* payload) { return parser_->GetParameter(kBLPccThresh, payload); }

int BackLightNitsImp::GetBlNitsMapping10Percent(GenericPayload* payload) {
  return parser_->GetParameter(kBLNitsMapping10Percent, payload);
}

int BackLightNitsImp::GetBlNitsMapping100Percent(GenericPayload* payload) {
  return parser_->GetParameter(kBLNitsMapping100Percent, payload);
}

int BackLightNitsImp::GetBlHdrNitsMapping10Percent(GenericPayload* payload) {
  return parser_->GetParameter(kBLHdrNitsMapping10Percent, payload);
}

int BackLightNitsImp::GetBlHdrNitsMapping100Percent(GenericPayload* payload) {
  return parser_->GetParameter(kBLHdrNitsMapping100Percent, payload);
}

}  // namespace zarn
