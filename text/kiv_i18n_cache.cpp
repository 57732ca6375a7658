// The handle and its texts by message.

#include <cstring>
#include <new>

#include "base/record_layout.h"
#include "kiv_i18n.h"
#include "text/message_index.h"
#include "text/message_output.h"
#include "text/message_syntax.h"

KIV_LAYOUT_32(sizeof(KIV_I18N_PAIR) == 8 && offsetof(KIV_I18N_PAIR, text) == 4);
KIV_LAYOUT_32(sizeof(KIV_I18N) == 20 && offsetof(KIV_I18N, mutex) == 4 && offsetof(KIV_I18N, table) == 8);
KIV_LAYOUT_32(offsetof(KIV_I18N, capacity) == 12 && offsetof(KIV_I18N, count) == 16);

namespace {

using namespace kiv::message;

/// What a handle is the beginning of.
struct Cache {
  KIV_I18N handle;
  MessageIndex index;
};

Cache *cache_of(KIV_I18N *handle) { return reinterpret_cast<Cache *>(handle); }

/// Writes the text of a message into room for as many units as the message has bytes, and the terminator: no escape is
/// shorter than what it stands for. False for a bad escape.
bool convert_message(const char *message, KIV_STRING text) {
  Parser<char> parser(message);
  Item<char> item;
  for (;;) {
    if (!parser.next_text(&item)) {
      // Nothing is replaced here: a placeholder stays visible, for its author to see.
      parser.skip_bracket();
      *text++ = '[';
    } else if (item.kind == Kind::text) {
      widen(item.text.units, item.text.length, text);
      text += item.text.length;
    } else if (item.kind == Kind::character) {
      *text++ = item.character;
    } else {
      *text = 0;
      return item.kind == Kind::end;
    }
  }
}

/// A copy of the message and its text; false when one of them cannot be made.
bool make_pair(KIV_ALLOCATOR *allocator, const Key &key, KIV_I18N_PAIR *pair) {
  if (!kiv::fits_block(uint64_t{key.length} + 1)) return false;
  pair->key = static_cast<char *>(allocator->alloc(allocator, key.length + 1));
  if (pair->key == nullptr) return false;
  std::memcpy(pair->key, key.bytes, key.length);
  pair->key[key.length] = 0;
  pair->text = kiv::allocate_units(allocator, uint64_t{key.length} + 1);
  if (pair->text != nullptr) {
    if (convert_message(pair->key, pair->text)) return true;
    allocator->free(allocator, pair->text);
  }
  allocator->free(allocator, pair->key);
  return false;
}

/// Makes room for one more pair.
bool reserve_pair(KIV_I18N *handle) {
  if (handle->count < handle->capacity) return true;
  const uint64_t capacity = 2 * uint64_t{handle->capacity} + 10;
  if (capacity > UINT32_MAX / sizeof(KIV_I18N_PAIR)) return false;
  void *table = handle->allocator->realloc(handle->allocator, handle->table,
                                           static_cast<uint32_t>(capacity * sizeof(KIV_I18N_PAIR)));
  if (table == nullptr) return false;
  handle->table = static_cast<KIV_I18N_PAIR *>(table);
  handle->capacity = static_cast<uint32_t>(capacity);
  return true;
}

/// The text of a message that was not found, made unless another thread has just done so. Under the mutex.
KIV_STRING find_or_add(Cache *cache, const Key &key) {
  if (KIV_STRING text = cache->index.find(key); text != nullptr) return text;
  KIV_I18N *handle = &cache->handle;
  KIV_I18N_PAIR pair;
  if (!cache->index.reserve() || !make_pair(handle->allocator, key, &pair)) return nullptr;
  if (!reserve_pair(handle)) {
    handle->allocator->free(handle->allocator, pair.text);
    handle->allocator->free(handle->allocator, pair.key);
    return nullptr;
  }
  handle->table[handle->count++] = pair;
  cache->index.insert({pair.key, key.length, key.hash}, pair.text);
  return pair.text;
}

[[gnu::noinline]] KIV_STRING add(Cache *cache, const Key &key) {
  if (kiv_mutex_take(&cache->handle.mutex) != 0) return nullptr;
  KIV_STRING text = find_or_add(cache, key);
  (void)kiv_mutex_give(&cache->handle.mutex);
  return text;
}

KIV_STRING get(KIV_I18N *handle, const char *message) {
  if (handle == nullptr || message == nullptr) return nullptr;
  const size_t length = std::strlen(message);
  if (length >= UINT32_MAX) return nullptr;
  const Key key = {message, static_cast<uint32_t>(length), hash_of(message, length)};
  KIV_STRING text = cache_of(handle)->index.find(key);
  return text != nullptr ? text : add(cache_of(handle), key);
}

}  // namespace

extern "C" {

KIV_I18N *kiv_i18n_prn_init(KIV_ALLOCATOR *allocator) {
  if (allocator == nullptr) return nullptr;
  void *block = allocator->alloc(allocator, sizeof(Cache));
  if (block == nullptr) return nullptr;
  auto *cache = new (block) Cache;
  cache->handle = {allocator, nullptr, nullptr, 1, 0};
  if (kiv_mutex_new(&cache->handle.mutex) == 0) {
    cache->handle.table = static_cast<KIV_I18N_PAIR *>(allocator->alloc(allocator, sizeof(KIV_I18N_PAIR)));
    if (cache->handle.table != nullptr) return &cache->handle;
    (void)kiv_mutex_delete(&cache->handle.mutex);
  }
  cache->~Cache();
  allocator->free(allocator, block);
  return nullptr;
}

void kiv_i18n_prn_exit(KIV_I18N *handle) {
  if (handle == nullptr) return;
  KIV_ALLOCATOR *allocator = handle->allocator;
  for (uint32_t i = 0; i < handle->count; ++i) {
    allocator->free(allocator, handle->table[i].key);
    allocator->free(allocator, handle->table[i].text);
  }
  allocator->free(allocator, handle->table);
  (void)kiv_mutex_delete(&handle->mutex);
  cache_of(handle)->~Cache();
  allocator->free(allocator, handle);
}

KIV_STRING kiv_i18n_get(KIV_I18N *handle, const char *message) { return get(handle, message); }

KIV_STRING kiv_i18n_get_en(KIV_I18N *handle, const char *message) { return get(handle, message); }

}  // extern "C"
