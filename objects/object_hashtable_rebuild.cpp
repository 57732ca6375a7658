// Moving the entries of an object hashtable to more buckets.
//
// Put one by one they would cost a chain of cache misses each, and a bucket's vector freed or made for nearly every
// one. So the work goes in rounds over a list, in each of which what comes next is known and can be fetched ahead:
//
//  1. List the entries in the order of a walk.
//  2. Find each entry's new bucket, and count there how many go to it. A new slot holds that count as an address until
//     it holds a vector. Equal keys can have different numbers, like chars, whose numbers are their addresses, and meet
//     only now: the later entry of the list replaces the earlier one, as a put does. So unless an index proves that all
//     keys differ, entries are first chained by bucket, each compared with those before it, and then counted.
//  3. Find a vector for each new bucket with entries: an old bucket's where it is like new ones, else a new one. Only
//     this, and allocating list and slots, can fail, and nothing has been changed yet.
//  4. Empty the old buckets that serve again, and discard the others.
//  5. Distribute the list, last entry first and appending: in each bucket the newest entry, which is the last of those
//     that come to it, then stands at index 0 as if each had been put there.
//  6. When the table is in order, release the entries that were replaced: that may run foreign code.

#include "objects/object_hashtable.h"

namespace kiv::object {

namespace {

/// How far ahead of its use memory is fetched, in entries or buckets.
constexpr uint32_t kAhead = 8;

/// In place of the bucket of an entry that was replaced.
constexpr uint32_t kReplaced = UINT32_MAX;

/// An entry and the bucket to which it goes.
struct Move {
  KIV_OBJ *tuple;
  uint32_t bucket;
  uint32_t earlier;  ///< in a chain: 1 + the index of the entry before it in that bucket, or 0
};

uintptr_t count_in(const KIV_OBJ *slot) { return reinterpret_cast<uintptr_t>(slot); }
KIV_OBJ *as_count(uintptr_t count) { return reinterpret_cast<KIV_OBJ *>(count); }

uint32_t number_of(const KIV_OBJ *tuple) {
  const KIV_OBJ *key = key_of(tuple);
  return key != nullptr ? KeyIndex::digest(key).number : 0;
}

void prefetch_key(const KIV_OBJ *tuple) { __builtin_prefetch(key_of(tuple)); }

void prefetch_text(const KIV_OBJ *tuple) {
  const KIV_OBJ *key = key_of(tuple);
  if (key != nullptr && key->type == &unichar_s_type) {
    __builtin_prefetch(reinterpret_cast<const KIV_OBJ_UNICHAR_S *>(key)->value);
  }
}

void shallow_del(KIV_OBJ *object) { discard(as_vector(object)); }

/// Whether an old bucket can be a new one: nobody shares it, and it is as the first put makes one. An empty one is not
/// taken, so that those that are taken differ from new ones.
bool serves_again(KIV_OBJ *bucket) {
  return bucket != nullptr && as_vector(bucket)->count != 0 && bucket->extra_refs == 0 && bucket->automatic == 0 &&
         as_vector(bucket)->capacity == roomy(0) && has_slots_within(as_vector(bucket));
}

/// An empty vector with the capacity that a bucket has after so many puts; null without memory.
KIV_OBJ *make_bucket(KIV_ALLOCATOR *allocator, uintptr_t count) {
  KIV_OBJ_VECTOR *vector = make_vector(allocator, 0);
  if (vector == nullptr) return nullptr;
  uint64_t capacity = vector->capacity;
  while (capacity < count) capacity = roomy(static_cast<int64_t>(capacity) + 1);
  if (capacity == vector->capacity || set_capacity(vector, capacity)) return &vector->header;
  discard(vector);
  return nullptr;
}

class Rebuild {
 public:
  /// keys_differ: from one another, all of them.
  Rebuild(const KIV_OBJ_VECTOR *before, KIV_OBJ_HASHTABLE *after, Move *moves, bool keys_differ)
      : before_(before), after_(after), slots_(after->buckets->elements), moves_(moves), keys_differ_(keys_differ) {}

  void list_entries() {
    for (uint32_t i = 0; i < old_count(); ++i) {
      if (i + kAhead < old_count()) prefetch_vector(before_->elements[i + kAhead]);
      const KIV_OBJ_VECTOR *bucket = as_vector(before_->elements[i]);
      for (int32_t k = 0; bucket != nullptr && k < bucket->count; ++k) moves_[count_++].tuple = bucket->elements[k];
    }
    after_->count = count_;
  }

  void count_entries() {
    const auto ahead = [&](uint32_t i, uint32_t steps) {
      return moves_[std::min(i + steps * kAhead, count_ - 1)].tuple;
    };
    for (uint32_t i = 0; i < count_; ++i) {
      prefetch_vector(ahead(i, 3));
      prefetch_key(ahead(i, 2));
      prefetch_text(ahead(i, 1));
      moves_[i].bucket = number_of(moves_[i].tuple) % after_->bucket_count;
      KIV_OBJ *&slot = slots_[moves_[i].bucket];
      if (!keys_differ_) chain(i, static_cast<uint32_t>(count_in(slot)));
      slot = as_count(keys_differ_ ? count_in(slot) + 1 : i + uintptr_t{1});
    }
    if (!keys_differ_) count_chains();
  }

