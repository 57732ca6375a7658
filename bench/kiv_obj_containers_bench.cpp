// Object vectors and hashtables beside GLib's and the standard containers of variants. Objects, keys and values are
// made before the clock runs, and containers take them over. Keys look like the symbols of a program, or are numbers.
//
// A boxed number is an int object, a GValue on the heap, a std::variant. A name is a string object (32 bits a
// character), a char string (8 bits) for g_str_hash, a std::variant with a std::string.

#include <glib-object.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

#include "bench_support.h"
#include "kiv_obj_hashtable.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

// --- Contestants -----------------------------------------------------------------------------------------------------

struct Ours {
  static constexpr const char *kName = "ours";
  using Box = KIV_OBJ *;

  static KIV_ALLOCATOR *allocator() {
    static KIV_ALLOCATOR storage, *record = kiv_allocator_default_new(&storage);
    return record;
  }
  static Box box(int number) { return obj_int_new(allocator(), number); }
  static Box box(const std::string &name) {
    auto *units = static_cast<KIV_STRING>(std::calloc(name.size() + 1, sizeof(KIV_UNICHAR)));
    std::copy(name.begin(), name.end(), units);
    return obj_unichar_s_new(allocator(), units);
  }
  static void drop(Box object) { obj_vector_del(object); }

  struct Vector {
    ~Vector() { obj_vector_del(vector); }
    void add(Box object) { obj_vector_add_elem(vector, object); }
    int find(Box object) {
      int32_t index = -1;
      return obj_vector_find_elem(vector, &index, object) != nullptr ? index : -1;
    }
    KIV_OBJ *vector = obj_vector_new(allocator(), 0);
  };
  template <class Key>
  struct Table {
    ~Table() { obj_hashtable_del(table); }
    void put(Box key, Box value) { obj_hashtable_put(table, key, value); }
    int get(Box key) {
      const KIV_OBJ *value = obj_hashtable_get_elem(table, key);
      return value != nullptr ? obj_int_get(value) : -1;
    }
    KIV_OBJ *table = obj_hashtable_new(allocator(), 0, 0.75F);
  };
};

struct GLib {
  static constexpr const char *kName = "glib";
  using Box = void *;

  static Box box(int number) {
    auto *value = g_new0(GValue, 1);
    g_value_init(value, G_TYPE_INT);
    g_value_set_int(value, number);
    return value;
  }
  static Box box(const std::string &name) { return g_strdup(name.c_str()); }
  static void drop(Box box) { g_free(box); }
  static int number(const void *value) { return g_value_get_int(static_cast<const GValue *>(value)); }
  static guint hash(const void *value) { return static_cast<guint>(number(value)); }
  static gboolean equal(const void *a, const void *b) { return number(a) == number(b); }

  struct Vector {
    ~Vector() { g_ptr_array_free(array, TRUE); }
    void add(Box box) { g_ptr_array_add(array, box); }
    int find(Box box) {
      guint index = 0;
      return g_ptr_array_find_with_equal_func(array, box, equal, &index) != 0 ? static_cast<int>(index) : -1;
    }
    GPtrArray *array = g_ptr_array_new_with_free_func(g_free);
  };
  template <class Key>
  struct Table {
    static constexpr bool kNames = std::is_same_v<Key, std::string>;
    ~Table() { g_hash_table_destroy(table); }
    void put(Box key, Box value) { g_hash_table_insert(table, key, value); }
    int get(Box key) {
      const void *value = g_hash_table_lookup(table, key);
      return value != nullptr ? number(value) : -1;
    }
    GHashTable *table = g_hash_table_new_full(kNames ? g_str_hash : hash, kNames ? g_str_equal : equal, g_free, g_free);
  };
};

struct Standard {
  static constexpr const char *kName = "std::variant";
  using Box = std::variant<int, std::string>;

  static Box box(int number) { return number; }
  static Box box(const std::string &name) { return name; }
  static void drop(Box &) {}

