// Message handler lists: an AVL tree of handlers. Its engine is used directly, with the keys' order built in: adding
// goes down the tree once, and finds out whether the key is taken.
//
// Nothing of a handler is used after a call to the user's code: it may be gone then, so it is looked up anew by its
// key.

#include "kiv_msg_handler.h"

#include <cstring>

#include "base/record_layout.h"
#include "containers/avl_engine.h"

KIV_LAYOUT_32(sizeof(KIV_MSG_HANDLER_LIST) == 8 && offsetof(KIV_MSG_HANDLER_LIST, allocator) == 4);
KIV_LAYOUT_32(sizeof(KIV_MSG_HANDLER) == 40 && offsetof(KIV_MSG_HANDLER, key) == 16);
KIV_LAYOUT_32(offsetof(KIV_MSG_HANDLER, one_shot) == 24 && offsetof(KIV_MSG_HANDLER, callback) == 28);
KIV_LAYOUT_32(offsetof(KIV_MSG_HANDLER, context1) == 32 && offsetof(KIV_MSG_HANDLER, context2) == 36);

namespace avl = kiv::avl;

namespace {

uint64_t joined(uint32_t low, uint32_t high) { return uint64_t{high} << 32 | low; }

/// The third and fourth word. Messages lie where they arrived: a 64-bit number may be misaligned there.
uint64_t key_of_message(const void *message) {
  uint32_t words[4];
  std::memcpy(words, message, sizeof words);
  return joined(words[2], words[3]);
}

KIV_MSG_HANDLER *handler_of(void *value) { return static_cast<KIV_MSG_HANDLER *>(value); }

/// The order of a key in search and of stored handlers.
struct SearchOrder {
  uint64_t key;

  int operator()(const void *, const void *handler) const {
    const uint64_t other = static_cast<const KIV_MSG_HANDLER *>(handler)->key;
    return (key > other) - (key < other);
  }
};

/// The same for the tree's own operations, whose keys are handlers.
int compare_handlers(const void *key, const void *handler) {
  return SearchOrder{static_cast<const KIV_MSG_HANDLER *>(key)->key}(key, handler);
}

void free_handler(void *handler, void *allocator) {
  auto *record = static_cast<KIV_ALLOCATOR *>(allocator);
  record->free(record, handler);
}

KIV_MSG_HANDLER *find(const KIV_MSG_HANDLER_LIST *list, uint64_t key) {
  if (list == nullptr) return nullptr;
  return handler_of(avl::value_of(avl::find_node_by(list->handlers->root, nullptr, SearchOrder{key})));
}

/// Whether there was one.
bool remove_handler(KIV_MSG_HANDLER_LIST *list, uint64_t key) {
  if (list == nullptr) return false;
  KIV_MSG_HANDLER probe = {};
  probe.key = key;
  return avl::remove(list->handlers, &list->handlers->root, &probe, true) != nullptr;
}

/// What is replaced by what.
struct Replacement {
  KIV_MSG_CALLBACK old_callback;
  void *old_context2;
  KIV_MSG_CALLBACK callback;
  void *context2;
  uint32_t count = 0;

  bool is_candidate(const KIV_MSG_HANDLER &handler) const {
    return (old_callback == nullptr || old_callback == handler.callback) &&
           (old_context2 == nullptr || old_context2 == handler.context2);
  }

  void change(KIV_MSG_HANDLER *handler) {
    handler->callback = callback;
    handler->context2 = context2;
    ++count;
  }
};

int replace_candidate(void *handler, void *context) {
  auto *replacement = static_cast<Replacement *>(context);
  if (replacement->is_candidate(*handler_of(handler))) replacement->change(handler_of(handler));
  return 1;
}

/// Goes from key to key, since the filter may change the tree.
void replace_filtered(KIV_MSG_HANDLER_LIST *list, Replacement *replacement, KIV_MSG_HANDLER_FILTER filter,
                      void *argument) {
  KIV_MSG_HANDLER *handler = handler_of(avl::least(list->handlers->root));
  while (handler != nullptr) {
    const uint64_t key = handler->key;
    if (replacement->is_candidate(*handler)) {
      const auto low = static_cast<uint32_t>(key), high = static_cast<uint32_t>(key >> 32);
      if (filter(low, high, handler, handler->callback, handler->context1, handler->context2, argument) != 0) {
        handler = find(list, key);
        if (handler != nullptr) replacement->change(handler);
      }
    }
    handler =
        handler_of(avl::find_nearest_by<avl::Direction::above, false>(list->handlers->root, nullptr, SearchOrder{key}));
  }
}

}  // namespace

