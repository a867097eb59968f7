#pragma once

#include <tinyxml2.h>

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "backlight_nits_intf.h"
#include "calibration_format.h"
#include "noexcept.h"
#include "required_flags.h"
#include "thread_safety.h"

namespace zarn {

/// A path to a file of any name in any folder.
struct CalibrationPath {
  std::string path;
};

/// Reads one panel's calibration file and returns its values unchanged. The values are read-only.
class BackLightNitsParserImp : public BackLightNitsIntf {
 public:
  /// A parser without panel, steps and getters. Its `Init` succeeds and reads nothing.
  BackLightNitsParserImp() = default;

  /// Searches the directories for the calibration file of `panel_name`. Does not read it yet.
  explicit BackLightNitsParserImp(std::string panel_name);

  /// Uses the file at `file`'s path and searches no directory. Does not read it yet.
  explicit BackLightNitsParserImp(CalibrationPath file);

  int Init() BLNITS_NOEXCEPT override;
  int Deinit() BLNITS_NOEXCEPT override;
  int SetParameter(BLNitsParams param, const GenericPayload& payload) BLNITS_NOEXCEPT override;
  int GetParameter(BLNitsParams param, GenericPayload* payload) BLNITS_NOEXCEPT override;
  int ProcessOps(BLNitOps op, const GenericPayload& in, GenericPayload* out) BLNITS_NOEXCEPT override;

  /// The path of the calibration file that was chosen or given. Any thread.
  const std::string& FileName() const { return file_name_; }

  // Two steps of Init, for tests. No other call may be in progress.

  /// Loads the document and checks its root element.
  /// \return 0; -EALREADY if a document is already loaded, which stays; -ENOENT if there is no loadable file; -EINVAL
  /// if the root element is missing or has another name.
  int ParseTopNode() BLNITS_REQUIRES(lock_);

  /// Appends the points of a table element to `table`.
  /// \return 0, or -EINVAL: a list is missing or faulty, or an argument is null (without a log line).
  int BackLightsToNitsTableParse(tinyxml2::XMLElement* element, BackLightToNitsTable* table);

 private:
  // Lifecycle. All functions but the search for the file run with the lock held.
  std::string ChooseFile() const;
  void FillTables();
  int RunParseSteps() BLNITS_REQUIRES(lock_);
  void ClearParseredData() BLNITS_REQUIRES(lock_);
  void ReleaseDocument() BLNITS_REQUIRES(lock_);
  bool CheckInitialized(const char* function) const BLNITS_REQUIRES(lock_);

  // The other steps. They return 0 or -EINVAL, and need `top_node_`.
  int ParseGamma() BLNITS_REQUIRES(lock_);
  int ParseBlRange() BLNITS_REQUIRES(lock_);
  int ParsePccThresh() BLNITS_REQUIRES(lock_);
  int ParseLinearTable() BLNITS_REQUIRES(lock_);
  int ParseFullScreenNitsTable() BLNITS_REQUIRES(lock_);
  int ParseOneTenthScreenNitsTable() BLNITS_REQUIRES(lock_);
  int ParseHdrFullScreenNitsTable() BLNITS_REQUIRES(lock_);
  int ParseHdrOneTenthScreenNitsTable() BLNITS_REQUIRES(lock_);

  int ParseNitsTable(const format::MeasuredTable& table, BackLightToNitsTable* target, const char* step)
      BLNITS_REQUIRES(lock_);

  // The getters. They return 0, or -EINVAL if `payload` does not hold exactly the one record. They run with the lock
  // held.
  int GetBlGamma(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int GetBlRange(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int GetPccThresh(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int GetBlLinearTable(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int GetBlNitsMapping10Percent(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int GetBlNitsMapping100Percent(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int GetBlHdrNitsMapping10Percent(GenericPayload* payload) BLNITS_REQUIRES(lock_);
  int GetBlHdrNitsMapping100Percent(GenericPayload* payload) BLNITS_REQUIRES(lock_);

  // Constant after construction.
  std::string panel_name_;
  std::string file_name_;

  std::mutex lock_;

  // Guarded by the lock. The document exists only during Init.
  std::unique_ptr<tinyxml2::XMLDocument> xml_doc_ BLNITS_GUARDED_BY(lock_);
  tinyxml2::XMLElement* top_node_ BLNITS_GUARDED_BY(lock_) = nullptr;
  BLRange bl_range_ BLNITS_GUARDED_BY(lock_);
  BLGamma gamma_ BLNITS_GUARDED_BY(lock_);
  BLPccThresh pcc_thresh_ BLNITS_GUARDED_BY(lock_) = {sizeof(BLPccThresh), 1.0};
  BLLinearTable bl_linear_table_ BLNITS_GUARDED_BY(lock_);
  BackLightToNitsTable nits_table_100_ BLNITS_GUARDED_BY(lock_);
  BackLightToNitsTable nits_table_10_ BLNITS_GUARDED_BY(lock_);
  BackLightToNitsTable hdr_nits_table_100_ BLNITS_GUARDED_BY(lock_);
  BackLightToNitsTable hdr_nits_table_10_ BLNITS_GUARDED_BY(lock_);

  // Constant after construction.
  std::vector<std::string> parse_steps_;
  std::unordered_map<std::string, std::function<int()>> parse_funcs_;
  std::map<BLNitsParams, int (BackLightNitsParserImp::*)(GenericPayload*)> get_param_funcs_;

  // Guarded by the lock.
  bool initialized_ BLNITS_GUARDED_BY(lock_) = false;

  // Constant after construction.
  std::array<std::string, 3> xml_dirs_{"/vendor/etc/display/", "/odm/etc/display/", "/usr/data/display/"};
};

}  // namespace zarn
