// Moving the entries of a hashtable to another number of buckets.
//
// Bucket by bucket, putting would allocate and free two blocks for nearly every entry. So the old buckets' vectors
// serve again, and what is missing is allocated before anything is changed:
//
//  1. List the entries in the order of a walk. The vectors are spares from here on, linked by their capacity.
//  2. Find each entry's new bucket, and count there how many go to it. A new slot holds that count, as an odd number,
//     until it holds a vector.
//  3. Allocate the vectors that the spares fall short of. Only this, and allocating list and slots, can fail, and what
//     is then undone is the links of the spares.
//  4. Distribute the list, last entry first and appending: in each bucket the newest entry, which is the last of those
//     that come to it, then stands at index 0 as if each had been put there.
//  5. Free the spares that are left.
//
// A spare is linked through its allocator field, which is the same in all buckets.

#include "containers/hashtable_rebuild.h"

#include <cstring>

#include "containers/vector_slots.h"

namespace kiv::hashtable {
namespace {

/// An entry and the bucket to which it goes.
struct Move {
  void *entry;
  uint32_t bucket;
};

/// How far ahead of its use memory is fetched, in entries or buckets.
constexpr uint32_t kAhead = 12;

// Vectors that serve again are those with the capacities of buckets that have been given few entries.
constexpr uint32_t kCapacities[] = {1, 3, 6};
constexpr uint32_t kClasses = 3;
constexpr uint32_t kOther = 3;  // the class of all others: of larger ones, and of those that removals have shrunk
constexpr uint32_t kMostSmall = 6;
constexpr uint8_t kClassOfCount[kMostSmall + 2] = {kOther, 0, 1, 1, 2, 2, 2, kOther};
constexpr uint8_t kClassOfCapacity[kMostSmall + 2] = {kOther, 0, kOther, 1, kOther, kOther, 2, kOther};

// Counts in slots that have no vector yet: odd, as no vector's address is.
bool is_count(const void *slot) { return (reinterpret_cast<uintptr_t>(slot) & 1) != 0; }
uintptr_t count_in(const void *slot) { return reinterpret_cast<uintptr_t>(slot) / 2; }
void *slot_of_count(uintptr_t count) { return reinterpret_cast<void *>(2 * count + 1); }

/// An empty vector with the capacity that a bucket has after so many puts; null without memory.
KIV_VECTOR *make_vector(const KIV_HASHTABLE *table, uintptr_t count) {
  uint32_t room = 1;
  while (vector::capacity_for(room) < count) room = vector::capacity_for(room) + 1;
  KIV_VECTOR *made = kiv_vector_new(table->allocator, room, table->compare);
  if (made != nullptr) made->count = 0;
  return made;
}

class Rebuild {
 public:
  /// `after` has the new number of buckets, all null.
  Rebuild(KIV_HASHTABLE *after, Move *moves) : after_(after), slots_(after->buckets->elements), moves_(moves) {}

  bool list_entries(const KIV_VECTOR *old_buckets, uint32_t most);
  void count_entries();
  bool allocate();
  void undo(const KIV_VECTOR *old_buckets);
  void distribute();
  void free_spares();
  uint32_t entries() const { return entries_; }

 private:
  void push_spare(uint32_t spare_class, KIV_VECTOR *vector) {
    vector->allocator = reinterpret_cast<KIV_ALLOCATOR *>(spares_[spare_class]);
    spares_[spare_class] = vector;
  }
  KIV_VECTOR *pop_spare(uint32_t spare_class) {
    KIV_VECTOR *vector = spares_[spare_class];
    spares_[spare_class] = reinterpret_cast<KIV_VECTOR *>(vector->allocator);
    vector->allocator = after_->allocator;
    __builtin_prefetch(spares_[spare_class], 1);  // the next to be popped
    prefetch_elements(spares_[spare_class]);
    return vector;
  }
  KIV_VECTOR *pop_empty(uint32_t spare_class);
  bool allocate_large();

