// AsnList: the doubly linked list that holds every SEQUENCE OF and SET OF value.
//
// A node carries its element space inline; the codec keeps a pointer to the separately
// allocated element there (dataSize is then the size of a pointer). Operations without a caller in the
// library, such as AsnListConcat, are part of what this header offers.
#pragma once

#include <cstdint>

#include "ber/memory.h"

namespace qex {

struct AsnListNode {
  AsnListNode* prev;
  AsnListNode* next;
  void* data[1];  // the element space, dataSize bytes
};

struct AsnList {
  AsnListNode* first;
  AsnListNode* last;
  AsnListNode* curr;
  int32_t count;
  int32_t dataSize;
};

// AsnListNew returns an empty list, null when an allocation fails; AsnListInit empties an
// existing header. Nodes will have `dataSize` bytes of element space.
[[nodiscard]] AsnList* AsnListNew(int32_t dataSize);
void AsnListInit(AsnList* list, int32_t dataSize);

// Adding a node: it becomes the current one and its element space is returned; null when an allocation fails
// (or the list has 2^31 - 1 nodes), and from the two inserting at `curr` also when there is no current node.
[[nodiscard]] void* AsnListAppend(AsnList* list);
[[nodiscard]] void* AsnListPrepend(AsnList* list);
[[nodiscard]] void* AsnListInsertAfter(AsnList* list);
[[nodiscard]] void* AsnListInsertBefore(AsnList* list);

// AsnListAppendNew appends a node that holds a pointer, null at first, to the list that a decoder builds and
// returns its place. It is AsnListAppend for nodes of that size, allocates as AsnNew does, and raises
// kOutOfMemoryCode where that returns null.
[[nodiscard]] inline void** AsnListAppendNew(AsnList* list, AsnJmpEnv& env) {
  if (list->count == INT32_MAX) AsnRaise(env, kOutOfMemoryCode);
  auto* node = static_cast<AsnListNode*>(AsnNew(sizeof(AsnListNode), env));
  node->prev = list->last;
  (list->last == nullptr ? list->first : list->last->next) = node;
  list->last = node;
  list->curr = node;
  ++list->count;
  return node->data;
}

// AsnListUnlinkCurrent takes the current node out of the list and returns it, null when there is none; the
// node after it becomes current. AsnListRemoveCurrent frees it too, but nothing that its element points to.
AsnListNode* AsnListUnlinkCurrent(AsnList* list);
void AsnListRemoveCurrent(AsnList* list);

// Moving: each sets `curr` and returns its element space, or null. AsnListNext and
// AsnListPrev start at the first or last node when there is no current one.
void* AsnListFirst(AsnList* list);
void* AsnListLast(AsnList* list);
void* AsnListNext(AsnList* list);
void* AsnListPrev(AsnList* list);
[[nodiscard]] void* AsnListCurr(const AsnList* list);
[[nodiscard]] int32_t AsnListCount(const AsnList* list);

// AsnListConcat moves the nodes of `l2` after those of `l1` and returns `l1`; the current node
// of `l1` stays, or is its first one when it was empty. `l2` still
// describes the same nodes and is to be discarded without freeing them.
AsnList* AsnListConcat(AsnList* l1, AsnList* l2);

// AsnListIndexOf returns the position of the node whose stored pointer is `element`, or -1.
// The walk ends at the first node whose stored pointer is null. `curr` stays.
[[nodiscard]] int32_t AsnListIndexOf(const void* element, const AsnList* list);

// AsnListFreeNodes frees the nodes and empties the list; AsnListFree frees the header too.
// Elements are not freed.
void AsnListFreeNodes(AsnList* list);
void AsnListFree(AsnList* list);

// ElementsOf lets a range-for visit the element pointers of a list of `T`; a null list is empty.
template <class T>
class ElementsOf {
 public:
  explicit ElementsOf(const AsnList* list) : first_(list == nullptr ? nullptr : list->first) {}
  struct Iterator {
    const AsnListNode* node;
    T* operator*() const { return static_cast<T*>(node->data[0]); }
    Iterator& operator++() {
      node = node->next;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return node != other.node; }
  };
  Iterator begin() const { return {first_}; }
  Iterator end() const { return {nullptr}; }

 private:
  const AsnListNode* first_;
};

// FirstOf returns the first element of a list of `T`, or null.
template <class T>
[[nodiscard]] T* FirstOf(const AsnList* list) {
  return list == nullptr || list->first == nullptr ? nullptr : static_cast<T*>(list->first->data[0]);
}

}  // namespace qex
