#include "client.h"

namespace {

using zarn::GenericPayload;

// Clients are compiled with these layouts. A change breaks them.
#if defined(__LP64__) && defined(__GLIBCXX__)
static_assert(sizeof(GenericPayload) == 64);
static_assert(offsetof(PayloadLayout, data) == 8 && offsetof(PayloadLayout, count) == 16);
static_assert(offsetof(PayloadLayout, release) == 24 && offsetof(PayloadLayout, copied) == 56);

// Clients are built separately: on LP64, every record stays as it is, field by field.
template <class Record>
constexpr bool HasSize(size_t size) {
  return sizeof(Record) == size && offsetof(Record, size) == 0;
}
static_assert(HasSize<zarn::BLRange>(16) && offsetof(zarn::BLRange, minimum_bl) == 4);
static_assert(offsetof(zarn::BLRange, max_bl) == 8 && offsetof(zarn::BLRange, max_os_bl) == 12);
static_assert(HasSize<zarn::BLGamma>(16) && offsetof(zarn::BLGamma, gamma) == 8);
static_assert(HasSize<zarn::BLPccThresh>(16) && offsetof(zarn::BLPccThresh, pcc_thresh) == 8);
static_assert(HasSize<zarn::BLLinearTable>(32) && offsetof(zarn::BLLinearTable, entries) == 8);
static_assert(sizeof(zarn::BlNitsPoint) == 16 && offsetof(zarn::BlNitsPoint, bl) == 0);
static_assert(offsetof(zarn::BlNitsPoint, nits) == 8);
static_assert(sizeof(zarn::BackLightCordinates) == 16 && offsetof(zarn::BackLightCordinates, x) == 0);
static_assert(offsetof(zarn::BackLightCordinates, y) == 8);
static_assert(HasSize<zarn::BackLightToNitsTable>(32) && offsetof(zarn::BackLightToNitsTable, percentage) == 4);
static_assert(offsetof(zarn::BackLightToNitsTable, points) == 8);
static_assert(HasSize<zarn::BlBackLight>(16) && offsetof(zarn::BlBackLight, percentage) == 4);
static_assert(offsetof(zarn::BlBackLight, bl) == 8 && offsetof(zarn::BlBackLight, hdr) == 12);
static_assert(HasSize<zarn::BlNitsValue>(32) && offsetof(zarn::BlNitsValue, percentage) == 4);
static_assert(offsetof(zarn::BlNitsValue, bl) == 8 && offsetof(zarn::BlNitsValue, nits) == 16);
static_assert(offsetof(zarn::BlNitsValue, hdr) == 24);
static_assert(HasSize<zarn::BLDimmingStatus>(8) && offsetof(zarn::BLDimmingStatus, enabled) == 4);
static_assert(HasSize<zarn::BLDimmingScale>(16) && offsetof(zarn::BLDimmingScale, scale) == 8);
static_assert(HasSize<zarn::DimmingLuts>(32) && offsetof(zarn::DimmingLuts, bl_lut_sz) == 4);
static_assert(offsetof(zarn::DimmingLuts, dimming_bl_lut) == 8 && offsetof(zarn::DimmingLuts, pcc_lut_sz) == 16);
static_assert(offsetof(zarn::DimmingLuts, pcc_attn_lut) == 24);
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

/// Whether these members of a new record are 0, false, null or empty.
template <class Record, class... Members>
bool Empty(Members Record::*... members) {
  const Record record;
  const auto is_empty = [](const auto& member) {
    if constexpr (std::is_class_v<std::decay_t<decltype(member)>>) {
      return member.empty();
    } else {
      return member == std::decay_t<decltype(member)>{};
    }
  };
  return (is_empty(record.*members) && ...);
}

/// The same, and whether it begins with its own size.
template <class Record, class... Members>
bool EmptyWithSize(Members Record::*... members) {
  return Record().size == sizeof(Record) && Empty(members...);
}

TEST(Records, StartEmptyWithTheirOwnSize) {
  using namespace zarn;
  EXPECT_TRUE(EmptyWithSize(&BLRange::minimum_bl, &BLRange::max_bl, &BLRange::max_os_bl));
  EXPECT_TRUE(EmptyWithSize(&BLGamma::gamma));
  EXPECT_TRUE(EmptyWithSize(&BLPccThresh::pcc_thresh));
  EXPECT_TRUE(EmptyWithSize(&BLLinearTable::entries));
  EXPECT_TRUE(Empty(&BlNitsPoint::bl, &BlNitsPoint::nits));
  EXPECT_TRUE(Empty(&BackLightCordinates::x, &BackLightCordinates::y));
  EXPECT_TRUE(EmptyWithSize(&BackLightToNitsTable::percentage, &BackLightToNitsTable::points));
  EXPECT_TRUE(EmptyWithSize(&BlBackLight::percentage, &BlBackLight::bl, &BlBackLight::hdr));
  EXPECT_TRUE(EmptyWithSize(&BlNitsValue::percentage, &BlNitsValue::bl, &BlNitsValue::nits, &BlNitsValue::hdr));
  EXPECT_TRUE(EmptyWithSize(&BLDimmingStatus::enabled));
  EXPECT_TRUE(EmptyWithSize(&BLDimmingScale::scale));
  EXPECT_TRUE(EmptyWithSize(&DimmingLuts::bl_lut_sz, &DimmingLuts::dimming_bl_lut, &DimmingLuts::pcc_lut_sz,
                            &DimmingLuts::pcc_attn_lut));
}

}  // namespace
