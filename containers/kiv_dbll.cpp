// Doubly linked lists.
//
// The link that leads to a node is the next of the node before it, or of the head for the first node; the link back is
// the prev of the node behind it, or of the head for the last one. Head and nodes being one record, the neighbour on
// either side is always a record with the wanted field, and no operation has a case for the ends of the list.

#include "kiv_dbll.h"

#include <cstddef>

#include "base/record_layout.h"

KIV_LAYOUT_32(sizeof(KIV_DBLL_NODE) == 16 && offsetof(KIV_DBLL_NODE, next) == 0);
KIV_LAYOUT_32(offsetof(KIV_DBLL_NODE, data) == 4 && offsetof(KIV_DBLL_NODE, prev) == 8);
KIV_LAYOUT_32(offsetof(KIV_DBLL_NODE, owner) == 12);

namespace {

KIV_DBLL_NODE *node_or(KIV_DBLL_NODE *node, KIV_DBLL_NODE *head) { return node != nullptr ? node : head; }

}  // namespace

KIV_DBLL_NODE *kiv_dbll_init(KIV_DBLL_NODE *head) {
  head->next = nullptr;
  head->data = nullptr;
  head->prev = nullptr;
  head->owner = head;
  return head;
}

uint32_t kiv_dbll_count(const KIV_DBLL_NODE *element) {
  uint32_t count = 0;
  for (const KIV_DBLL_NODE *node = element->owner->next; node != nullptr; node = node->next) ++count;
  return count;
}

KIV_DBLL_NODE *kiv_dbll_get_element_by_index(const KIV_DBLL_NODE *element, int32_t index) {
  if (index < 0) return nullptr;
  KIV_DBLL_NODE *node = element->owner->next;
  for (; node != nullptr && index > 0; --index) node = node->next;
  return node;
}

KIV_DBLL_NODE *kiv_dbll_insert_after(KIV_DBLL_NODE *position, KIV_DBLL_NODE *node) {
  KIV_DBLL_NODE *const head = position->owner;
  node->owner = head;
  node->next = position->next;
  node->prev = position != head ? position : nullptr;
  position->next = node;
  node_or(node->next, head)->prev = node;
  return node;
}

KIV_DBLL_NODE *kiv_dbll_insert_before(KIV_DBLL_NODE *position, KIV_DBLL_NODE *node) {
  KIV_DBLL_NODE *const head = position->owner;
  node->owner = head;
  node->next = position != head ? position : nullptr;
  node->prev = position->prev;
  position->prev = node;
  node_or(node->prev, head)->next = node;
  return node;
}

KIV_DBLL_NODE *kiv_dbll_prepend(KIV_DBLL_NODE *element, KIV_DBLL_NODE *node) {
  return kiv_dbll_insert_after(element->owner, node);
}

void kiv_dbll_append(KIV_DBLL_NODE *element, KIV_DBLL_NODE *node) {
  (void)kiv_dbll_insert_before(element->owner, node);
}

void kiv_dbll_remove(KIV_DBLL_NODE *node) {
  node_or(node->next, node->owner)->prev = node->prev;
  node_or(node->prev, node->owner)->next = node->next;
}

KIV_DBLL_NODE *kiv_dbll_remove_and_all_previous(KIV_DBLL_NODE *node) {
  KIV_DBLL_NODE *const following = node->next;
  node->owner->next = following;
  // The head's prev, the last node, goes only with the last node.
  node_or(following, node->owner)->prev = nullptr;
  return following;
}

KIV_DBLL_NODE *kiv_dbll_remove_and_all_next(KIV_DBLL_NODE *node) {
  KIV_DBLL_NODE *const preceding = node->prev;
  node->owner->prev = preceding;
  node_or(preceding, node->owner)->next = nullptr;
  return preceding;
}

void *kiv_dbll_integrity_check(const KIV_DBLL_NODE *element) {
  // Volatile, lest the compiler leave out a walk without a result.
  const KIV_DBLL_NODE *volatile node = element->owner->next;
  while (node != nullptr) node = node->next;
  return nullptr;
}
