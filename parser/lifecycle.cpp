#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include "backlight_nits_parser_imp.h"
#include "calibration_file.h"
#include "log.h"

namespace zarn {
namespace {

// As opendir, which would allocate: an allocation that fails must not look like a missing directory.
bool DirectoryOpens(const std::string& path) {
  const int directory = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK);
  if (directory >= 0) {
    close(directory);
  }
  return directory >= 0;
}

}  // namespace

BackLightNitsParserImp::BackLightNitsParserImp(std::string panel_name) : panel_name_(std::move(panel_name)) {
  file_name_ = ChooseFile();
  Log().Info("BackLightNitsParserImp::%s: file_name %s", __func__, file_name_.c_str());
  FillTables();
}

BackLightNitsParserImp::BackLightNitsParserImp(CalibrationPath file) : file_name_(std::move(file.path)) {
  FillTables();
}

void BackLightNitsParserImp::FillTables() {
  using Imp = BackLightNitsParserImp;
  const std::pair<const char*, int (Imp::*)()> steps[] = {
      {"ParseTopNode", &Imp::ParseTopNode},
      {"ParseGamma", &Imp::ParseGamma},
      {"ParseBlRange", &Imp::ParseBlRange},
      {"ParsePccThresh", &Imp::ParsePccThresh},
      {"ParseLinearTable", &Imp::ParseLinearTable},
      {"ParseFullScreenNitsTable", &Imp::ParseFullScreenNitsTable},
      {"ParseOneTenthScreenNitsTable", &Imp::ParseOneTenthScreenNitsTable},
      {"ParseHdrFullScreenNitsTable", &Imp::ParseHdrFullScreenNitsTable},
      {"ParseHdrOneTenthScreenNitsTable", &Imp::ParseHdrOneTenthScreenNitsTable},
  };
  for (const auto& [name, step] : steps) {
    parse_steps_.emplace_back(name);
    parse_funcs_[name] = [this, step = step] { return (this->*step)(); };
  }

  get_param_funcs_ = {
      {kBLGamma, &Imp::GetBlGamma},
      {kBLRange, &Imp::GetBlRange},
      {kBLPccThresh, &Imp::GetPccThresh},
      {kBLLinearTable, &Imp::GetBlLinearTable},
      {kBLNitsMapping10Percent, &Imp::GetBlNitsMapping10Percent},
      {kBLNitsMapping100Percent, &Imp::GetBlNitsMapping100Percent},
      {kBLHdrNitsMapping10Percent, &Imp::GetBlHdrNitsMapping10Percent},
      {kBLHdrNitsMapping100Percent, &Imp::GetBlHdrNitsMapping100Percent},
  };
}

// The second directory counts only where the first exists, the third only where it does not.
std::string BackLightNitsParserImp::ChooseFile() const {
  const std::string name = format::kFilePrefix + panel_name_ + format::kFileSuffix;
  if (DirectoryOpens(xml_dirs_[0])) {
    const std::string vendor = xml_dirs_[0] + name;
    const std::string odm = xml_dirs_[1] + name;
    return !IsReadableFile(vendor) && IsReadableFile(odm) ? odm : vendor;
  }
  return DirectoryOpens(xml_dirs_[2]) ? xml_dirs_[2] + name : name;
}

int BackLightNitsParserImp::Init() BLNITS_NOEXCEPT {
  const std::lock_guard<std::mutex> guard(lock_);
  if (initialized_) {
    initialized_ = false;
    ClearParseredData();
  }
  const int ret = RunParseSteps();
  if (ret != 0) {
    ClearParseredData();
    return ret;
  }
  ReleaseDocument();
  initialized_ = true;
  return 0;
}

int BackLightNitsParserImp::RunParseSteps() {
  const char* const function = "Init";
  for (const std::string& name : parse_steps_) {
    const auto step = parse_funcs_.find(name);
    if (step == parse_funcs_.end()) {
      Log().Info("BackLightNitsParserImp::%s: %s: ret %d", function, name.c_str(), 0);
      continue;
    }
    const int ret = step->second();
    if (ret == -ENOENT) {
      Log().Warning("BackLightNitsParserImp::%s: %s: ret %d", function, name.c_str(), ret);
    } else if (ret != 0) {
      Log().Error("BackLightNitsParserImp::%s: %s: ret %d", function, name.c_str(), ret);
    }
    if (ret != 0) {
      return ret;
    }
  }
  return 0;
}

int BackLightNitsParserImp::ParseTopNode() {
  if (xml_doc_ != nullptr) {
    Log().Error("BackLightNitsParserImp::%s: document created already", __func__);
    return -EALREADY;
  }
  xml_doc_ = std::make_unique<tinyxml2::XMLDocument>();
  if (LoadCalibrationFile(file_name_, xml_doc_.get()).fault != LoadFault::kNone) {
    Log().Warning("BackLightNitsParserImp::%s: file not found %s", __func__, file_name_.c_str());
    ReleaseDocument();
    return -ENOENT;
  }
  top_node_ = xml_doc_->FirstChildElement();
  const std::string name = top_node_ != nullptr ? top_node_->Value() : "NULL";
  if (top_node_ == nullptr || name != format::kRoot) {
    Log().Error("BackLightNitsParserImp::%s: invalid group ptr %pK group name %s", __func__,
                static_cast<const void*>(top_node_), name.c_str());
    ReleaseDocument();
    return -EINVAL;
  }
  return 0;
}

void BackLightNitsParserImp::ClearParseredData() {
  ReleaseDocument();
  gamma_.gamma = 0.0;
  pcc_thresh_.pcc_thresh = 0.0;
  bl_range_.minimum_bl = 0;
  bl_range_.max_bl = 0;
  bl_range_.max_os_bl = 0;
  bl_linear_table_.entries.clear();
  nits_table_100_.points.clear();
  nits_table_10_.points.clear();
  hdr_nits_table_100_.points.clear();
  hdr_nits_table_10_.points.clear();
}

void BackLightNitsParserImp::ReleaseDocument() {
  top_node_ = nullptr;
  xml_doc_.reset();
}

int BackLightNitsParserImp::Deinit() BLNITS_NOEXCEPT {
  const std::lock_guard<std::mutex> guard(lock_);
  if (initialized_) {
    ClearParseredData();
    initialized_ = false;
  }
  return 0;
}

}  // namespace zarn