  struct Vector {
    void add(Box &box) { vector.push_back(std::move(box)); }
    int find(const Box &box) {
      const auto found = std::find(vector.begin(), vector.end(), box);
      return found != vector.end() ? static_cast<int>(found - vector.begin()) : -1;
    }
    std::vector<Box> vector;
  };
  template <class Key>
  struct Table {
    void put(Box &key, Box &value) { map.insert_or_assign(std::move(key), std::move(value)); }
    int get(const Box &key) {
      const auto found = map.find(key);
      return found != map.end() ? std::get<int>(found->second) : -1;
    }
    std::unordered_map<Box, Box> map;
  };
};

// --- Work ------------------------------------------------------------------------------------------------------------

std::string symbol(std::mt19937_64 &random) {
  static const char *const words[] = {"avl",  "basic_string", "cache", "debug",  "find",  "get",   "handler", "insert",
                                      "list", "map",          "node",  "parser", "print", "queue", "symbol",  "tree"};
  std::string name = random() % 2 == 0 ? "kiv_" : "_ZN4llvm";
  for (size_t parts = 1 + random() % 4; parts > 0; --parts) name.append(words[random() % std::size(words)]) += '_';
  return name + std::to_string(random() % 100000);
}

/// Keys that differ, in random order; the second half is never stored.
template <class Key>
std::vector<Key> make_keys(size_t size) {
  std::mt19937_64 random(size);
  std::vector<Key> keys;
  while (keys.size() < 2 * size) {
    while (keys.size() < 2 * size) {
      if constexpr (std::is_same_v<Key, int>) {
        keys.push_back(static_cast<int>(random() >> 33));
      } else {
        keys.push_back(symbol(random));
      }
    }
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
  }
  std::shuffle(keys.begin(), keys.end(), random);
  return keys;
}

template <class Contestant, class Value>
std::vector<typename Contestant::Box> boxes(const std::vector<Value> &values, size_t first, size_t count) {
  std::vector<typename Contestant::Box> result;
  for (size_t i = first; i < first + count; ++i) result.push_back(Contestant::box(values[i]));
  return result;
}

template <class Contestant>
double time_appends(size_t size) {
  std::vector<int> numbers(size);
  for (size_t i = 0; i < size; ++i) numbers[i] = static_cast<int>(i);
  auto objects = boxes<Contestant>(numbers, 0, size);
  auto *vector = new typename Contestant::Vector;
  const Stopwatch stopwatch;
  for (auto &object : objects) vector->add(object);
  const double seconds = stopwatch.seconds();
  if (size <= 100000) {
    auto last = Contestant::box(static_cast<int>(size) - 1);
    require(vector->find(last) == static_cast<int>(size) - 1, Contestant::kName, "append");
    Contestant::drop(last);
  }
  delete vector;
  return seconds;
}

template <class Contestant>
double time_finds(size_t size, size_t rounds) {
  std::vector<int> numbers(size);
  for (size_t i = 0; i < size; ++i) numbers[i] = static_cast<int>(i);
  auto objects = boxes<Contestant>(numbers, 0, size);
  typename Contestant::Vector vector;
  for (auto &object : objects) vector.add(object);
  auto wanted = Contestant::box(static_cast<int>(size / 2));
  size_t sum = 0;
  const Stopwatch stopwatch;
  for (size_t i = 0; i < rounds; ++i) sum += static_cast<size_t>(vector.find(wanted));
  const double seconds = stopwatch.seconds();
  require(sum == rounds * (size / 2), Contestant::kName, "find");
  Contestant::drop(wanted);
  return seconds;
}

/// Seconds of each operation: a new table is filled, asked for all its keys, in another order, and for absent ones. Or
/// all of a table's life: keys and values are made, put, and deleted with it.
enum class Operation { put, get, miss, life };

