#pragma once

#include <memory>
#include <string>

#include "backlight_nits_factory_intf.h"
#include "captured_log.h"
#include "failure.h"

namespace blnits {

/// One panel's engine, ready to convert. Every function throws Failure with the file and the library's own reason when
/// the library refuses.
class Panel {
 public:
  /// Opens a panel.
  /// \param argument a panel's name, whose file is searched where the library searches; or a path to a file named
  /// backlight_calib_<panel>.xml, which is then the file that is read or a Failure. Text with a slash, or that ends
  /// with ".xml", is a path.
  /// \param log has been the process's log handler since before; outlives the panel.
  /// \throws UsageError when a path's file name is not of that form.
  Panel(const std::string& argument, CapturedLog* log);

  /// The panel's name.
  const std::string& Name() const { return name_; }

  /// The calibration file: the path that was given, or the one that the library found.
  const std::string& File() const { return file_; }

  /// A parameter's record.
  template <class Record>
  Record Get(zarn::BLNitsParams param) {
    zarn::GenericPayload payload;
    Record* record = nullptr;
    payload.CreatePayload(record);
    log_->Take();
    Check(engine_->GetParameter(param, &payload), "the parameter cannot be read");
    return *record;
  }

  /// Sets a parameter. \param failure says what has failed when the library refuses.
  template <class Record>
  void Set(zarn::BLNitsParams param, const Record& record, const std::string& failure) {
    zarn::GenericPayload payload;
    payload.CopyPayload(record);
    log_->Take();
    Check(engine_->SetParameter(param, payload), failure);
  }

  /// Luminance in nits of a client level at a coverage in per cent.
  double ToNits(uint32_t level, uint32_t coverage, bool hdr);

  /// Client level for a luminance in nits at a coverage in per cent.
  uint32_t ToLevel(double nits, uint32_t coverage, bool hdr);

 private:
  void OpenByPath(const std::string& path);
  int InitEngine(std::string* chosen_file);
  template <class In>
  zarn::BlNitsValue Process(zarn::BLNitOps op, const In& in, const std::string& failure);
  void Check(int ret, const std::string& what) const;

  CapturedLog* log_;
  std::string name_;
  std::string file_;
  std::shared_ptr<zarn::BackLightNitsIntf> engine_;
};

}  // namespace blnits
