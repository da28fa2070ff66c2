// AsnList: a doubly linked list whose nodes carry their element space inline.
//
// `first` and `last` are both null or both set, and `count` is the number of nodes between them.
#include "ber/list.h"

#include <algorithm>
#include <cstddef>

#include "ber/memory.h"

namespace qex {

namespace {

// Means "no neighbour", at an end of the list.
constexpr AsnListNode* kNoNode = nullptr;

// link_new_node puts a zeroed node between `prev` and `next`, either of which may be kNoNode, and makes it
// current.
void* link_new_node(AsnList* list, AsnListNode* prev, AsnListNode* next) {
  if (list->count == INT32_MAX) return nullptr;
  // Never smaller than the declared node, so that data[0] can always be read.
  const size_t space = size_t(std::max<int32_t>(list->dataSize, 0));
  const size_t bytes = std::max(sizeof(AsnListNode), offsetof(AsnListNode, data) + space);
  auto* node = static_cast<AsnListNode*>(AsnAlloc(bytes));
  if (node == nullptr) return nullptr;

  node->prev = prev;
  node->next = next;
  (prev == nullptr ? list->first : prev->next) = node;
  (next == nullptr ? list->last : next->prev) = node;
  list->curr = node;
  ++list->count;
  return node->data;
}

void* make_current(AsnList* list, AsnListNode* node) {
  list->curr = node;
  return AsnListCurr(list);
}

}  // namespace

AsnList* AsnListNew(int32_t dataSize) {
  auto* list = static_cast<AsnList*>(AsnAlloc(sizeof(AsnList)));
  if (list != nullptr) list->dataSize = dataSize;
  return list;
}

void AsnListInit(AsnList* list, int32_t dataSize) {
  *list = AsnList{};
  list->dataSize = dataSize;
}

void* AsnListAppend(AsnList* list) {
  return link_new_node(list, list->last, kNoNode);
}

void* AsnListPrepend(AsnList* list) {
  return link_new_node(list, kNoNode, list->first);
}

void* AsnListInsertAfter(AsnList* list) {
  AsnListNode* at = list->curr;
  return at == nullptr ? nullptr : link_new_node(list, at, at->next);
}

void* AsnListInsertBefore(AsnList* list) {
  AsnListNode* at = list->curr;
  return at == nullptr ? nullptr : link_new_node(list, at->prev, at);
}

AsnListNode* AsnListUnlinkCurrent(AsnList* list) {
  AsnListNode* node = list->curr;
  if (node == nullptr) return nullptr;
  (node->prev == nullptr ? list->first : node->prev->next) = node->next;
  (node->next == nullptr ? list->last : node->next->prev) = node->prev;
  list->curr = node->next;
  --list->count;
  return node;
}

void AsnListRemoveCurrent(AsnList* list) {
  AsnFree(AsnListUnlinkCurrent(list));
}

void* AsnListFirst(AsnList* list) {
  return make_current(list, list->first);
}

void* AsnListLast(AsnList* list) {
  return make_current(list, list->last);
}

void* AsnListNext(AsnList* list) {
  return make_current(list, list->curr == nullptr ? list->first : list->curr->next);
}

void* AsnListPrev(AsnList* list) {
  return make_current(list, list->curr == nullptr ? list->last : list->curr->prev);
}

void* AsnListCurr(const AsnList* list) {
  return list->curr == nullptr ? nullptr : list->curr->data;
}

int32_t AsnListCount(const AsnList* list) {
  return list->count;
}

AsnList* AsnListConcat(AsnList* l1, AsnList* l2) {
  if (l2->first == nullptr) return l1;
  if (l1->first == nullptr) {
    l1->first = l2->first;
    l1->curr = l2->first;
  } else {
    l1->last->next = l2->first;
    l2->first->prev = l1->last;
  }
  l1->last = l2->last;
  l1->count += l2->count;
  return l1;
}

int32_t AsnListIndexOf(const void* element, const AsnList* list) {
  int32_t position = 0;
  for (const AsnListNode* node = list->first; node != nullptr && node->data[0] != nullptr;
       node = node->next) {
    if (node->data[0] == element) return position;
    ++position;
  }
  return -1;
}

void AsnListFreeNodes(AsnList* list) {
  for (AsnListNode* node = list->first; node != nullptr;) {
    AsnListNode* next = node->next;
    AsnFree(node);
    node = next;
  }
  AsnListInit(list, list->dataSize);
}

void AsnListFree(AsnList* list) {
  if (list == nullptr) return;
  AsnListFreeNodes(list);
  AsnFree(list);
}

}  // namespace qex