KIV_MSG_HANDLER_LIST *kiv_msg_handler_list_new(KIV_ALLOCATOR *allocator) {
  auto *list = static_cast<KIV_MSG_HANDLER_LIST *>(allocator->alloc(allocator, sizeof(KIV_MSG_HANDLER_LIST)));
  if (list == nullptr) return nullptr;
  list->handlers = kiv_avl_new_using_KIV_ALLOCATOR(allocator, compare_handlers, free_handler, allocator);
  list->allocator = allocator;
  if (list->handlers != nullptr) return list;
  allocator->free(allocator, list);
  return nullptr;
}

void kiv_msg_handler_list_del(KIV_MSG_HANDLER_LIST *list) {
  if (list == nullptr) return;
  (void)kiv_avl_destroy_tree(list->handlers);
  list->allocator->free(list->allocator, list);
}

int kiv_msg_handler_add2(KIV_MSG_HANDLER_LIST *list, const KIV_MSG_HANDLER_TEMPLATE *words, uint32_t key_low,
                         uint32_t key_high, KIV_MSG_CALLBACK callback, void *context1, void *context2) {
  if (list == nullptr) return 1;
  KIV_ALLOCATOR *allocator = list->allocator;
  auto *handler = static_cast<KIV_MSG_HANDLER *>(allocator->alloc(allocator, sizeof(KIV_MSG_HANDLER)));
  if (handler == nullptr) return 1;
  const uint64_t key = joined(key_low, key_high);
  *handler = {words != nullptr ? *words : KIV_MSG_HANDLER_TEMPLATE{}, key, 1, callback, context1, context2};
  if (!avl::reserve_node(list->handlers)) {
    allocator->free(allocator, handler);
    return 1;
  }
  avl::Path path;
  avl::Node **link = avl::descend_predicting(&list->handlers->root, nullptr, SearchOrder{key}, &path);
  if (*link == nullptr) {
    avl::link_value(list->handlers, link, handler);
    path.unwind(list->handlers);
  } else {
    // A taken key is no failure, as in the tree's own insert. The reserved node waits for the next handler.
    allocator->free(allocator, handler);
  }
  return 0;
}

int kiv_msg_handler_add(KIV_MSG_HANDLER_LIST *list, uint32_t key_low, uint32_t key_high, KIV_MSG_CALLBACK callback,
                        void *context1, void *context2) {
  return kiv_msg_handler_add2(list, nullptr, key_low, key_high, callback, context1, context2);
}

int kiv_msg_handler_set_remove(KIV_MSG_HANDLER_LIST *list, uint32_t key_low, uint32_t key_high, uint32_t one_shot) {
  KIV_MSG_HANDLER *handler = find(list, joined(key_low, key_high));
  if (handler == nullptr) return 1;
  handler->one_shot = one_shot;
  return 0;
}

int kiv_msg_handler_remove(KIV_MSG_HANDLER_LIST *list, uint32_t key_low, uint32_t key_high) {
  return remove_handler(list, joined(key_low, key_high)) ? 0 : 1;
}

uint32_t kiv_msg_handler_remove_all(KIV_MSG_HANDLER_LIST *list) {
  if (list == nullptr) return 0;
  uint32_t count = 0;
  for (; list->handlers->root != nullptr; ++count) kiv_avl_delete(list->handlers, list->handlers->root->value);
  return count;
}

int kiv_msg_handler_invoke_callback(KIV_MSG_HANDLER_LIST *list, void *message) {
  // The callback may overwrite the message, too.
  const uint64_t key = key_of_message(message);
  const KIV_MSG_HANDLER *found = find(list, key);
  if (found == nullptr) return 1;
  const KIV_MSG_HANDLER handler = *found;
  if (handler.callback != nullptr) handler.callback(message, handler.context1, handler.context2);
  if (handler.one_shot != 0) (void)remove_handler(list, key);
  return 0;
}

int kiv_msg_handler_return_context(KIV_MSG_HANDLER_LIST *list, const void *message, void **context1, void **context2) {
  KIV_MSG_HANDLER *handler = find(list, key_of_message(message));
  if (handler == nullptr) return 1;
  if (context1 != nullptr) *context1 = handler->context1;
  if (context2 != nullptr) *context2 = handler->context2;
  if (handler->one_shot != 0) kiv_avl_delete(list->handlers, handler);
  return 0;
}

uint32_t kiv_msg_handler_replace(KIV_MSG_HANDLER_LIST *list, KIV_MSG_CALLBACK callback, void *context2,
                                 KIV_MSG_CALLBACK new_callback, void *new_context2, KIV_MSG_HANDLER_FILTER filter,
                                 void *argument) {
  if (list == nullptr) return 0;
  Replacement replacement = {callback, context2, new_callback, new_context2};
  if (filter != nullptr) {
    replace_filtered(list, &replacement, filter, argument);
  } else {
    kiv_avl_sequential_walk(list->handlers, replace_candidate, &replacement);
  }
  return replacement.count;
}

uint32_t kiv_msg_handler_count(KIV_MSG_HANDLER_LIST *list) {
  return list != nullptr ? kiv_avl_count_nodes(list->handlers) : 0;
}