  KIV_HASHTABLE *after_;
  void **slots_;
  Move *moves_;
  uint32_t entries_ = 0;
  KIV_VECTOR *spares_[kClasses + 1] = {};
  uint32_t supply_[kClasses + 1] = {};  // spares of the old buckets
  uint32_t made_[kClasses] = {};        // spares above them on the lists
  uint32_t demand_[kClasses + 1] = {};
};

/// False when there are more than most entries, which puts that were no longer counted have brought.
bool Rebuild::list_entries(const KIV_VECTOR *old_buckets, uint32_t most) {
  void *const *slots = old_buckets->elements;
  const uint32_t count = old_buckets->count;
  for (uint32_t i = 0; i < count; ++i) {
    if (count - i > 2 * kAhead) __builtin_prefetch(slots[i + 2 * kAhead], 1);
    if (count - i > kAhead && slots[i + kAhead] != nullptr)
      __builtin_prefetch(static_cast<const KIV_VECTOR *>(slots[i + kAhead])->elements);
    auto *bucket = static_cast<KIV_VECTOR *>(slots[i]);
    if (bucket == nullptr) continue;
    if (bucket->count > most - entries_) return false;
    // Two slots are there in any case, and room for two: most buckets need no branch that nothing foretells.
    moves_[entries_].entry = bucket->elements[0];
    moves_[entries_ + 1].entry = bucket->elements[1];
    for (uint32_t k = 2; k < bucket->count; ++k) moves_[entries_ + k].entry = bucket->elements[k];
    entries_ += bucket->count;
    const uint32_t spare_class = kClassOfCapacity[std::min(bucket->capacity, kMostSmall + 1)];
    ++supply_[spare_class];
    push_spare(spare_class, bucket);
  }
  return true;
}

void Rebuild::count_entries() {
  uint32_t reached[kMostSmall + 3] = {};  // the buckets that have got at least so many entries, or one more than 7
  for (uint32_t i = 0; i < entries_; ++i) {
    if (entries_ - i > 2 * kAhead) __builtin_prefetch(moves_[i + 2 * kAhead].entry);
    if (entries_ - i > kAhead && after_->pair_mode != 0)
      __builtin_prefetch(static_cast<const KIV_HASHTABLE_PAIR *>(moves_[i + kAhead].entry)->key);
    const uint32_t bucket = bucket_of(after_, after_->key_of(moves_[i].entry));
    moves_[i].bucket = bucket;
    const uintptr_t count = count_in(slots_[bucket]) + 1;
    slots_[bucket] = slot_of_count(count);
    ++reached[std::min<uintptr_t>(count, kMostSmall + 2)];
  }
  for (uint32_t count = 1; count <= kMostSmall; ++count) {
    demand_[kClassOfCount[count]] += reached[count] - reached[count + 1];
  }
  demand_[kOther] = reached[kMostSmall + 1];
}

bool Rebuild::allocate_large() {
  for (uint32_t i = 0; i < after_->bucket_count; ++i) {
    if (count_in(slots_[i]) <= kMostSmall) continue;
    KIV_VECTOR *large = make_vector(after_, count_in(slots_[i]));
    if (large == nullptr) return false;
    slots_[i] = large;
  }
  return true;
}

bool Rebuild::allocate() {
  for (uint32_t k = 0; k < kClasses; ++k) {
    for (uint32_t have = supply_[k]; have < demand_[k]; ++have) {
      KIV_VECTOR *made = make_vector(after_, kCapacities[k]);
      if (made == nullptr) return false;
      push_spare(k, made);
      ++made_[k];
    }
  }
  return demand_[kOther] == 0 || allocate_large();
}

void Rebuild::undo(const KIV_VECTOR *old_buckets) {
  for (uint32_t k = 0; k < kClasses; ++k) {
    for (; made_[k] != 0; --made_[k]) kiv_vector_delete(pop_spare(k));
  }
  for (uint32_t i = 0; i < after_->bucket_count; ++i) {
    if (!is_count(slots_[i])) kiv_vector_delete(static_cast<KIV_VECTOR *>(slots_[i]));
  }
  for (uint32_t i = 0; i < old_buckets->count; ++i) {
    auto *bucket = static_cast<KIV_VECTOR *>(old_buckets->elements[i]);
    if (bucket != nullptr) bucket->allocator = after_->allocator;
  }
}

KIV_VECTOR *Rebuild::pop_empty(uint32_t spare_class) {
  KIV_VECTOR *vector = pop_spare(spare_class);
  vector->count = 0;
  switch (spare_class) {  // of sizes that the compiler knows
    case 0:
      std::memset(vector->elements, 0, (kCapacities[0] + 1) * sizeof(void *));
      break;
    case 1:
      std::memset(vector->elements, 0, (kCapacities[1] + 1) * sizeof(void *));
      break;
    default:
      std::memset(vector->elements, 0, (kCapacities[2] + 1) * sizeof(void *));
      break;
  }
  return vector;
}

void Rebuild::distribute() {
  for (uint32_t i = entries_; i-- > 0;) {
    if (i >= kAhead) __builtin_prefetch(&slots_[moves_[i - kAhead].bucket], 1);
    void *&slot = slots_[moves_[i].bucket];
    if (is_count(slot)) slot = pop_empty(kClassOfCount[count_in(slot)]);
    auto *bucket = static_cast<KIV_VECTOR *>(slot);
    bucket->elements[bucket->count++] = moves_[i].entry;
  }
}

void Rebuild::free_spares() {
  for (uint32_t k = 0; k <= kClasses; ++k) {
    while (spares_[k] != nullptr) kiv_vector_delete(pop_spare(k));
  }
}

}  // namespace

void rebuild(KIV_HASHTABLE *table, const uint32_t *size_entry) {
  KIV_ALLOCATOR *allocator = table->allocator;
  // There are mostly as many entries as puts were counted, or fewer; see list_entries for the other two.
  const uint64_t bytes = sizeof(Move) * (uint64_t{table->put_count} + 2);
  if (bytes > UINT32_MAX) return;
  KIV_HASHTABLE after = *table;
  after.buckets = kiv_vector_new(allocator, *size_entry, table->compare);
  if (after.buckets == nullptr) return;
  after.bucket_count = *size_entry;
  after.size_entry = size_entry;
  after.grow_threshold = traits_of(size_entry).grow_threshold;
  auto *moves = static_cast<Move *>(allocator->alloc(allocator, static_cast<uint32_t>(bytes)));
  KIV_VECTOR *unused = after.buckets;
  if (moves != nullptr) {
    Rebuild rebuild(&after, moves);
    bool ready = rebuild.list_entries(table->buckets, table->put_count);
    if (ready) {
      rebuild.count_entries();
      ready = rebuild.allocate();
    }
    if (ready) {
      rebuild.distribute();
      rebuild.free_spares();
      after.put_count = rebuild.entries();
      unused = table->buckets;
      *table = after;
    } else {
      rebuild.undo(table->buckets);
    }
  }
  kiv_vector_delete(unused);
  allocator->free(allocator, moves);
}

}  // namespace kiv::hashtable
