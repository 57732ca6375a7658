// Objects beside GLib's GValue and GVariant and beside std::variant: ints, each in a block of the C runtime's heap as
// an element of a container of mixed values is, made, copied, compared, turned into text and released. GVariant cannot
// be changed; its copy is a new one. A thousand fit the cache; with a million the size of a block decides, which on
// 64-bit targets is 48 bytes for an object and 32 for a GValue.
//
// "in place" are values without a block of their own: objects in the caller's storage, GValues and variants in an
// array.

#include <glib-object.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <variant>
#include <vector>

#include "bench_support.h"
#include "kiv_obj_vector.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

/// The ints: with and without sign, of all lengths.
int32_t value_at(size_t i) { return static_cast<int32_t>(static_cast<uint32_t>(i) * 2654435761U >> i % 31); }

// --- Contestants -----------------------------------------------------------------------------------------------------
// Values on the heap. `equal` asks the value's type first, as code that does not know it has to.

struct Ours {
  static constexpr const char *kName = "ours";
  using Value = KIV_OBJ *;

  Ours() { kiv_allocator_default_new(&allocator); }
  Value make(int32_t value) { return obj_int_new(&allocator, value); }
  static int32_t get(Value value) { return obj_int_get(value); }
  static Value copy(Value value) { return value->type->copy(value); }
  static bool equal(Value a, Value b) { return a->type->cmp(a, b) == 0; }
  static size_t text(Value value) {
    char *text = value->type->to_char_s(value);
    const size_t length = std::strlen(text);
    value->allocator->free(value->allocator, text);
    return length;
  }
  static void release(Value value) { obj_vector_del(value); }

  KIV_ALLOCATOR allocator;
};

struct BoxedGValue {
  static constexpr const char *kName = "GValue";
  using Value = GValue *;

  static Value make(int32_t value) {
    Value box = g_new0(GValue, 1);
    g_value_set_int(g_value_init(box, G_TYPE_INT), value);
    return box;
  }
  static int32_t get(Value value) { return g_value_get_int(value); }
  static Value copy(Value value) {
    Value box = g_new0(GValue, 1);
    g_value_copy(value, g_value_init(box, G_VALUE_TYPE(value)));
    return box;
  }
  static bool equal(Value a, Value b) {
    return G_VALUE_TYPE(a) == G_VALUE_TYPE(b) && g_value_get_int(a) == g_value_get_int(b);
  }
  static size_t text(Value value) {
    char *text = g_strdup_printf("%d", g_value_get_int(value));
    const size_t length = std::strlen(text);
    g_free(text);
    return length;
  }
  static void release(Value value) {
    g_value_unset(value);
    g_free(value);
  }
};

struct Variant {
  static constexpr const char *kName = "GVariant";
  using Value = GVariant *;

  static Value make(int32_t value) { return g_variant_ref_sink(g_variant_new_int32(value)); }
  static int32_t get(Value value) { return g_variant_get_int32(value); }
  static Value copy(Value value) { return make(get(value)); }
  static bool equal(Value a, Value b) { return g_variant_equal(a, b) != 0; }
  static size_t text(Value value) {
    char *text = g_variant_print(value, 0);
    const size_t length = std::strlen(text);
    g_free(text);
    return length;
  }
  static void release(Value value) { g_variant_unref(value); }
};

/// The other alternatives are those of the object kinds.
using StdValue = std::variant<int32_t, uint32_t, char, uint8_t, void *, double, char32_t, std::u32string, uint64_t>;

struct BoxedStdVariant {
  static constexpr const char *kName = "std::variant";
  using Value = StdValue *;

  static Value make(int32_t value) { return new StdValue(value); }
  static int32_t get(Value value) { return std::get<int32_t>(*value); }
  static Value copy(Value value) { return new StdValue(*value); }
  static bool equal(Value a, Value b) { return *a == *b; }
  static size_t text(Value value) { return std::to_string(get(value)).size(); }
  static void release(Value value) { delete value; }
};

// Values in place: make and get as above.

struct OursInPlace {
  static constexpr const char *kName = "ours";
  using Value = KIV_OBJ_INT;
  static void make(Value *place, int32_t value) { obj_int_new_automatic(place, value); }
  static int32_t get(Value *value) { return obj_int_get(&value->header); }
  static void release(Value *value) { obj_vector_del(&value->header); }
};

struct GValueInPlace {
  static constexpr const char *kName = "GValue";
  using Value = GValue;
  static void make(Value *place, int32_t value) {
    *place = G_VALUE_INIT;
    g_value_set_int(g_value_init(place, G_TYPE_INT), value);
  }
  static int32_t get(Value *value) { return g_value_get_int(value); }
  static void release(Value *value) { g_value_unset(value); }
};

