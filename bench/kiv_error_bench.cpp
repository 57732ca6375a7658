// An error record of three entries, made and freed, beside what one would write with the C++ library and with GLib: a
// stack of records with the same seven texts of code points each, made from the same bytes and code points.

#define FMT_HEADER_ONLY
#include <fmt/format.h>
#include <fmt/xchar.h>
#include <glib.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bench_support.h"
#include "kiv_error.h"
#include "kiv_message.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

constexpr size_t kOperations = 2000;
constexpr size_t kEntries = 3;

struct Layer {
  const char *internal;
  const char *file;
  uint32_t line;
  const char *message;  // for the library, with its mark
  std::u32string_view text;
};
constexpr Layer kLayers[kEntries] = {
    {"read_section failed in open_image(...).", "elf_image.cpp", 127, "The section table is cut short.[|]",
     U"The section table is cut short."},
    {"open_image failed in load_symbols(...).", "elf_symbols.cpp", 58, "The file is no program.[|]",
     U"The file is no program."},
    {"load_symbols failed in main(...).", "main.cpp", 311, "The symbols cannot be listed.[|]",
     U"The symbols cannot be listed."},
};
constexpr char32_t kBinary[] = U"kiv_inspect";
constexpr char kVersion[] = "1.0.0";
constexpr char32_t kHelp[] = U"Is the file complete?";

constexpr char kMessage[] = "cannot read \"[0_s]\" at line [1_u32][|]";
constexpr std::u32string_view kFormatted[kEntries] = {
    U"cannot read \"elf_image.cpp\" at line 127",
    U"cannot read \"elf_symbols.cpp\" at line 58",
    U"cannot read \"main.cpp\" at line 311",
};

const KIV_UNICHAR *units(const char32_t *text) { return reinterpret_cast<const KIV_UNICHAR *>(text); }

struct Ours {
  static constexpr const char *kName = "ours";

  Ours() { context = {kiv_allocator_default_new(&heap), kiv_i18n_prn_init(&heap)}; }

  KIV_ERROR *add(KIV_ERROR *record, const Layer &layer, bool formatted) const {
    if (!formatted) {
      return kiv_error_prepend(&context, record, layer.internal, layer.file, layer.line, units(kBinary), kVersion,
                               units(kHelp), layer.message);
    }
    return kiv_error_prepend_prn8(&context, record, layer.internal, layer.file, layer.line, units(kBinary), kVersion,
                                  units(kHelp), kMessage, KIV_ARGS(layer.file, layer.line));
  }
  static std::u32string_view text(const KIV_ERROR *record, size_t i) {
    return reinterpret_cast<const char32_t *>(record->entries[i].user_message_local);
  }
  void free(KIV_ERROR *record) const { kiv_error_delete(&context, record); }

  KIV_ALLOCATOR heap;
  KIV_ERROR_CONTEXT context;
};

struct Std {
  static constexpr const char *kName = "std::vector of u32string";

  struct Entry {
    std::u32string internal, file;
    uint32_t line;
    std::u32string binary, version, english, local, help;
  };
  using Record = std::vector<Entry>;

  static std::u32string widen(std::string_view bytes) {
    return {reinterpret_cast<const unsigned char *>(bytes.data()),
            reinterpret_cast<const unsigned char *>(bytes.data()) + bytes.size()};
  }
  static std::u32string message(const Layer &layer, bool formatted) {
    if (!formatted) return std::u32string(layer.text);
    // {fmt} takes no bytes for code points.
    return fmt::format(std::u32string_view(U"cannot read \"{}\" at line {}"), widen(layer.file), layer.line);
  }
  static Record *add(Record *record, const Layer &layer, bool formatted) {
    if (record == nullptr) record = new Record;
    record->insert(record->begin(), {widen(layer.internal), widen(layer.file), layer.line, kBinary, widen(kVersion),
                                     message(layer, formatted), message(layer, formatted), kHelp});
    return record;
  }
  static std::u32string_view text(const Record *record, size_t i) { return (*record)[i].local; }
  static void free(Record *record) { delete record; }
};

struct Glib {
  static constexpr const char *kName = "GList of gunichar texts";

  struct Entry {
    gunichar *internal, *file;
    uint32_t line;
    gunichar *binary, *version, *english, *local, *help;
  };

  static gunichar *widen(const char *bytes) { return g_utf8_to_ucs4_fast(bytes, -1, nullptr); }
  static gunichar *copy(std::u32string_view text) {
    return static_cast<gunichar *>(g_memdup2(text.data(), (text.size() + 1) * sizeof(gunichar)));
  }
  static gunichar *message(const Layer &layer, bool formatted) {
    if (!formatted) return copy(layer.text);
    char *bytes = g_strdup_printf("cannot read \"%s\" at line %u", layer.file, layer.line);
    gunichar *text = widen(bytes);
    g_free(bytes);
    return text;
  }
  static GList *add(GList *record, const Layer &layer, bool formatted) {
    auto *entry = g_new(Entry, 1);
    *entry = {widen(layer.internal),     widen(layer.file),         layer.line, copy(kBinary), widen(kVersion),
              message(layer, formatted), message(layer, formatted), copy(kHelp)};
    return g_list_prepend(record, entry);
  }
  static std::u32string_view text(GList *record, size_t i) {
    return reinterpret_cast<const char32_t *>(
        static_cast<const Entry *>(g_list_nth_data(record, static_cast<guint>(i)))->local);
  }
  static void free(GList *record) {
    g_list_free_full(record, [](gpointer data) {
      auto *entry = static_cast<Entry *>(data);
      for (gunichar *text :
           {entry->internal, entry->file, entry->binary, entry->version, entry->english, entry->local, entry->help}) {
        g_free(text);
      }
      g_free(entry);
    });
  }
};

template <class Contestant>
auto build(const Contestant &contestant, bool formatted) {
  decltype(contestant.add(nullptr, kLayers[0], false)) record = nullptr;
  for (const Layer &layer : kLayers) record = contestant.add(record, layer, formatted);
  return record;
}

template <class Contestant>
void add(const Contestant *contestant, bool formatted) {
  const auto check = [=](auto *record) {
    for (size_t i = 0; i < kEntries; ++i) {
      const size_t layer = kEntries - 1 - i;
      require(Contestant::text(record, i) == (formatted ? kFormatted[layer] : kLayers[layer].text), Contestant::kName,
              "texts");
    }
    contestant->free(record);
  };
  check(build(*contestant, formatted));
  kiv::bench::add(
      kiv::bench::name("error", formatted ? "formatted messages" : "fixed messages", kEntries, Contestant::kName), 20,
      kOperations, [=] {
        const Stopwatch stopwatch;
        for (size_t i = 0; i < kOperations; ++i) contestant->free(build(*contestant, formatted));
        const double seconds = stopwatch.seconds();
        check(build(*contestant, formatted));
        return seconds;
      });
}

}  // namespace

int main(int argc, char **argv) {
  kiv::bench::keep_heap();
  const Ours ours;
  const Std with_std;
  const Glib glib;
  for (const bool formatted : {false, true}) {
    add(&ours, formatted);
    add(&with_std, formatted);
    add(&glib, formatted);
  }
  return kiv::bench::run(argc, argv);
}
