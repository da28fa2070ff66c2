// The memory that a decoded value may take per octet of its encoding, worked out from the types.
//
// For each type the worst encoding is sought: the memory of its value, minus a number of bytes per octet. If
// that is positive for the element of a list, repeating the element exceeds the bound; if it is so for no
// list, a value takes at most that number per octet, plus a rest that no input changes. In an arena a field
// that a SET repeats counts like an element, as the earlier value stays.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "asn1/all_types.h"
#include "asn1/oids.h"
#include "ber/arena.h"
#include "tests/support/codec.h"
#include "tests/support/files.h"
#include "tests/support/heap_size.h"

namespace qex::test {
namespace {

constexpr double kNever = -INFINITY;
constexpr double kHeader = 2;  // octets of tag and length at the least

// The types that open types hold.
std::set<const Type*> open_types() {
  std::set<const Type*> types;
  for (const Registration& row : OpenTypeTable()) types.insert(row.type);
  return types;
}

// The block that a heap gives for a request.
using Heap = double (*)(size_t);
double as_asked(size_t n) {
  return double(n);
}
double with_overhead(size_t n) {
  return double(HeapSize(n));
}
double in_arena(size_t n) {
  const size_t parts = (std::max<size_t>(n, 1) + Arena::kAlignment - 1) / Arena::kAlignment;
  return double(parts * Arena::kAlignment);
}

class Bound {
 public:
  Bound(double bytesPerOctet, Heap heap) : rate_(bytesPerOctet), heap_(heap) {
    // What a decoding starts with, and what open types hold.
    for (const Type* type : kAllTypes) {
      if (type->top) add(*type);
    }
    for (const Type* type : open_) add(*type);
    // A value gains only through its parts, so each round settles one more level of nesting; a cycle that
    // gained at every turn would never settle.
    for (size_t round = 0; round <= types_.size(); ++round) {
      settled_ = true;
      for (const Type* type : types_) {
        const double now = worst_content(*type);
        settled_ = settled_ && now == contents_[type];
        contents_[type] = now;
      }
      if (settled_) return;
    }
  }

  bool settled() const { return settled_; }

  // dear_lists returns the names of the lists whose elements pass the bound.
  std::set<std::string> dear_lists() const {
    std::set<std::string> names;
    for (const Type* type : types_) {
      const bool list = type->kind == Kind::ListOf || type->kind == Kind::OpenList;
      if (list && element_of(*type) > 0) names.insert(type->name);
    }
    return names;
  }

  // dear_sets returns the names of the SETs that have a field which passes the bound when it is repeated.
  std::set<std::string> dear_sets() const {
    std::set<std::string> names;
    for (const Type* type : types_) {
      if (type->kind != Kind::Set) continue;
      for (const Field& f : type->fields) {
        if (field(f) > 0) names.insert(type->name);
      }
    }
    return names;
  }

 private:
  void add(const Type& type) {
    if (std::find(types_.begin(), types_.end(), &type) != types_.end()) return;
    types_.push_back(&type);
    contents_[&type] = kNever;
    for (const Field& f : type.fields) add(*f.type);
    for (const OpenShape& shape : type.shapes) add(*shape.type);
    if (type.element != nullptr) add(*type.element);
  }

  double header() const { return -kHeader * rate_; }
  double node() const { return heap_(sizeof(AsnListNode)); }

  // with_record is a value in a record of its own, with tag and length.
  double with_record(const Type& type) const { return heap_(type.size) + full(type); }

  // full is a value with tag and length; a CHOICE has those of its alternative.
  double full(const Type& type) const {
    if (type.kind == Kind::Any) return worst_open_value();
    return type.kind == Kind::Choice ? contents_.at(&type) : header() + contents_.at(&type);
  }

  double worst_open_value() const {
    double worst = kNever;
    for (const Type* type : open_) worst = std::max(worst, with_record(*type));
    return worst;
  }

  double field(const Field& f) const {
    const double record = f.held == Held::Pointer ? heap_(f.type->size) : 0;
    if (f.tagging == Tagging::Implicit) return record + header() + contents_.at(f.type);
    return record + full(*f.type) + (f.tagging == Tagging::Explicit ? header() : 0);
  }

  double element_of(const Type& list) const {
    if (list.kind == Kind::ListOf) return node() + with_record(*list.element);
    double worst = worst_open_value();
    for (const OpenShape& shape : list.shapes) worst = std::max(worst, with_record(*shape.type));
    return node() + heap_(sizeof(AsnAny)) + worst;
  }

  double worst_content(const Type& type) const {
    double worst = 0;
    switch (type.kind) {
      case Kind::Primitive:  // of no octets: a string takes a block even so
        return type.codec->free == nullptr ? 0 : heap_(1);
      case Kind::Any: return kNever;  // reached through its field
      case Kind::ListOf: return 0;    // of no elements
      case Kind::OpenList:            // of no elements, or a value in place of the SET
        for (const OpenShape& shape : type.shapes) {
          if (shape.place != ShapePlace::WholeSet) continue;
          const double value = heap_(shape.type->size) + contents_.at(shape.type);
          worst = std::max(worst, node() + heap_(sizeof(AsnAny)) + value);
        }
        return worst;
      case Kind::Choice:
        worst = kNever;
        for (const Field& f : type.fields) worst = std::max(worst, field(f));
        return worst;
      case Kind::Sequence:
      case Kind::Set:
        for (const Field& f : type.fields) {
          worst += f.need != Need::Mandatory ? std::max(0.0, field(f)) : field(f);
        }
        return worst;
    }
    return worst;
  }

  double rate_;
  Heap heap_;
  bool settled_ = false;
  const std::set<const Type*> open_ = open_types();
  std::vector<const Type*> types_;
  std::map<const Type*, double> contents_;
};

const std::set<std::string> kNone;

TEST(MemoryBound, IsFortyTwoBytesAnOctetAsAskedFor) {
  const Bound bound(42, as_asked);
  EXPECT_TRUE(bound.settled());
  EXPECT_EQ(bound.dear_lists(), kNone);
}

// As every export decodes. Chunks of the heap have next to no overhead.
TEST(MemoryBound, IsFortyTwoBytesAnOctetInAnArena) {
  const Bound bound(42, in_arena);
  EXPECT_TRUE(bound.settled());
  EXPECT_EQ(bound.dear_lists(), kNone);
  EXPECT_EQ(bound.dear_sets(), kNone);
}

TEST(MemoryBound, IsEightyBytesAnOctetInBlocksOfTheHeap) {
  const Bound bound(80, with_overhead);
  EXPECT_TRUE(bound.settled());
  EXPECT_EQ(bound.dear_lists(), kNone);
}

// Pointers of 32 bits take less.
TEST(MemoryBound, IsReached) {
  if (sizeof(void*) != 8) GTEST_SKIP() << "figures of 64 bits";
  EXPECT_EQ(Bound(41.9, as_asked).dear_lists(), (std::set<std::string>{"GeneralNames"}));
  EXPECT_EQ(Bound(41.9, in_arena).dear_lists(), (std::set<std::string>{"GeneralNames"}));
  EXPECT_EQ(Bound(79.9, with_overhead).dear_lists(), (std::set<std::string>{"AttributeValues"}));
}

}  // namespace
}  // namespace qex::test