struct StdVariantInPlace {
  static constexpr const char *kName = "std::variant";
  using Value = StdValue;
  static void make(Value *place, int32_t value) { *place = value; }
  static int32_t get(Value *value) { return std::get<int32_t>(*value); }
  static void release(Value *value) { *value = int32_t{0}; }
};

// --- Work ------------------------------------------------------------------------------------------------------------

/// Makes `size` values and copies, compares the pairs, and releases both; gives the time of the wanted step alone.
enum class Step { make, get, copy, equal, text, release };

template <class Contestant>
double time_step(Step wanted, size_t size) {
  Contestant contestant;
  std::vector<typename Contestant::Value> values(size), copies(size);
  double seconds = 0;
  const auto timed = [&](Step step, auto work) {
    if (step != wanted && (step == Step::get || step == Step::text)) return;
    const Stopwatch stopwatch;
    for (size_t i = 0; i < size; ++i) work(i);
    if (step == wanted) seconds = stopwatch.seconds();
  };
  int64_t sum = 0, right_sum = 0;
  size_t equal = 0, characters = 0, right_characters = 0;
  timed(Step::make, [&](size_t i) { values[i] = contestant.make(value_at(i)); });
  timed(Step::copy, [&](size_t i) { copies[i] = contestant.copy(values[i]); });
  timed(Step::get, [&](size_t i) { sum += contestant.get(copies[i]); });
  timed(Step::equal, [&](size_t i) { equal += contestant.equal(values[i], copies[i ^ 1]); });
  timed(Step::text, [&](size_t i) { characters += contestant.text(values[i]); });
  timed(Step::release, [&](size_t i) { contestant.release(values[i]); });
  for (size_t i = 0; i < size; ++i) {
    right_sum += value_at(i);
    right_characters += std::to_string(value_at(i)).size();
    equal -= value_at(i) == value_at(i ^ 1);
    contestant.release(copies[i]);
  }
  require(equal == 0, Contestant::kName, "comparison");
  require(wanted != Step::get || sum == right_sum, Contestant::kName, "value");
  require(wanted != Step::text || characters == right_characters, Contestant::kName, "text");
  return seconds;
}

template <class Contestant>
double time_in_place(size_t size) {
  std::vector<typename Contestant::Value> values(size);
  int64_t sum = 0, right_sum = 0;
  const Stopwatch stopwatch;
  for (size_t i = 0; i < size; ++i) Contestant::make(&values[i], value_at(i));
  for (size_t i = 0; i < size; ++i) sum += Contestant::get(&values[i]);
  for (size_t i = 0; i < size; ++i) Contestant::release(&values[i]);
  const double seconds = stopwatch.seconds();
  for (size_t i = 0; i < size; ++i) right_sum += value_at(i);
  require(sum == right_sum, Contestant::kName, "value in place");
  return seconds;
}

/// The time of a million values, so many at once.
template <class Time>
void add_timed(const char *step, size_t size, const char *contestant, Time time) {
  constexpr size_t kOperations = 1000000;
  kiv::bench::add(kiv::bench::name("obj", step, size, contestant), 1, kOperations, [=] {
    double seconds = 0;
    for (size_t done = 0; done < kOperations; done += size) seconds += time(size);
    return seconds;
  });
}

template <class Contestant>
void add_contestant(size_t size) {
  static constexpr struct {
    Step step;
    const char *name;
  } kSteps[] = {{Step::make, "new"},      {Step::get, "get"},   {Step::copy, "copy"},
                {Step::equal, "compare"}, {Step::text, "text"}, {Step::release, "release"}};
  for (const auto &row : kSteps) {
    add_timed(row.name, size, Contestant::kName, [&row](size_t n) { return time_step<Contestant>(row.step, n); });
  }
}

template <class Contestant>
void add_contestant_in_place(size_t size) {
  add_timed("in place", size, Contestant::kName, time_in_place<Contestant>);
}

}  // namespace

int main(int argc, char **argv) {
  setenv("G_SLICE", "always-malloc", 1);
  kiv::bench::keep_heap();
  for (const size_t size : {1000, 1000000}) {
    add_contestant<Ours>(size);
    add_contestant<BoxedGValue>(size);
    add_contestant<Variant>(size);
    add_contestant<BoxedStdVariant>(size);
    add_contestant_in_place<OursInPlace>(size);
    add_contestant_in_place<GValueInPlace>(size);
    add_contestant_in_place<StdVariantInPlace>(size);
  }
  return kiv::bench::run(argc, argv);
}
