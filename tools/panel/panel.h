#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "backlight_nits_client.h"
#include "calibration_format.h"
#include "panel/table_conversions.h"
#include "support/captured_log.h"
#include "support/failure.h"

namespace blnits {

/// The library does not load a calibration.
struct LoadFailure : Failure {
  LoadFailure(const std::string& what, std::string its_words) : Failure(what), words(std::move(its_words)) {}
  std::string words;  ///< The library's message, printable.
};

/// One panel's engine, ready to convert. If the library refuses a call, the function throws Failure with the file and
/// the library's reason, unless its comment says otherwise.
class Panel {
 public:
  /// Opens a panel. Each Panel has its own engine.
  /// \param argument a panel's name, or the path of a file of any name. It is a path if the file exists, if it contains
  /// a slash, or if it ends with ".xml". For a name, the library searches its folders.
  /// \param log the process's log handler; must outlive the panel.
  /// \throws LoadFailure if the library does not load the calibration.
  Panel(const std::string& argument, CapturedLog* log);

  /// Opens the file at `path`, whatever its name. \throws as above.
  static Panel FromFile(const std::string& path, CapturedLog* log);

  /// The panel's name.
  const std::string& Name() const { return name_; }

  /// The path of the calibration file, as given or as the library found it.
  const std::string& File() const { return file_; }

  /// A parameter's record.
  template <class Record>
  Record Get(zarn::BLNitsParams param) {
    zarn::client::Holding<Record> held;
    log_->Take();
    Check(client_->Engine()->GetParameter(param, &held.payload), "the parameter cannot be read");
    return std::move(*held.record);
  }

  /// The value of an attribute of the file.
  template <class Record, class Number>
  Number Get(const zarn::format::Attribute<Record, Number>& attribute) {
    return Get<Record>(attribute.param).*attribute.field;
  }

  /// The points of a measured table, in the order of the file. They live as long as the panel.
  const std::vector<zarn::BlNitsPoint>& PointsOf(const zarn::format::MeasuredTable& table);

  /// Sets the dimming LUTs. \throws also for a wrong number of entries: zarn::client::Panel::SetDimmingLuts.
  void SetDimmingLuts(const std::vector<uint32_t>& panel_levels, const std::vector<double>& attenuation);

  /// Switches dimming on.
  void SwitchDimmingOn();

  /// Luminance in nits of a client level at a coverage in per cent.
  double ToNits(uint32_t level, uint32_t coverage, bool hdr);

  /// Client level for a luminance in nits at a coverage in per cent.
  uint32_t ToLevel(double nits, uint32_t coverage, bool hdr);

  /// Like the two above, but empty if the library refuses; the log then has its reason. Until a parameter is set, the
  /// time grows with the logarithm of the number of measured points.
  std::optional<double> TryToNits(uint32_t level, uint32_t coverage, bool hdr);

  /// TryToNits() of each of `levels`; NaN where the library refuses. Much faster for levels that ascend.
  std::vector<double> TryToNits(const std::vector<uint32_t>& levels, uint32_t coverage, bool hdr);
  std::optional<uint32_t> TryToLevel(double nits, uint32_t coverage, bool hdr);

 private:
  struct Tables {
    uint32_t last_level;
    TableConversions standard;
    TableConversions high_brightness;
  };

  explicit Panel(CapturedLog* log) : log_(log) {}
  void OpenByName(const std::string& name);
  void OpenByPath(const std::string& path);
  int InitEngine();
  const Tables& MeasuredTables();
  const Tables* TablesFor(uint32_t coverage);
  template <class Value>
  std::optional<Value> Keep(const zarn::client::Result<Value>& answer);
  void CheckLoaded(int ret) const;
  void Check(int ret, const std::string& what) const;
  std::string Refusal(int ret, const std::string& what) const;

  CapturedLog* log_;
  int ret_ = 0;  // Result of the last conversion.
  std::string name_;
  std::string file_;
  std::string engine_name_;                    // The name given to zarn::MakeEngine.
  std::optional<zarn::client::Panel> client_;  // Set once the panel is open.
  bool ask_engine_ = false;                    // A parameter was set, so the answers may come from dimming maps.
  std::optional<Tables> tables_;               // Made on first use.
};

}  // namespace blnits
