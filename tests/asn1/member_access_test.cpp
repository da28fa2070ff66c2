// Members of a record by their offset, held in it or by a pointer.
#include "asn1/member_access.h"

#include <gtest/gtest.h>

namespace qex::test {
namespace {

struct Sample {
  AsnInt inPlace;
  AsnInt* byPointer;
};

Field field_at(size_t offset, Held held) {
  Field f{};
  f.offset = uint32_t(offset);
  f.held = held;
  return f;
}

TEST(MemberAccess, SlotIsTheMemberItself) {
  Sample record{};
  const Sample& unchanged = record;
  EXPECT_EQ(SlotOf(&record, field_at(offsetof(Sample, inPlace), Held::Inline)), &record.inPlace);
  EXPECT_EQ(SlotOf(&unchanged, field_at(offsetof(Sample, byPointer), Held::Pointer)), &record.byPointer);
}

TEST(MemberAccess, ValueOfAPointerIsWhatItPointsTo) {
  AsnInt value = 7;
  Sample record{1, &value};
  const Sample& unchanged = record;
  const Field inPlace = field_at(offsetof(Sample, inPlace), Held::Inline);
  const Field byPointer = field_at(offsetof(Sample, byPointer), Held::Pointer);
  EXPECT_EQ(ValueOf(&record, inPlace), &record.inPlace);
  EXPECT_EQ(ValueOf(&unchanged, inPlace), &record.inPlace);
  EXPECT_EQ(ValueOf(&record, byPointer), &value);
  EXPECT_EQ(ValueOf(&unchanged, byPointer), &value);
}

TEST(MemberAccess, NullPointerHasNoValue) {
  Sample record{};
  EXPECT_EQ(ValueOf(&record, field_at(offsetof(Sample, byPointer), Held::Pointer)), nullptr);
}

TEST(MemberAccess, StoredPointerIsLoaded) {
  AsnInt value = 7;
  Sample record{};
  StorePointer(&record.byPointer, &value);
  EXPECT_EQ(record.byPointer, &value);
  EXPECT_EQ(LoadPointer(&record.byPointer), &value);
}

}  // namespace
}  // namespace qex::test
