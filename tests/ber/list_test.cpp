// AsnList: order, current node and count after every operation.
#include "ber/list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

#include "ber/memory.h"
#include "tests/support/failing_alloc.h"

namespace qex::test {
namespace {

constexpr int32_t kPointer = sizeof(void*);

// Elements are the letters of a string; the list holds their addresses.
char letters[] = "abcdefghij";

void store(void* space, char letter) {
  ASSERT_NE(space, nullptr);
  *static_cast<char**>(space) = std::strchr(letters, letter);
}

char at(void* space) {
  return space == nullptr ? '-' : **static_cast<char**>(space);
}

// A list of letters that is freed with its header.
struct Letters {
  AsnList* list = AsnListNew(kPointer);
  explicit Letters(const char* text = "") {
    for (; *text != '\0'; ++text) store(AsnListAppend(list), *text);
  }
  ~Letters() { AsnListFree(list); }
  Letters(const Letters&) = delete;
  Letters& operator=(const Letters&) = delete;
};

// text_of walks the list in both directions and checks the links and the count.
std::string text_of(const AsnList* list) {
  std::string forward;
  for (AsnListNode* node = list->first; node != nullptr; node = node->next) forward += at(node->data);
  std::string backward;
  for (AsnListNode* node = list->last; node != nullptr; node = node->prev) backward += at(node->data);
  std::reverse(backward.begin(), backward.end());
  EXPECT_EQ(forward, backward);
  EXPECT_EQ(AsnListCount(list), int32_t(forward.size()));
  return forward;
}

TEST(AsnList, ANewListIsZeroButForTheSizeOfItsElements) {
  const Letters empty;
  EXPECT_EQ(empty.list->first, nullptr);
  EXPECT_EQ(empty.list->last, nullptr);
  EXPECT_EQ(empty.list->curr, nullptr);
  EXPECT_EQ(empty.list->count, 0);
  EXPECT_EQ(empty.list->dataSize, kPointer);

  AsnList inPlace;
  std::memset(&inPlace, 0xAA, sizeof inPlace);
  AsnListInit(&inPlace, 12);
  EXPECT_EQ(inPlace.first, nullptr);
  EXPECT_EQ(inPlace.curr, nullptr);
  EXPECT_EQ(inPlace.count, 0);
  EXPECT_EQ(inPlace.dataSize, 12);
}

TEST(AsnList, AppendAndPrependMakeTheNewNodeCurrent) {
  const Letters some("bc");
  EXPECT_EQ(at(AsnListCurr(some.list)), 'c');
  store(AsnListPrepend(some.list), 'a');
  EXPECT_EQ(at(AsnListCurr(some.list)), 'a');
  EXPECT_EQ(text_of(some.list), "abc");
}

TEST(AsnList, TheElementSpaceIsZeroedAndAsLargeAsAskedFor) {
  for (const int32_t size : {-1, 0, 1, 3, 100}) {
    AsnList* list = AsnListNew(size);
    auto* space = static_cast<unsigned char*>(AsnListAppend(list));
    ASSERT_NE(space, nullptr);
    for (int32_t i = 0; i < size; ++i) {
      EXPECT_EQ(space[i], 0);
      space[i] = 1;
    }
    AsnListFree(list);
  }
}

TEST(AsnList, ANodeHasRoomForAPointerHoweverSmallItsElement) {
  // AsnListIndexOf reads it in every node.
  for (const int32_t size : {-1, 0, 1}) {
    AsnList list;
    AsnListInit(&list, size);
    ForgetRequests();
    EXPECT_NE(AsnListAppend(&list), nullptr);
    EXPECT_EQ(LargestRequest(), 3 * sizeof(void*)) << size;
    AsnListFreeNodes(&list);
  }
}

TEST(AsnList, InsertingAtTheCurrentNode) {
  const Letters some("b");
  store(AsnListInsertAfter(some.list), 'd');
  EXPECT_EQ(text_of(some.list), "bd");
  EXPECT_EQ(at(AsnListCurr(some.list)), 'd');
  store(AsnListInsertBefore(some.list), 'c');
  EXPECT_EQ(text_of(some.list), "bcd");
  EXPECT_EQ(at(AsnListCurr(some.list)), 'c');
  AsnListFirst(some.list);
  store(AsnListInsertBefore(some.list), 'a');
  EXPECT_EQ(text_of(some.list), "abcd");
}

TEST(AsnList, InsertingWithoutACurrentNodeReturnsNull) {
  const Letters some("ab");
  some.list->curr = nullptr;
  EXPECT_EQ(AsnListInsertAfter(some.list), nullptr);
  EXPECT_EQ(AsnListInsertBefore(some.list), nullptr);
  EXPECT_EQ(text_of(some.list), "ab");
}

TEST(AsnList, RemovingTheCurrentNodeMakesTheNextOneCurrent) {
  const Letters some("abc");
  AsnListFirst(some.list);
  AsnListNext(some.list);
  AsnListRemoveCurrent(some.list);
  EXPECT_EQ(text_of(some.list), "ac");
  EXPECT_EQ(at(AsnListCurr(some.list)), 'c');
  AsnListRemoveCurrent(some.list);
  EXPECT_EQ(text_of(some.list), "a");
  EXPECT_EQ(AsnListCurr(some.list), nullptr);
  AsnListRemoveCurrent(some.list);  // without a current node: nothing
  EXPECT_EQ(text_of(some.list), "a");
  AsnListFirst(some.list);
  AsnListRemoveCurrent(some.list);
  EXPECT_EQ(text_of(some.list), "");
  EXPECT_EQ(some.list->last, nullptr);
}

TEST(AsnList, MovingThroughTheList) {
  const Letters some("abc");
  EXPECT_EQ(at(AsnListFirst(some.list)), 'a');
  EXPECT_EQ(at(AsnListNext(some.list)), 'b');
  EXPECT_EQ(at(AsnListNext(some.list)), 'c');
  EXPECT_EQ(AsnListNext(some.list), nullptr);
  EXPECT_EQ(at(AsnListNext(some.list)), 'a');
  EXPECT_EQ(AsnListPrev(some.list), nullptr);
  EXPECT_EQ(at(AsnListPrev(some.list)), 'c');
  EXPECT_EQ(at(AsnListPrev(some.list)), 'b');
  EXPECT_EQ(at(AsnListLast(some.list)), 'c');
  EXPECT_EQ(at(AsnListCurr(some.list)), 'c');
}

TEST(AsnList, MovingThroughAnEmptyList) {
  const Letters empty;
  EXPECT_EQ(AsnListFirst(empty.list), nullptr);
  EXPECT_EQ(AsnListLast(empty.list), nullptr);
  EXPECT_EQ(AsnListNext(empty.list), nullptr);
  EXPECT_EQ(AsnListPrev(empty.list), nullptr);
  EXPECT_EQ(AsnListCurr(empty.list), nullptr);
  EXPECT_EQ(AsnListCount(empty.list), 0);
}

TEST(AsnList, ConcatMovesTheNodesAndLeavesTheSecondListDescribingThem) {
  const Letters one("ab");
  AsnList two;
  AsnListInit(&two, kPointer);
  store(AsnListAppend(&two), 'c');
  store(AsnListAppend(&two), 'd');
  AsnListFirst(one.list);
  EXPECT_EQ(AsnListConcat(one.list, &two), one.list);
  EXPECT_EQ(text_of(one.list), "abcd");
  EXPECT_EQ(at(AsnListCurr(one.list)), 'a');
  EXPECT_EQ(at(AsnListFirst(&two)), 'c');
  EXPECT_EQ(two.count, 2);
}

TEST(AsnList, ConcatToAnEmptyListMakesTheFirstNodeCurrent) {
  const Letters one;
  AsnList two;
  AsnListInit(&two, kPointer);
  store(AsnListAppend(&two), 'c');
  store(AsnListAppend(&two), 'd');
  AsnListConcat(one.list, &two);
  EXPECT_EQ(text_of(one.list), "cd");
  EXPECT_EQ(at(AsnListCurr(one.list)), 'c');
}

TEST(AsnList, ConcatOfAnEmptyListChangesNothing) {
  const Letters one("ab");
  const Letters empty;
  const Letters none;
  AsnListConcat(one.list, empty.list);
  EXPECT_EQ(text_of(one.list), "ab");
  AsnListConcat(none.list, empty.list);
  EXPECT_EQ(text_of(none.list), "");
}

TEST(AsnList, IndexOfFindsThePositionAndLeavesTheCurrentNode) {
  const Letters some("abc");
  AsnListFirst(some.list);
  EXPECT_EQ(AsnListIndexOf(letters + 0, some.list), 0);
  EXPECT_EQ(AsnListIndexOf(letters + 2, some.list), 2);
  EXPECT_EQ(at(AsnListCurr(some.list)), 'a');
}

TEST(AsnList, IndexOfAnAbsentElementIsMinus1) {
  const Letters some("abc");
  const Letters empty;
  EXPECT_EQ(AsnListIndexOf(letters + 5, some.list), -1);
  EXPECT_EQ(AsnListIndexOf(letters, empty.list), -1);
}

TEST(AsnList, IndexOfStopsAtTheFirstNullPointer) {
  const Letters some("ab");
  ASSERT_NE(AsnListAppend(some.list), nullptr);  // its pointer stays null
  store(AsnListAppend(some.list), 'c');
  EXPECT_EQ(AsnListIndexOf(letters + 1, some.list), 1);
  EXPECT_EQ(AsnListIndexOf(letters + 2, some.list), -1);
  EXPECT_EQ(AsnListIndexOf(nullptr, some.list), -1);
}

TEST(AsnList, FailedAllocationLeavesTheListUnchanged) {
  const Letters some("ab");
  const FailingAlloc failing(0);
  EXPECT_EQ(AsnListNew(kPointer), nullptr);
  EXPECT_EQ(AsnListAppend(some.list), nullptr);
  EXPECT_EQ(AsnListPrepend(some.list), nullptr);
  EXPECT_EQ(AsnListInsertAfter(some.list), nullptr);
  EXPECT_EQ(AsnListInsertBefore(some.list), nullptr);
  EXPECT_EQ(text_of(some.list), "ab");
  EXPECT_EQ(at(AsnListCurr(some.list)), 'b');
}

TEST(AsnList, TheCountNeverWraps) {
  const Letters some("a");
  some.list->count = INT32_MAX;
  EXPECT_EQ(AsnListAppend(some.list), nullptr);
  some.list->count = 1;
}

TEST(AsnList, FreeingReleasesNodesAndHeaderButNoElements) {
  const long before = LiveBlocks();
  void* element = AsnAlloc(1);
  AsnList* list = AsnListNew(kPointer);
  *static_cast<void**>(AsnListAppend(list)) = element;
  ASSERT_NE(AsnListAppend(list), nullptr);
  AsnListFreeNodes(list);
  EXPECT_EQ(list->first, nullptr);
  EXPECT_EQ(list->curr, nullptr);
  EXPECT_EQ(list->count, 0);
  EXPECT_EQ(list->dataSize, kPointer);
  EXPECT_EQ(LiveBlocks(), before + 2);
  AsnListFree(list);
  EXPECT_EQ(LiveBlocks(), before + 1);
  AsnFree(element);
  AsnListFree(nullptr);
}

TEST(AsnList, FreeingAListReleasesItsNodes) {
  const long before = LiveBlocks();
  AsnList* list = AsnListNew(kPointer);
  ASSERT_NE(AsnListAppend(list), nullptr);
  ASSERT_NE(AsnListAppend(list), nullptr);
  EXPECT_GT(LiveBlocks(), before + 1);
  AsnListFree(list);
  EXPECT_EQ(LiveBlocks(), before);
}

TEST(AsnList, ElementsOfVisitsEveryElementInOrder) {
  const Letters some("bad");
  std::string seen;
  for (const char* letter : ElementsOf<char>(some.list)) seen += *letter;
  EXPECT_EQ(seen, "bad");
  for (const char* letter : ElementsOf<char>(nullptr)) FAIL() << letter;
  EXPECT_EQ(*FirstOf<char>(some.list), 'b');
  EXPECT_EQ(FirstOf<char>(nullptr), nullptr);
  const Letters empty;
  EXPECT_EQ(FirstOf<char>(empty.list), nullptr);
}

TEST(AsnList, RandomOperationsAgreeWithAVector) {
  std::mt19937 random(3);
  const Letters some;
  std::string model;
  size_t current = 0;  // model.size(): none
  for (int step = 0; step < 5000; ++step) {
    const char letter = letters[random() % 10];
    const bool none = current >= model.size();
    switch (random() % 7) {
      case 0:
        store(AsnListAppend(some.list), letter);
        model += letter;
        current = model.size() - 1;
        break;
      case 1:
        store(AsnListPrepend(some.list), letter);
        model.insert(model.begin(), letter);
        current = 0;
        break;
      case 2:
        if (none) break;
        store(AsnListInsertAfter(some.list), letter);
        model.insert(++current, 1, letter);
        break;
      case 3:
        if (none) break;
        store(AsnListInsertBefore(some.list), letter);
        model.insert(current, 1, letter);
        break;
      case 4:
      case 5:
        AsnListRemoveCurrent(some.list);
        if (!none) model.erase(current, 1);
        break;
      default: AsnListNext(some.list); current = none ? 0 : current + 1;
    }
    ASSERT_EQ(text_of(some.list), model);
    ASSERT_EQ(at(AsnListCurr(some.list)), current < model.size() ? model[current] : '-');
  }
}

}  // namespace
}  // namespace qex::test
