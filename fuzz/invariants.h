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

/// Ends the process, and says which invariant does not hold.
void Require(bool holds, const char* invariant);

/// Equal, or both not a number.
bool Same(double a, double b);
bool Same(const Points& a, const Points& b);

/// A process's one panel, used for every input since engines live as long as the process: its calibration file, in a
/// folder of its own, and its engine. Every function that calls the engine requires what holds for every file and every
/// call.
class CheckedPanel {
 public:
  /// Makes the folder, in memory where the system has one for that, and replaces the process's log handler by one that
  /// formats every line, so that wrong arguments are found, and drops it.
  CheckedPanel();
  CheckedPanel(const CheckedPanel&) = delete;
  CheckedPanel& operator=(const CheckedPanel&) = delete;
  ~CheckedPanel();

  /// The calibration file.
  void WriteFile(std::string_view text) const;
  void RemoveFile() const;

  int Init();
  /// Also requires that everything is refused afterwards.
  void Deinit();

  /// For calls that need no invariant of this class.
  zarn::BackLightNitsIntf& Engine() { return *client_.Engine(); }

  /// A parameter's record; nothing when the engine refuses.
  template <class Record>
  std::optional<Record> Get(zarn::BLNitsParams param);

  /// Whether the engine takes the value.
  bool SetDimming(bool enabled);
  bool SetScale(double scale);
  bool SetLuts(zarn::client::View<uint32_t> bl, zarn::client::View<double> pcc);

  /// One of the four measured tables; nothing when the engine refuses.
  std::optional<Points> MeasuredTable(zarn::BLNitsParams param);

  /// The linearized table as the file gives it, from a parser. The file must be one that Init takes.
  Levels SparseLinearTable() const;

  /// Conversions, which the typed client must answer alike; nothing when the engine refuses. In an answer that the engine gave without writing `hdr`, that is the
  /// opposite of the question's.
  std::optional<zarn::BlNitsValue> Nits(const zarn::BlBackLight& in);
  std::optional<zarn::BlNitsValue> Level(const zarn::BlNitsValue& in);

  /// Asks for the dense linear table. \param sparse the table that the file gives.
  void CheckLinearTable(const Levels& sparse);

  /// While dimming is off: the first point of each measured table is kept in both directions, and what lies between the
  /// coverages is between their values.
  void CheckMeasuredTables(const zarn::BLRange& range);

  /// LUTs that change nothing make no difference to luminances but what is lost on the way to the panel's scale and
  /// back. Leaves dimming switched off, with these LUTs.
  /// \return whether the engine has taken the LUTs.
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

/// Every byte of a record, to see that nothing is written.
template <class Record>
std::array<unsigned char, sizeof(Record)> ImageOf(const Record& record) {
  std::array<unsigned char, sizeof(Record)> image;
  std::memcpy(image.data(), static_cast<const void*>(&record), sizeof(Record));
  return image;
}

/// Whether `call`, which fills `record`, is answered. Requires a documented result, and that a refusal writes nothing.
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
