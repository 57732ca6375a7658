// Vectors beside GLib's GPtrArray and std::vector, and sorting beside g_ptr_array_sort, std::sort and qsort_r.
//
// Pointers are sorted by the 64-bit keys of records that lie in another order in memory; arrays of values by their
// first 64 bits. Small arrays are many different ones: the branch predictor shall not learn them.

#include <glib.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <random>
#include <type_traits>
#include <vector>

#include "bench_support.h"
#include "kiv_qsort.h"
#include "kiv_vector.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

/// Every contestant calls this one through a pointer. Free of branches: a mispredicted one would hide the sort's cost.
[[gnu::noinline]] int compare_keys(const void *a, const void *b) {
  const uint64_t key_a = *static_cast<const uint64_t *>(a), key_b = *static_cast<const uint64_t *>(b);
  return (key_a > key_b) - (key_a < key_b);
}
[[gnu::noinline]] int compare_keys_with_context(const void *a, const void *b, void *) { return compare_keys(a, b); }
int compare_pointers(const void *a, const void *b) {
  return compare_keys(*static_cast<void *const *>(a), *static_cast<void *const *>(b));
}
[[gnu::noinline]] int compare_pointers_with_context(const void *a, const void *b, void *) {
  return compare_pointers(a, b);
}

KIV_ALLOCATOR heap;
using Pointers = std::vector<void *>;

// --- Contestants: arrays of pointers ---------------------------------------------------------------------------------

struct Ours {
  static constexpr const char *kName = "ours";
  Ours() = default;
  Ours(const Ours &) = delete;
  ~Ours() { kiv_vector_delete(vector); }
  void append(void *element) { kiv_vector_append(vector, element); }
  void insert(size_t index, void *element) { kiv_vector_insert(vector, static_cast<uint32_t>(index), element); }
  void sort() { kiv_vector_qsort(vector); }
  void **begin() { return vector->elements; }
  size_t size() const { return vector->count; }

  KIV_VECTOR *vector = kiv_vector_new(&heap, 0, compare_keys);
};

struct GlibArray {
  static constexpr const char *kName = "GPtrArray";
  GlibArray() = default;
  GlibArray(const GlibArray &) = delete;
  ~GlibArray() { g_ptr_array_free(array, TRUE); }
  void append(void *element) { g_ptr_array_add(array, element); }
  void insert(size_t index, void *element) { g_ptr_array_insert(array, static_cast<int>(index), element); }
  void sort() { g_ptr_array_sort(array, compare_pointers); }
  void **begin() { return array->pdata; }
  size_t size() const { return array->len; }

  GPtrArray *array = g_ptr_array_new();
};

struct StdVector {
  static constexpr const char *kName = "std::vector";
  void append(void *element) { vector.push_back(element); }
  void insert(size_t index, void *element) { vector.insert(vector.begin() + static_cast<ptrdiff_t>(index), element); }
  void sort() {
    int (*volatile given)(const void *, const void *) = compare_keys;
    std::sort(vector.begin(), vector.end(), [compare = given](void *a, void *b) { return compare(a, b) < 0; });
  }
  void **begin() { return vector.data(); }
  size_t size() const { return vector.size(); }

  Pointers vector;
};

struct LibcSort : StdVector {
  static constexpr const char *kName = "qsort_r";
  void sort() { qsort_r(vector.data(), vector.size(), sizeof(void *), compare_pointers_with_context, nullptr); }
};

// --- Work ------------------------------------------------------------------------------------------------------------

enum class Shape { random, sorted, reversed, equal, organ_pipe };
constexpr std::pair<Shape, const char *> kShapes[] = {{Shape::random, "random"},
                                                      {Shape::sorted, "sorted"},
                                                      {Shape::reversed, "reversed"},
                                                      {Shape::equal, "equal"},
                                                      {Shape::organ_pipe, "organ pipe"}};

uint64_t key_at(Shape shape, size_t i, size_t size, std::mt19937_64 &random) {
  switch (shape) {
    case Shape::random:
      return random();
    case Shape::sorted:
      return i;
    case Shape::reversed:
      return size - i;
    case Shape::equal:
      return 7;
    case Shape::organ_pipe:
      return std::min(i, size - i);
  }
  return 0;
}

/// Arrays of one size and shape, as pointers to records and as keys, and what they are when they are sorted.
struct Workload {
  Workload(Shape shape, size_t array_size) : size(array_size), keys(std::max<size_t>(1, kLeastElements / size)) {
    std::mt19937_64 random(size);
    std::vector<size_t> places(size);
    std::iota(places.begin(), places.end(), 0);
    for (auto &array : keys) {
      for (size_t i = 0; i < size; ++i) array.push_back(key_at(shape, i, size, random));
      std::shuffle(places.begin(), places.end(), random);
      records.emplace_back(size);
      for (size_t i = 0; i < size; ++i) {
        records.back()[places[i]] = {array[i]};
        pointers.resize(records.size());
        pointers.back().push_back(&records.back()[places[i]]);
      }
      sorted.push_back(array);
      std::sort(sorted.back().begin(), sorted.back().end());
    }
  }

