#include "client.h"

namespace {

using zarn::GenericPayload;

// Clients are compiled with these layouts. A change breaks them.
#if defined(__LP64__) && defined(__GLIBCXX__)
static_assert(sizeof(GenericPayload) == 64);
static_assert(offsetof(PayloadLayout, data) == 8 && offsetof(PayloadLayout, count) == 16);
static_assert(offsetof(PayloadLayout, release) == 24 && offsetof(PayloadLayout, copied) == 56);
#endif

/// Counts its living instances.
struct Counted {
  explicit Counted(int number = 7) : value(number) { ++alive; }
  Counted(const Counted& other) : Counted(other.value) {}
  Counted& operator=(const Counted&) = delete;
  ~Counted() { --alive; }

  static inline int alive = 0;
  int value;
};

TEST(Payload, OwnsOneRecordAndFreesItOnce) {
  const Counted source(8);
  for (const bool copy : {false, true}) {
    GenericPayload payload;
    Counted* held = nullptr;
    EXPECT_EQ(copy ? payload.CopyPayload(source) : payload.CreatePayload(held), 0);
    uint32_t count = 0;
    EXPECT_EQ(payload.GetPayload(held, count), 0);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(ByteAt(payload, offsetof(PayloadLayout, copied)), copy ? 1 : 0);
    EXPECT_EQ(held->value, copy ? 8 : 7);
    EXPECT_NE(held, &source);
    Counted* second = held;
    EXPECT_EQ(payload.CreatePayload(second), -114);
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(payload.CopyPayload(source), -114);
    EXPECT_EQ(Counted::alive, 2);
  }
  EXPECT_EQ(Counted::alive, 1);
}

// The output of a process without its own log handler.
TEST(Log, GoesToStandardErrorFromWarningOn) {
  testing::internal::CaptureStderr();
  display::debug_handler_->Error("%s %d", "one", 1);
  display::debug_handler_->Warning("two");
  display::debug_handler_->Info("three");
  display::debug_handler_->Debug("four");
  display::debug_handler_->Verbose("five");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "error: one 1\nwarning: two\n");
}

TEST(Payload, ChecksTheSizeAndThatARecordIsThere) {
  LogLines log;
  uint32_t count = 5;
  zarn::BLLinearTable own;
  zarn::BLLinearTable* table = &own;
  EXPECT_EQ(GenericPayload().GetPayload(table, count), -22);
  Holding<zarn::BLRange> held;
  EXPECT_EQ(held.payload.GetPayload(table, count), -22);
  zarn::BLDimmingStatus* smaller = nullptr;
  EXPECT_EQ(held.payload.GetPayload(smaller, count), -22);
  EXPECT_EQ(log.With("silent"), "silent");
  EXPECT_TRUE(table == &own && count == 5) << "untouched on failure";
  zarn::BLGamma* as_large = nullptr;
  Poke(&held.payload, offsetof(PayloadLayout, count), uint32_t{2});
  EXPECT_EQ(held.payload.GetPayload(as_large, count), 0);
  EXPECT_EQ(count, 2U) << "as it stands in the payload";

  GenericPayload lost;
  Poke(&lost, 0, uint32_t{sizeof(zarn::BLLinearTable)});
  EXPECT_EQ(log.With(lost.GetPayload(table, count)),
            "-12 | E GenericPayload::GetPayload:Payload was not properlycreated via CreatePayload");
  Poke(&lost, offsetof(PayloadLayout, copied), true);
  EXPECT_EQ(log.With(lost.GetPayload(table, count)),
            "-12 | E GenericPayload::GetPayload:Payload was not properlycopied via CopyPayload");
  display::DebugHandler* const handler = std::exchange(display::debug_handler_, nullptr);
  EXPECT_EQ(lost.GetPayload(table, count), -12) << "without a log";
  display::debug_handler_ = handler;
}

/// Whether a new record begins with its own size, and these members are 0, false, null or empty.
template <class Record, class... Members>
bool Empty(Members Record::*... members) {
  const Record record;
  return record.size == sizeof(Record) && ((record.*members == Members{}) && ...);
}

TEST(Records, StartEmptyWithTheirOwnSize) {
  using namespace zarn;
  EXPECT_TRUE(Empty(&BLRange::minimum_bl, &BLRange::max_bl, &BLRange::max_os_bl));
  EXPECT_TRUE(Empty(&BLGamma::gamma));
  EXPECT_TRUE(Empty(&BLPccThresh::pcc_thresh));
  EXPECT_TRUE(Empty(&BLLinearTable::entries));
  EXPECT_TRUE(Empty(&BackLightToNitsTable::percentage) && BackLightToNitsTable().points.empty());
  EXPECT_TRUE(Empty(&BlBackLight::percentage, &BlBackLight::bl, &BlBackLight::hdr));
  EXPECT_TRUE(Empty(&BlNitsValue::percentage, &BlNitsValue::bl, &BlNitsValue::nits, &BlNitsValue::hdr));
  EXPECT_TRUE(Empty(&BLDimmingStatus::enabled));
  EXPECT_TRUE(Empty(&BLDimmingScale::scale));
  EXPECT_TRUE(Empty(&DimmingLuts::bl_lut_sz, &DimmingLuts::dimming_bl_lut, &DimmingLuts::pcc_lut_sz,
                    &DimmingLuts::pcc_attn_lut));
  EXPECT_TRUE(BlNitsPoint().bl == 0 && BlNitsPoint().nits == 0.0);
  EXPECT_TRUE(BackLightCordinates().x == 0.0 && BackLightCordinates().y == 0.0);
}

}  // namespace
