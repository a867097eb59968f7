#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "backlight_nits_client.h"
#include "calibration.h"
#include "captured_log.h"
#include "holding.h"

constexpr bool kSanitized = BLNITS_SANITIZED;
constexpr bool kSlowed = BLNITS_SANITIZED || BLNITS_EMULATED;  ///< The tests take many times as long as elsewhere.

/// Captures the process's log during its lifetime.
class LogLines {
 public:
  /// Returns `outcome`, then " | <level> <text>" for each line since the last call. Class names are short:
  /// "-22 | E engine::Init: failed to create the parser".
  std::string With(std::string outcome);
  std::string With(int result) { return With(std::to_string(result)); }

 private:
  blnits::CapturedLog log_;
};

/// A copy of a parameter's record.
template <class Record>
std::unique_ptr<Record> Got(zarn::BackLightNitsIntf& component, zarn::BLNitsParams param) {
  Holding<Record> held;
  EXPECT_EQ(component.GetParameter(param, &held.payload), 0);
  return std::make_unique<Record>(*held.record);
}

/// The members of a payload, so that tests can set states that its functions do not allow.
struct PayloadLayout {
  uint32_t type_size;
  void* data;
  uint32_t count;
  alignas(std::function<void()>) char release[sizeof(std::function<void()>)];
  bool copied;
};

/// Writes a member of a payload or a record, even with a value that its type does not have.
template <class Object, class Value>
void Poke(Object* object, size_t offset, Value value) {
  std::memcpy(reinterpret_cast<char*>(object) + offset, &value, sizeof value);
}

/// The byte that holds a flag.
template <class Object>
int ByteAt(const Object& object, size_t offset) {
  return reinterpret_cast<const unsigned char*>(&object)[offset];
}

/// Makes an empty working folder; the destructor removes it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  const std::string& Path() const { return path_; }

 private:
  std::string before_;
  std::string path_;
};

void WriteFile(const std::string& path, const std::string& text);

/// A client with its own panel and engine (engines live as long as the process). Each call returns one text: the
/// answer, or the result if the call failed, followed by the log lines (LogLines::With).
class Client : public testing::Test {
 protected:
  /// Writes the panel's file.
  void Write(const std::string& text) { WriteFile(FileName(panel_), text); }

  /// Makes a new panel and initialises its engine.
  void Open(const Calibration& calibration);

  std::string Init() { return log_.With(engine_->Init()); }

  /// kBLToNits: "<nits>", with " hdr" if the engine wrote the flag. Adds an error text if a field was wrongly written
  /// or not written.
  std::string Nits(uint32_t bl, uint32_t percentage, bool hdr = false);

  /// kNitsToBL: "<level>", likewise. Also passes one payload as input and output and expects the same answer.
  std::string Level(double nits, uint32_t percentage, bool hdr = false);

  template <class Record>
  std::string Get(zarn::BLNitsParams param, Holding<Record>* out) {
    return log_.With(engine_->GetParameter(param, &out->payload));
  }
  template <class Record>
  std::string Set(zarn::BLNitsParams param, const Record& record) {
    return log_.With(engine_->SetParameter(param, Holding<Record>(record).payload));
  }
  std::string Dim(bool enabled);
  std::string SetLuts(const std::vector<uint32_t>& bl, const std::vector<double>& pcc);

  TemporaryFolder folder_;
  LogLines log_;
  std::string panel_;
  std::shared_ptr<zarn::BackLightNitsIntf> engine_;
};