template <class Contestant, class Key>
double time_life(const std::vector<Key> &keys) {
  kiv::bench::settle_heap();
  auto *table = new typename Contestant::template Table<Key>;
  auto probe = Contestant::box(keys[0]);
  const int size = static_cast<int>(keys.size() / 2);
  Stopwatch stopwatch;
  for (int i = 0; i < size; ++i) {
    auto key = Contestant::box(keys[static_cast<size_t>(i)]), value = Contestant::box(i);
    table->put(key, value);
  }
  double seconds = stopwatch.seconds();
  require(table->get(probe) == 0, Contestant::kName, "life");
  stopwatch = {};
  delete table;
  seconds += stopwatch.seconds();
  Contestant::drop(probe);
  return seconds;
}

template <class Contestant, class Key>
double time_table(const std::vector<Key> &keys, Operation operation) {
  if (operation == Operation::life) return time_life<Contestant>(keys);
  const size_t size = keys.size() / 2;
  // What the last table left in the heap's lists is nobody's cost here.
  kiv::bench::settle_heap();
  auto stored = boxes<Contestant>(keys, 0, size), wanted = boxes<Contestant>(keys, 0, size);
  auto absent = boxes<Contestant>(keys, size, size);
  std::vector<int> numbers(size);
  for (size_t i = 0; i < size; ++i) numbers[i] = static_cast<int>(i);
  auto values = boxes<Contestant>(numbers, 0, size);
  auto &asked = operation == Operation::miss ? absent : wanted;
  std::shuffle(asked.begin(), asked.end(), std::mt19937_64(1));
  auto *table = new typename Contestant::template Table<Key>;
  const Stopwatch filling;
  for (size_t i = 0; i < size; ++i) table->put(stored[i], values[i]);
  double seconds = filling.seconds();
  int64_t sum = 0;
  const Stopwatch asking;
  for (auto &key : asked) sum += table->get(key);
  if (operation != Operation::put) seconds = asking.seconds();
  const auto n = static_cast<int64_t>(size);
  require(sum == (operation == Operation::miss ? -n : n * (n - 1) / 2), Contestant::kName, "get");
  for (auto &key : wanted) Contestant::drop(key);
  for (auto &key : absent) Contestant::drop(key);
  delete table;
  return seconds;
}

template <class Contestant>
void add_vectors() {
  for (const size_t size : {1000, 1000000}) {
    kiv::bench::add(kiv::bench::name("obj_vector", "append", size, Contestant::kName), 5, size,
                    [=] { return time_appends<Contestant>(size); });
  }
  for (const size_t size : {10, 1000, 100000}) {
    const size_t rounds = 1000000 / size;
    kiv::bench::add(kiv::bench::name("obj_vector", "find", size, Contestant::kName), 5, rounds * (size / 2 + 1),
                    [=] { return time_finds<Contestant>(size, rounds); });
  }
}

template <class Contestant, class Key>
void add_tables(const std::vector<Key> *keys, const std::string &kind) {
  const std::pair<Operation, const char *> operations[] = {{Operation::put, "put "},
                                                           {Operation::get, "get "},
                                                           {Operation::miss, "get absent "},
                                                           {Operation::life, "make, put, delete "}};
  for (const auto &[operation, title] : operations) {
    const std::string what = title + kind;
    kiv::bench::add(kiv::bench::name("obj_hashtable", what.c_str(), keys->size() / 2, Contestant::kName), 3,
                    keys->size() / 2, [=, chosen = operation] { return time_table<Contestant>(*keys, chosen); });
  }
}

}  // namespace

int main(int argc, char **argv) {
  kiv::bench::keep_heap();
  add_vectors<Ours>();
  add_vectors<GLib>();
  add_vectors<Standard>();
  std::vector<std::vector<std::string>> names;
  std::vector<std::vector<int>> numbers;
  for (const size_t size : {1000, 100000}) {
    names.push_back(make_keys<std::string>(size));
    numbers.push_back(make_keys<int>(size));
  }
  for (const auto &keys : names) {
    add_tables<Ours>(&keys, "name");
    add_tables<GLib>(&keys, "name");
    add_tables<Standard>(&keys, "name");
  }
  for (const auto &keys : numbers) {
    add_tables<Ours>(&keys, "number");
    add_tables<GLib>(&keys, "number");
    add_tables<Standard>(&keys, "number");
  }
  return kiv::bench::run(argc, argv);
}