  static constexpr size_t kLeastElements = 1 << 16;
  size_t size;
  std::vector<std::vector<uint64_t>> keys, sorted;
  std::vector<std::vector<std::array<uint64_t, 4>>> records;
  std::vector<Pointers> pointers;
};

template <class Array>
double time_append(const Workload &work) {
  double seconds = 0;
  for (const Pointers &pointers : work.pointers) {
    Array array;
    const Stopwatch stopwatch;
    for (void *element : pointers) array.append(element);
    seconds += stopwatch.seconds();
    require(std::equal(pointers.begin(), pointers.end(), array.begin()), Array::kName, "append");
  }
  return seconds;
}

constexpr size_t kInserts = 1000;

template <class Array>
double time_insert(const Workload &work) {
  const Pointers &pointers = work.pointers.front();
  Array array;
  for (void *element : pointers) array.append(element);
  const size_t middle = work.size / 2;
  const Stopwatch stopwatch;
  for (size_t i = 0; i < kInserts; ++i) array.insert(middle, pointers[i]);
  const double seconds = stopwatch.seconds();
  require(array.size() == work.size + kInserts && array.begin()[middle] == pointers[kInserts - 1] &&
              array.begin()[middle + kInserts] == pointers[middle],
          Array::kName, "insert");
  return seconds;
}

template <class Array>
double time_sort(const Workload &work) {
  double seconds = 0;
  for (size_t round = 0; round < work.pointers.size(); ++round) {
    Array array;
    for (void *element : work.pointers[round]) array.append(element);
    const Stopwatch stopwatch;
    array.sort();
    seconds += stopwatch.seconds();
    for (size_t i = 0; i < work.size; ++i) {
      require(*static_cast<uint64_t *>(array.begin()[i]) == work.sorted[round][i], Array::kName, "sort");
    }
  }
  return seconds;
}

/// Sorts arrays of elements of kWords words that begin with their keys.
template <size_t kWords, class Sort>
double time_array_sort(const Workload &work, const char *contestant, Sort sort) {
  double seconds = 0;
  for (size_t round = 0; round < work.keys.size(); ++round) {
    std::vector<std::array<uint64_t, kWords>> array(work.size);
    for (size_t i = 0; i < work.size; ++i) array[i][0] = array[i][kWords - 1] = work.keys[round][i];
    const Stopwatch stopwatch;
    sort(array.data(), work.size, sizeof array[0]);
    seconds += stopwatch.seconds();
    for (size_t i = 0; i < work.size; ++i) {
      require(array[i][0] == work.sorted[round][i] && array[i][kWords - 1] == array[i][0], contestant, "array sort");
    }
  }
  return seconds;
}

/// Adds a benchmark after one untimed round.
template <class Body>
void add(const std::string &operation, const Workload &work, const char *contestant, size_t operations, Body body) {
  if (work.size <= 1000) (void)body();
  const int iterations = work.size <= 1000 ? 3 : 1;
  kiv::bench::add(kiv::bench::name("vector", operation.c_str(), work.size, contestant), iterations, operations, body);
}

template <class Array>
void add_contestant(Shape shape, const char *shape_name, const Workload *work) {
  const size_t elements = work->size * work->keys.size();
  if constexpr (!std::is_same_v<Array, LibcSort>) {
    if (shape == Shape::random) {
      add("append", *work, Array::kName, elements, [work] { return time_append<Array>(*work); });
      add("insert", *work, Array::kName, kInserts, [work] { return time_insert<Array>(*work); });
    }
  }
  add(std::string("sort pointers, ") + shape_name, *work, Array::kName, elements,
      [work] { return time_sort<Array>(*work); });
}

template <size_t kWords>
void add_array_sorts(const char *shape_name, const Workload *work) {
  const std::string operation = "sort " + std::to_string(8 * kWords) + " bytes, " + shape_name;
  const size_t elements = work->size * work->keys.size();
  add(operation, *work, "ours", elements, [work] {
    return time_array_sort<kWords>(*work, "ours", [](void *base, size_t count, size_t size) {
      kiv_qsort(base, static_cast<int32_t>(count), static_cast<uint32_t>(size), compare_keys_with_context, nullptr);
    });
  });
  add(operation, *work, "qsort_r", elements, [work] {
    return time_array_sort<kWords>(*work, "qsort_r", [](void *base, size_t count, size_t size) {
      qsort_r(base, count, size, compare_keys_with_context, nullptr);
    });
  });
}

}  // namespace

int main(int argc, char **argv) {
  kiv::bench::keep_heap();
  kiv_allocator_default_new(&heap);
  std::vector<std::unique_ptr<Workload>> workloads;
  for (const size_t size : {1000, 100000, 1000000}) {
    for (const auto &[shape, shape_name] : kShapes) {
      const Workload *work = workloads.emplace_back(std::make_unique<Workload>(shape, size)).get();
      add_contestant<Ours>(shape, shape_name, work);
      add_contestant<GlibArray>(shape, shape_name, work);
      add_contestant<StdVector>(shape, shape_name, work);
      add_contestant<LibcSort>(shape, shape_name, work);
      add_array_sorts<1>(shape_name, work);
      add_array_sorts<3>(shape_name, work);
    }
  }
  return kiv::bench::run(argc, argv);
}
