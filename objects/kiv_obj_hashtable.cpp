// Object hashtables.

#include "kiv_obj_hashtable.h"

#include <utility>

#include "base/record_layout.h"
#include "objects/object_hashtable.h"

KIV_LAYOUT_32(sizeof(KIV_OBJ_HASHTABLE) == 36);
KIV_LAYOUT_32(offsetof(KIV_OBJ_HASHTABLE, buckets) == 16);
KIV_LAYOUT_32(offsetof(KIV_OBJ_HASHTABLE, bucket_count) == 20);
KIV_LAYOUT_32(offsetof(KIV_OBJ_HASHTABLE, load_factor) == 24);
KIV_LAYOUT_32(offsetof(KIV_OBJ_HASHTABLE, grow_threshold) == 28);
KIV_LAYOUT_32(offsetof(KIV_OBJ_HASHTABLE, count) == 32);

namespace kiv::object {
namespace {

void drop_index(KIV_OBJ *table) {
  buckets_of(as_hashtable(table))->index.drop(table->allocator, KeyIndex::State::absent);
}

void del(KIV_OBJ *object) {
  drop_index(object);
  release(&as_hashtable(object)->buckets->header);
  free_storage(object);
}

void shallow_del(KIV_OBJ *object) {
  drop_index(object);
  obj_vector_shallow_del(&as_hashtable(object)->buckets->header);
  free_storage(object);
}

/// The entry of a key that is the caller's and has one owner more for the time of the search.
KIV_OBJ *look_up(const KIV_OBJ *table, KIV_OBJ *key) {
  if (key == nullptr) return nullptr;
  ++key->extra_refs;
  KIV_OBJ *tuple = find_entry(as_hashtable(table), key);
  --key->extra_refs;
  return tuple;
}

/// The result cannot tell a failure, so that nobody else would release the tuple then.
int put_or_release(KIV_OBJ *table, KIV_OBJ *tuple, KeyIndex::Digest digest) {
  const Put put = put_entry(as_hashtable(table), tuple, digest);
  if (put == Put::failed) release(tuple);
  return put == Put::replaced ? 1 : 0;
}

}  // namespace

constinit KIV_OBJ_TYPE hashtable_type = {KIV_OBJ_KIND_HASHTABLE,
                                         sizeof(KIV_OBJ_HASHTABLE),
                                         obj_hashtable_to_char_s,
                                         obj_to_number_default,
                                         obj_hashtable_copy,
                                         obj_hashtable_cmp,
                                         del};

}  // namespace kiv::object

namespace object = kiv::object;
using object::as_hashtable;

// --- Making and deleting ---------------------------------------------------------------------------------------------

KIV_OBJ *obj_hashtable_new(KIV_ALLOCATOR *allocator, int32_t n, float load_factor) {
  auto *table = object::allocate<KIV_OBJ_HASHTABLE>(allocator, object::hashtable_type);
  if (table == nullptr) return nullptr;
  if (object::build_table(table, allocator, 0, n, load_factor)) return &table->header;
  object::free_storage(&table->header);
  return nullptr;
}

KIV_OBJ *obj_hashtable_new_automatic(KIV_ALLOCATOR *allocator, KIV_OBJ_HASHTABLE *storage, int32_t n,
                                     float load_factor) {
  return object::build_table(storage, allocator, 1, n, load_factor) ? &storage->header : nullptr;
}

void obj_hashtable_shallow_del(KIV_OBJ *table) {
  object::release_as(table, &object::hashtable_type, object::shallow_del);
}

// --- Entries ---------------------------------------------------------------------------------------------------------

int obj_hashtable_put(KIV_OBJ *table, KIV_OBJ *key, KIV_OBJ *value) {
  if (key != nullptr) {
    const object::KeyIndex::Digest digest = object::expect_put(as_hashtable(table), key);
    KIV_OBJ_TUPLE *tuple = object::make_tuple(table->allocator, 2);
    if (tuple != nullptr) {
      tuple->elements->elements[0] = key;
      tuple->elements->elements[1] = value;
      return object::put_or_release(table, &tuple->header, digest);
    }
  }
  object::release(key);
  object::release(value);
  return 0;
}

