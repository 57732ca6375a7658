// Moving the entries of a hashtable to another number of buckets.
//
// Bucket by bucket, putting would allocate and free two blocks for nearly every entry. So the old buckets' vectors
// serve again, and what is missing is allocated before anything is changed:
//
//  1. List the entries in the order of a walk. The vectors are spares from here on, linked by their capacity.
//  2. Find each entry's new bucket, and count there how many go to it. A new slot holds that count, as an odd number,
//     until it holds a vector.
//  3. Allocate the vectors that the spares fall short of. Only this, and allocating list and slots, can fail; undoing
//  it
//     sets back the spares' links.
//  4. Distribute the list, last entry first and appending: in each bucket the newest entry, which is the last of those
//     that come to it, then stands at index 0 as if each had been put there.
//  5. Free the spares that are left.
//
// A spare is linked through its allocator field, which is the same in all buckets.

#include "containers/hashtable_rebuild.h"

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

// Vectors that serve again are those with the capacities that buckets of few entries have.
constexpr uint32_t kCapacities[] = {1, 3, 6};
constexpr uint32_t kClasses = 3;
constexpr uint32_t kOther =
    3;                         // the class of all other vectors: of larger ones, and of those that removals have shrunk
constexpr uint32_t kNone = 4;  // the class of no entries
constexpr uint32_t kMostSmall = 6;
constexpr uint8_t kClassOfCount[kMostSmall + 2] = {kNone, 0, 1, 1, 2, 2, 2, kOther};

uint32_t class_of_count(uintptr_t count) { return kClassOfCount[std::min<uintptr_t>(count, kMostSmall + 1)]; }

uint32_t class_of_capacity(uint32_t capacity) {
  return capacity == 1 ? 0 : capacity == 3 ? 1 : capacity == 6 ? 2 : kOther;
}

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

  void list_entries(const KIV_VECTOR *old_buckets);
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
  uint32_t demand_[kNone + 1] = {};
};

void Rebuild::list_entries(const KIV_VECTOR *old_buckets) {
  void *const *slots = old_buckets->elements;
  const uint32_t count = old_buckets->count;
  for (uint32_t i = 0; i < count; ++i) {
    if (count - i > kAhead) __builtin_prefetch(slots[i + kAhead], 1);
    auto *bucket = static_cast<KIV_VECTOR *>(slots[i]);
    if (bucket == nullptr) continue;
    for (uint32_t k = 0; k < bucket->count; ++k) moves_[entries_++].entry = bucket->elements[k];
    const uint32_t spare_class = class_of_capacity(bucket->capacity);
    ++supply_[spare_class];
    push_spare(spare_class, bucket);
  }
}

void Rebuild::count_entries() {
  for (uint32_t i = 0; i < entries_; ++i) {
    if (entries_ - i > kAhead) __builtin_prefetch(moves_[i + kAhead].entry);
    const uint32_t bucket = bucket_of(after_, after_->key_of(moves_[i].entry));
    moves_[i].bucket = bucket;
    const uintptr_t count = count_in(slots_[bucket]);
    slots_[bucket] = slot_of_count(count + 1);
    --demand_[class_of_count(count)];
    ++demand_[class_of_count(count + 1)];
  }
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
  if (spares_[spare_class] != nullptr) __builtin_prefetch(spares_[spare_class], 1);
  vector->count = 0;
  std::fill_n(vector->elements, kCapacities[spare_class] + 1, nullptr);
  return vector;
}

void Rebuild::distribute() {
  for (uint32_t i = entries_; i-- > 0;) {
    if (i >= kAhead) __builtin_prefetch(&slots_[moves_[i - kAhead].bucket], 1);
    void *&slot = slots_[moves_[i].bucket];
    if (is_count(slot)) slot = pop_empty(class_of_count(count_in(slot)));
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
  // There are as many entries as puts were counted, or fewer.
  const uint64_t bytes = sizeof(Move) * std::max<uint64_t>(table->put_count, 1);
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
    rebuild.list_entries(table->buckets);
    rebuild.count_entries();
    if (rebuild.allocate()) {
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
