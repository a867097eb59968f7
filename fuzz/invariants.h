#pragma once

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "backlight_nits_client.h"
#include "calibration.h"
#include "holding.h"

namespace fuzz {

/// Ends the process and prints the invariant unless it holds.
void Require(bool holds, const char* invariant);

/// Whether both are equal, or both are NaN.
bool Same(double a, double b);
bool Same(const Points& a, const Points& b);

/// The process's only panel: its calibration file, in its own folder, and its engine. Every input uses it, because
/// engines live as long as the process. Every function that calls the engine checks the invariants of all files and all
/// calls.
class CheckedPanel {
 public:
  /// Makes the folder, in memory if the system can. Replaces the process's log handler by one that formats each line,
  /// to detect wrong arguments, and drops it.
  CheckedPanel();
  CheckedPanel(const CheckedPanel&) = delete;
  CheckedPanel& operator=(const CheckedPanel&) = delete;
  ~CheckedPanel();

  /// Writes the calibration file.
  void WriteFile(std::string_view text) const;
  void RemoveFile() const;

  int Init();
  /// Also checks that the engine then refuses every call.
  void Deinit();

  /// For calls without invariants in this class.
  zarn::BackLightNitsIntf& Engine() { return *client_.Engine(); }

  /// A parameter's record; empty if the engine refuses.
  template <class Record>
  std::optional<Record> Get(zarn::BLNitsParams param);

  /// Whether the engine accepts the value.
  bool SetDimming(bool enabled);
  bool SetScale(double scale);
  bool SetLuts(zarn::client::View<uint32_t> bl, zarn::client::View<double> pcc);

  /// One of the four measured tables; empty if the engine refuses.
  std::optional<Points> MeasuredTable(zarn::BLNitsParams param);

  /// The linear table of the file, from a parser. Init must accept the file.
  Levels SparseLinearTable() const;

  /// Conversions; empty if the engine refuses. The typed client must give the same answers. If the engine did not write
  /// `hdr` into its answer, the field is the opposite of the question's.
  std::optional<zarn::BlNitsValue> Nits(const zarn::BlBackLight& in);
  std::optional<zarn::BlNitsValue> Level(const zarn::BlNitsValue& in);

  /// Checks the dense linear table. \param sparse the table of the file.
  void CheckLinearTable(const Levels& sparse);

  /// Requires that dimming is off. Checks that conversions in both directions keep the first point of each measured
  /// table, and that results between the coverages lie between their values.
  void CheckMeasuredTables(const zarn::BLRange& range);

  /// Sets LUTs that change nothing, and checks that luminances differ only by the rounding to the panel's scale and
  /// back. Leaves dimming off, with these LUTs set.
  /// \return whether the engine has accepted the LUTs.
  bool CheckNeutralLuts(const zarn::BLRange& range);

 private:
  template <class In>
  std::optional<zarn::BlNitsValue> Convert(zarn::BLNitOps op, const In& in);
  template <class In>
  std::optional<zarn::BlNitsValue> ConvertRepeatedly(zarn::BLNitOps op, const In& in);
  void CheckBetweenCoverages(uint32_t bl, double nits, bool hdr);
  void SwitchDimming(bool enabled);
  void CheckCurve(uint32_t percentage, bool hdr);

  std::filesystem::path folder_;
  zarn::client::Panel client_;
};

/// Every byte of a record, to detect writes.
template <class Record>
std::array<unsigned char, sizeof(Record)> ImageOf(const Record& record) {
  std::array<unsigned char, sizeof(Record)> image;
  std::memcpy(image.data(), static_cast<const void*>(&record), sizeof(Record));
  return image;
}

/// Whether `call`, which fills `record`, succeeds. Checks that the result is a documented one and that a refused call
/// writes nothing.
template <class Record, class Call>
bool Answered(const Record& record, Call call) {
  const auto before = ImageOf(record);
  const int ret = call();
  Require(ret == 0 || ret == -EINVAL, "a getter and a conversion answer 0 or -22");
  Require(ret == 0 || ImageOf(record) == before, "a refused call leaves the output record as it was");
  return ret == 0;
}

template <class Record>
std::optional<Record> CheckedPanel::Get(zarn::BLNitsParams param) {
  constexpr uint32_t kSize = 12345;
  Holding<Record> out;
  out->size = kSize;
  if (!Answered(*out.record, [&] { return Engine().GetParameter(param, &out.payload); })) {
    return std::nullopt;
  }
  Require(out->size == kSize, "a getter leaves the size of the output record as it was");
  return *out.record;
}

}  // namespace fuzz