int obj_hashtable_put_pair(KIV_OBJ *table, KIV_OBJ *tuple) {
  const KIV_OBJ *key = object::key_of(tuple);
  if (key != nullptr) return object::put_or_release(table, tuple, object::expect_put(as_hashtable(table), key));
  object::release(tuple);
  return 0;
}

KIV_OBJ *obj_hashtable_get_elem(const KIV_OBJ *table, KIV_OBJ *key) {
  const KIV_OBJ *tuple = object::look_up(table, key);
  return tuple != nullptr ? object::tuple_element(tuple, 1) : nullptr;
}

KIV_OBJ *obj_hashtable_find_key(const KIV_OBJ *table, KIV_OBJ *key) {
  const KIV_OBJ *tuple = object::look_up(table, key);
  return tuple != nullptr ? object::key_of(tuple) : nullptr;
}

void obj_hashtable_del_elem(KIV_OBJ *table, KIV_OBJ *key) {
  if (key == nullptr) return;
  ++key->extra_refs;
  KIV_OBJ *tuple = object::take_entry(as_hashtable(table), key);
  --key->extra_refs;
  object::release(tuple);
}

KIV_OBJ *obj_hashtable_find_elem(const KIV_OBJ *table, const KIV_OBJ *value) {
  KIV_OBJ *found = nullptr;
  if (value == nullptr) return nullptr;
  (void)object::for_each_entry(as_hashtable(table), [&](const KIV_OBJ *tuple) {
    KIV_OBJ *stored = object::tuple_element(tuple, 1);
    if (object::equal(value, stored)) found = stored;
    return found == nullptr;
  });
  return found;
}

void obj_hashtable_foreach_key_elem(const KIV_OBJ *table, void *context, KIV_OBJ_VISIT function) {
  (void)object::for_each_entry(as_hashtable(table), [&](KIV_OBJ *tuple) {
    (void)function(context, tuple);
    return true;
  });
}

/// Of the buckets, not of the entries: what callers have always been told.
int obj_hashtable_is_empty(const KIV_OBJ *table) { return as_hashtable(table)->bucket_count == 0 ? 1 : 0; }

void obj_hashtable_clear(KIV_OBJ *table) {
  // A key's deletion may put into the table, even rebuild it: no index meanwhile, and each slot is looked up afresh.
  object::buckets_of(as_hashtable(table))->index.drop(table->allocator, object::KeyIndex::State::refused);
  for (uint32_t i = 0; i < as_hashtable(table)->bucket_count; ++i) {
    object::release(std::exchange(as_hashtable(table)->buckets->elements[i], nullptr));
  }
  object::drop_index(table);
}

// --- The operations of the kind --------------------------------------------------------------------------------------

KIV_OBJ *obj_hashtable_copy(const KIV_OBJ *table) {
  auto *copy = object::allocate<KIV_OBJ_HASHTABLE>(table->allocator, object::hashtable_type);
  if (copy == nullptr) return nullptr;
  const KIV_OBJ_HASHTABLE *original = as_hashtable(table);
  const KIV_OBJ header = copy->header;
  *copy = *original;
  copy->header = header;
  object::Buckets *buckets = object::make_buckets(table->allocator, original->bucket_count);
  if (buckets == nullptr) {
    object::free_storage(&copy->header);
    return nullptr;
  }
  copy->buckets = &buckets->vector;
  if (!object::copy_elements(copy->buckets, original->buckets)) {
    object::release(&copy->header);
    return nullptr;
  }
  if (object::buckets_of(original)->index.is_complete()) object::start_index(copy);
  return &copy->header;
}

int32_t obj_hashtable_cmp(const KIV_OBJ *a, const KIV_OBJ *b) {
  if (a == nullptr || b == nullptr) return 1;
  return obj_vector_cmp(&as_hashtable(a)->buckets->header, &as_hashtable(b)->buckets->header);
}