  bool find_vectors() {
    for (uint32_t i = 0; i < after_->bucket_count; ++i) {
      if (slots_[i] == nullptr) continue;
      const uintptr_t count = count_in(slots_[i]);
      KIV_OBJ *vector = count <= roomy(0) ? next_spare() : nullptr;
      slots_[i] = vector != nullptr ? vector : make_bucket(after_->header.allocator, count);
      if (slots_[i] != nullptr) continue;
      while (i-- > 0) {
        if (slots_[i] != nullptr && as_vector(slots_[i])->count == 0) discard(as_vector(slots_[i]));
      }
      return false;
    }
    return true;
  }

  void empty_old_buckets() {
    for (uint32_t i = 0; i < old_count(); ++i) {
      KIV_OBJ *bucket = before_->elements[i];
      if (i < spare_ && serves_again(bucket)) {
        std::fill_n(as_vector(bucket)->elements, as_vector(bucket)->count, nullptr);
        as_vector(bucket)->count = 0;
      } else if (bucket != nullptr) {
        release_as(bucket, &vector_type, shallow_del);
      }
    }
  }

  void distribute() {
    for (uint32_t i = count_; i-- > 0;) {
      if (i >= kAhead && moves_[i - kAhead].bucket != kReplaced) prefetch_vector(slots_[moves_[i - kAhead].bucket]);
      if (moves_[i].bucket == kReplaced) continue;
      KIV_OBJ_VECTOR *bucket = as_vector(slots_[moves_[i].bucket]);
      bucket->elements[bucket->count++] = moves_[i].tuple;
    }
  }

  void release_replaced() {
    for (uint32_t i = 0; i < count_; ++i) {
      if (moves_[i].bucket == kReplaced) release(moves_[i].tuple);
    }
  }

 private:
  uint32_t old_count() const { return static_cast<uint32_t>(before_->count); }

  /// Puts an entry at the end of a chain, and takes out the one that it replaces.
  void chain(uint32_t index, uint32_t last) {
    const KIV_OBJ *key = key_of(moves_[index].tuple);
    uint32_t *link = &(moves_[index].earlier = last);
    while (*link != 0) {
      Move &earlier = moves_[*link - 1];
      if (key != nullptr && equal(key, key_of(earlier.tuple))) {
        *link = earlier.earlier;
        earlier.bucket = kReplaced;
        return;
      }
      link = &earlier.earlier;
    }
  }

  void count_chains() {
    for (uint32_t i = 0; i < after_->bucket_count; ++i) {
      uintptr_t count = 0;
      for (auto at = count_in(slots_[i]); at != 0; at = moves_[at - 1].earlier) ++count;
      slots_[i] = as_count(count);
    }
  }

  KIV_OBJ *next_spare() {
    while (spare_ < old_count()) {
      KIV_OBJ *bucket = before_->elements[spare_++];
      if (serves_again(bucket)) return bucket;
    }
    return nullptr;
  }

  const KIV_OBJ_VECTOR *before_;
  KIV_OBJ_HASHTABLE *after_;
  KIV_OBJ **slots_;
  Move *moves_;
  bool keys_differ_;
  uint32_t count_ = 0;
  uint32_t spare_ = 0;  // the old buckets below it that can serve again do
};

}  // namespace

void rebuild(KIV_OBJ_HASHTABLE *table) {
  KIV_ALLOCATOR *allocator = table->header.allocator;
  KIV_OBJ_HASHTABLE larger;
  const auto n = static_cast<int32_t>(std::min<uint64_t>(uint64_t{table->grow_threshold} * 2, INT32_MAX));
  uint64_t entries = 0;
  (void)for_each_entry(table, [&](const KIV_OBJ *) { return ++entries != 0; });
  const uint64_t size = (entries + 1) * sizeof(Move);
  if (size > UINT32_MAX || !build_table(&larger, allocator, 0, n, table->load_factor)) return;
  auto *moves = static_cast<Move *>(allocator->alloc(allocator, static_cast<uint32_t>(size)));
  Rebuild work(table->buckets, &larger, moves, buckets_of(table)->index.is_complete());
  bool done = moves != nullptr;
  if (done) {
    work.list_entries();
    work.count_entries();
    done = work.find_vectors();
  }
  if (done) {
    work.empty_old_buckets();
    work.distribute();
    KeyIndex &index = buckets_of(&larger)->index = buckets_of(table)->index;
    index.reserve(allocator, index_room(&larger));
  }
  KIV_OBJ_VECTOR *unused = done ? table->buckets : larger.buckets;
  // The header too: callers know that a rebuilt table is neither automatic nor shared.
  if (done) *table = larger;
  release_as(&unused->header, &vector_type, shallow_del);
  if (done) work.release_replaced();
  if (moves != nullptr) allocator->free(allocator, moves);
}

}  // namespace kiv::object
