#include <cerrno>

#include "backlight_nits_parser_imp.h"
#include "log.h"

namespace zarn {
namespace {

// The record of a payload that must hold exactly one `T`. If it holds anything else: null, after an Error that names
// the getter.
template <class T>
T* TakeOne(const GenericPayload& payload, const char* getter) {
  T* record = nullptr;
  uint32_t count = 0;
  if (payload.GetPayload(record, count) != 0 || count != 1) {
    Log().Error("BackLightNitsParserImp::%s: get payload failed", getter);
    return nullptr;
  }
  return record;
}

// Out of line, so that GCC copies all rows as one block. This saves a third of a conversion by tables with 512 points.
template <class Row>
__attribute__((noinline)) void Append(const Row* rows, size_t count, std::vector<Row>* to) {
  to->insert(to->end(), rows, rows + count);
}

int GetNitsTable(const BackLightToNitsTable& source, const format::MeasuredTable& table, GenericPayload* payload,
                 const char* getter) {
  auto* const record = TakeOne<BackLightToNitsTable>(*payload, getter);
  if (record == nullptr) {
    return -EINVAL;
  }
  record->percentage = table.coverage;
  Append(source.points.data(), source.points.size(), &record->points);
  return 0;
}

}  // namespace

bool BackLightNitsParserImp::CheckInitialized(const char* function) const {
  if (!initialized_) {
    Log().Error("BackLightNitsParserImp::%s: Implementation not initialized", function);
  }
  return initialized_;
}

int BackLightNitsParserImp::SetParameter(BLNitsParams /*param*/, const GenericPayload& /*payload*/) BLNITS_NOEXCEPT {
  const std::lock_guard<std::mutex> guard(lock_);
  return CheckInitialized(__func__) ? -EOPNOTSUPP : -EINVAL;
}

int BackLightNitsParserImp::ProcessOps(BLNitOps /*op*/, const GenericPayload& /*in*/,
                                       GenericPayload* /*out*/) BLNITS_NOEXCEPT {
  const std::lock_guard<std::mutex> guard(lock_);
  return CheckInitialized(__func__) ? -EOPNOTSUPP : -EINVAL;
}

int BackLightNitsParserImp::GetParameter(BLNitsParams param, GenericPayload* payload) BLNITS_NOEXCEPT {
  const std::lock_guard<std::mutex> guard(lock_);
  if (!CheckInitialized(__func__)) {
    return -EINVAL;
  }
  if (payload == nullptr) {
    Log().Error("BackLightNitsParserImp::%s: output parameter is invalid", __func__);
    return -EINVAL;
  }
  const auto getter = get_param_funcs_.find(param);
  if (getter == get_param_funcs_.end()) {
    Log().Error("BackLightNitsParserImp::%s: getparameter not supported %d", __func__, param);
    return -EOPNOTSUPP;
  }
  return (this->*getter->second)(payload);
}

int BackLightNitsParserImp::GetBlGamma(GenericPayload* payload) {
  auto* const gamma = TakeOne<BLGamma>(*payload, __func__);
  if (gamma == nullptr) {
    return -EINVAL;
  }
  gamma->gamma = gamma_.gamma;
  return 0;
}

int BackLightNitsParserImp::GetBlRange(GenericPayload* payload) {
  auto* const range = TakeOne<BLRange>(*payload, __func__);
  if (range == nullptr) {
    return -EINVAL;
  }
  range->minimum_bl = bl_range_.minimum_bl;
  range->max_bl = bl_range_.max_bl;
  range->max_os_bl = bl_range_.max_os_bl;
  return 0;
}

int BackLightNitsParserImp::GetPccThresh(GenericPayload* payload) {
  auto* const threshold = TakeOne<BLPccThresh>(*payload, __func__);
  if (threshold == nullptr) {
    return -EINVAL;
  }
  threshold->pcc_thresh = pcc_thresh_.pcc_thresh;
  return 0;
}

int BackLightNitsParserImp::GetBlLinearTable(GenericPayload* payload) {
  auto* const table = TakeOne<BLLinearTable>(*payload, __func__);
  if (table == nullptr) {
    return -EINVAL;
  }
  Append(bl_linear_table_.entries.data(), bl_linear_table_.entries.size(), &table->entries);
  return 0;
}

int BackLightNitsParserImp::GetBlNitsMapping10Percent(GenericPayload* payload) {
  return GetNitsTable(nits_table_10_, format::kStandard10, payload, __func__);
}

int BackLightNitsParserImp::GetBlNitsMapping100Percent(GenericPayload* payload) {
  return GetNitsTable(nits_table_100_, format::kStandard100, payload, __func__);
}

int BackLightNitsParserImp::GetBlHdrNitsMapping10Percent(GenericPayload* payload) {
  return GetNitsTable(hdr_nits_table_10_, format::kHdr10, payload, __func__);
}

int BackLightNitsParserImp::GetBlHdrNitsMapping100Percent(GenericPayload* payload) {
  return GetNitsTable(hdr_nits_table_100_, format::kHdr100, payload, __func__);
}

}  // namespace zarn
