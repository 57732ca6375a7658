#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <set>

#include "examples/kiv_inspect/address_index.h"
#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/program.h"
#include "examples/kiv_inspect/request_handler.h"
#include "gtest/gtest.h"
#include "tests/examples/failure_text.h"
#include "tests/examples/program_images.h"
#include "tests/examples/text_sink.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"
#include "tests/support/unistring.h"

namespace {

using namespace kiv::inspect;
using namespace kiv::test;

using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::string>;

/// What a reader makes of some bytes: symbols as "ADDRESS KIND NAME", and the names nearest to some addresses.
struct Reading {
  std::string problem;
  Lines symbols, nearest;
  uint32_t found = 0, overlapping = 0;  // of the index, and by looking at each
  int digits = 0;
};

int add_line(void *value, void *context) {
  const auto &symbol = *static_cast<const Symbol *>(value);
  auto &reading = *static_cast<Reading *>(context);
  char start[32];
  std::snprintf(start, sizeof start, "%0*llx %c ", reading.digits, static_cast<unsigned long long>(symbol.address),
                "FO-"[static_cast<int>(symbol.kind)]);
  reading.symbols.push_back(start + std::string(symbol.name));
  return 1;
}

/// Windows of addresses in programs of either format, and all addresses.
constexpr AddressRange kWindows[] = {
    {0x1010, 0x1810}, {0x401010, 0x402004}, {0x140001010, 0x140002004}, {0, ~uint64_t{0}}};

void count_windows(AddressRange range, Reading *reading) {
  EXPECT_LE(range.first, range.last);
  for (const auto &window : kWindows) reading->overlapping += range.first <= window.last && window.first <= range.last;
}

/// What there is in the windows, whether or not all symbols could be read.
void count_overlapping(ByteView file, SymbolTable &symbols, KIV_ALLOCATOR *pool, Reading *reading) {
  SectionTable sections(symbols.errors());
  if (!sections.open(file, pool).ok()) return;
  symbols.estimate_sizes(sections);
  sections.walk(
      [](void *value, void *context) {
        count_windows(static_cast<const Section *>(value)->addresses, static_cast<Reading *>(context));
        return 1;
      },
      reading);
  symbols.walk(
      [](void *value, void *context) {
        auto &into = *static_cast<Reading *>(context);
        count_windows(static_cast<const Symbol *>(value)->addresses(into.digits), &into);
        return 1;
      },
      reading);
  AddressIndex index(symbols.errors());
  PointerVector<Occupant> found(pool, by_first_address);
  EXPECT_TRUE(index.open(sections, symbols, pool).ok());
  for (const auto &window : kWindows) EXPECT_TRUE(index.find(window, &found).ok());
  reading->found = found.count();
}

Reading read(const Bytes &bytes, const std::vector<uint64_t> &addresses = {}) {
  // A block of its own, so that the address sanitizer knows where the file ends.
  const auto exact = std::make_unique<uint8_t[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), exact.get());
  KIV_ALLOCATOR heap, wrap;
  kiv_allocator_wrap_new(&wrap, kiv_allocator_default_new(&heap), 0);
  const Errors errors(&heap);
  SymbolTable table(errors);
  EXPECT_TRUE(table.open(&wrap).ok());
  const ByteView file(exact.get(), static_cast<uint32_t>(bytes.size()), ByteOrder::little);
  const Status status = read_symbols(file, table);
  Reading reading{problem_of(status)};
  reading.digits = table.address_digits;
  table.walk(add_line, &reading);
  for (const uint64_t address : addresses) {
    const Symbol *symbol = table.nearest(address);
    reading.nearest.push_back(symbol != nullptr ? std::string(symbol->name) : "");
  }
  count_overlapping(file, table, &wrap, &reading);
  kiv_allocator_wrap_delete(&wrap);
  return reading;
}

// --- The images ------------------------------------------------------------------------------------------------------

enum : uint8_t { kNoType, kObject, kFunction, kSection, kFile, kTls = 6, kIfunc = 10 };
enum : uint8_t { kLocal, kGlobal, kWeak, kUnique = 10 };
enum : uint8_t { kExternal = 2, kStatic = 3, kFileClass = 103 };

const std::vector<ElfRow> kElfRows = {
    {false, "label", 0x1000, kNoType, kGlobal, 1},
    {false, "local", 0x1000, kFunction, kLocal, 1},
    {false, "main", 0x1000, kFunction, kGlobal, 1},
    {false, "also_main", 0x1000, kFunction, kGlobal, 1},
    {false, "weak", 0x1000, kFunction, kWeak, 1},
    {false, "data", 0x1000, kObject, kGlobal, 1},
    {false, "unique", 0x2000, kObject, kUnique, 1},
    {false, "resolver", 0x1800, kIfunc, kGlobal, 1},
    {false, "far_index", 0x1810, kNoType, 13, 0xFFFF},
    {false, "undefined", 0x1, kFunction, kGlobal, 0},
    {false, "absolute", 0x2, kNoType, kGlobal, 0xFFF1},
    {false, "common", 0x3, kObject, kGlobal, 0xFFF2},
    {false, "thread", 0x4, kTls, kGlobal, 1},
    {false, "section", 0x5, kSection, kLocal, 1},
    {false, "file.c", 0x6, kFile, kLocal, 1},
    {false, "", 0x7, kFunction, kGlobal, 1},
    {false, "last", ~uint64_t{0}, kFunction, kGlobal, 1},
    {true, "main", 0x1000, kFunction, kGlobal, 1},
    {true, "label", 0x1000, kObject, kWeak, 1},
    {true, "dynamic", 0x1900, kFunction, kGlobal, 1},
    {true, "main", 0x1001, kFunction, kGlobal, 1},
};
const std::vector<ElfSectionRow> kElfSections = {{".text", 0x1000, 0x100}, {".bss", 0x1800, 0x900}};
const Lines kElfSymbols = {"1000 F also_main", "1000 F main",    "1000 F weak",  "1000 F local",
                           "1000 O data",      "1000 O label",   "1001 F main",  "1800 F resolver",
                           "1810 - far_index", "1900 F dynamic", "2000 O unique"};

const std::vector<CoffRow> kCoffRows = {
    {"file.c", 0, 0xFFFE, 0, kFileClass, 1},
    {".text", 0, 1, 0, kStatic, 1},
    {".text", 0x40, 1, 0, kStatic, 1},
    {"_main", 0, 1, 0x20, kExternal, 1},
    {"eight_ch", 0x10, 1, 0x20, kStatic, 0},
    {"_a_long_name", 0x10, 1, 0x20, kExternal, 0},
    {"_helper", 0, 1, 0x20, kStatic, 1},
    {"label", 0x10, 1, 0, kStatic, 0},
    {"_data", 4, 2, 0, kExternal, 0},
    {"_absolute", 1, 0xFFFF, 0, kExternal, 0},
    {"_undefined", 0, 0, 0x20, kExternal, 0},
    {"automatic", 8, 1, 0, 1, 0},
    {"_image_start", 0xFFFFF000, 1, 0, kExternal, 0},
    {"both", 0x20, 1, 0, kExternal, 0},
};
const std::vector<ExportRow> kExports = {
    {"both", kPeText + 0x20}, {"data", kPeData + 4 + 0x400}, {"forwarder", kPeData + 44}, {"none", 0}, {"odd", 0x9000}};
const Lines kPeSymbols = {"0000 - _image_start", "1000 F _main", "1000 F _helper", "1010 F _a_long_name",
                          "1010 F eight_ch",     "1010 - label", "1020 F both",    "2004 O _data",
                          "2404 O data",         "9000 - odd"};

struct Case {
  std::string name;
  Image image;
  Lines symbols;
};

const std::vector<Case> &cases() {
  static const std::vector<Case> all = [] {
    std::vector<Case> list;
    const auto add = [&list](const char *name, const Image &image, const Lines &offsets, uint64_t base) {
      list.push_back({name, image, {}});
      for (const std::string &line : offsets) {
        char address[17];
        const auto value = base + std::stoull(line.substr(0, 4), nullptr, 16);
        std::snprintf(address, sizeof address, "%0*llx", image.wide ? 16 : 8, static_cast<unsigned long long>(value));
        list.back().symbols.push_back(address + line.substr(4));
      }
    };
    for (const auto order : {ByteOrder::little, ByteOrder::big}) {
      for (const bool wide : {false, true}) {
        add(wide ? "ELF64" : "ELF32", build_elf(wide, order, kElfRows, kElfSections), kElfSymbols, 0);
        list.back().symbols.push_back(std::string(wide ? 16 : 8, 'f') + " F last");
      }
    }
    add("PE32", build_pe(false, kCoffRows, kExports), kPeSymbols, kPeBase32);
    add("PE32+", build_pe(true, kCoffRows, kExports), kPeSymbols, kPeBase64);
    return list;
  }();
  return all;
}

TEST(KivInspect, ReadsTheSymbolsOfEveryFormat) {
  for (const Case &c : cases()) {
    const Reading reading = read(c.image.bytes);
    EXPECT_EQ(reading.problem, "") << c.name;
    EXPECT_EQ(reading.symbols, c.symbols) << c.name;
  }
  EXPECT_EQ(read(build_pe(false, {}, {}).bytes).problem, "");
  EXPECT_EQ(read({0x7F, 'E', 'L'}).problem, "it is neither an ELF nor a PE file");
}

TEST(KivInspect, ResolvesToTheBestSymbolAtTheNearestAddress) {
  const Case &elf64 = cases()[1];
  EXPECT_EQ(read(elf64.image.bytes, {0, 0xFFF, 0x1000, 0x1001, 0x17FF, 0x1812, ~uint64_t{1}, ~uint64_t{0}}).nearest,
            (Lines{"", "", "also_main", "main", "main", "far_index", "unique", "last"}));
  EXPECT_EQ(read({}, {0, ~uint64_t{0}}).nearest, (Lines{"", ""}));
}

// --- Damage ----------------------------------------------------------------------------------------------------------

TEST(KivInspect, SurvivesTruncationAtEveryLength) {
  for (const Case &c : cases()) {
    const std::set<std::string> all(c.symbols.begin(), c.symbols.end());
    for (size_t length = 0; length < c.image.bytes.size(); ++length) {
      const Reading reading = read(Bytes(c.image.bytes.data(), c.image.bytes.data() + length));
      // The last byte of all images belongs to a table that is needed.
      EXPECT_NE(reading.problem, "") << c.name << " " << length;
      for (const auto &symbol : reading.symbols) EXPECT_TRUE(all.contains(symbol)) << c.name << length << symbol;
    }
  }
}

/// What holds for every reading: the symbols are in the order of their addresses, none is there twice.
void expect_sound(const Bytes &bytes, const std::string &what) {
  const Reading reading = read(bytes, {0x1000});
  EXPECT_TRUE(std::is_sorted(reading.symbols.begin(), reading.symbols.end(), [](auto &a, auto &b) {
    return a.substr(0, a.find(' ')) < b.substr(0, b.find(' '));
  })) << what;
  EXPECT_EQ(std::set(reading.symbols.begin(), reading.symbols.end()).size(), reading.symbols.size()) << what;
  EXPECT_LE(reading.symbols.size(), bytes.size() / 4) << what;
  EXPECT_EQ(reading.found, reading.overlapping) << what;
}

TEST(KivInspect, SurvivesEveryDamagedByte) {
  for (const Case &c : cases()) {
    for (size_t at = 0; at < c.image.bytes.size(); ++at) {
      for (const uint8_t value : Bytes{0x00, 0xFF, 0x7F, 0x80}) {
        Bytes bytes = c.image.bytes;
        bytes[at] = value;
        expect_sound(bytes, c.name + " byte " + std::to_string(at));
      }
    }
  }
}

TEST(KivInspect, SurvivesRandomDamage) {
  auto random = make_random();
  for (int round = 0; round < 6000; ++round) {
    const Case &c = cases()[below(random, static_cast<uint32_t>(cases().size()))];
    Image image = c.image;
    image.damage(random);
    expect_sound(image.bytes, c.name + " round " + std::to_string(round));
  }
}

TEST(KivInspect, TellsWhatIsDamaged) {
  const struct {
    size_t image;  // in cases()
    const char *mark;
    size_t offset;
    uint64_t value;
    int width;
    const char *problem;
  } rows[] = {
      {0, "", 4, 3, 1, "its ELF class is unknown"},
      {0, "", 5, 0, 1, "its ELF byte order is unknown"},
      {1, "", 40, 0xFFFFFFFFFFFFFFC0, 8, "its section table lies outside the file"},
      {1, "", 58, 63, 2, "its section headers are too small"},
      {2, "symtab header", 20, 0xFFFFFFFF, 4, "a section lies outside the file"},
      {3, "symtab header", 40, 7, 4, "a symbol table has no string table"},
      {0, "dynsym header", 36, 15, 4, "its symbol table's entries are too small"},
      {0, "dynsym header", 4, 2, 4, "it has several symbol tables of one type"},
      {0, "symtab", 16, 0xFFFFFFFF, 4, "a name lies outside the string table"},
      {1, "strtab header", 32, 5, 8, "a name has no end"},
      {4, "optional", 0, 0x107, 2, "its kind of PE header is unknown"},
      {4, "header", 20, 0xFFFF, 2, "its PE header is cut off"},
      {4, "header", 16, 0xFFFFFFFF, 4, "its symbol table lies outside the file"},
      {4, "coff", 2 * 18 + 12 + 18, 3, 2, ""},  // in a further record: not looked at
      {4, "coff", 6 * 18 + 12, 3, 2, "a symbol's section does not exist"},
      {5, "strings", 0, 0xFFFFFFFF, 4, "its string table lies outside the file"},
      {5, "strings", 0, 4, 4, "a name lies outside the string table"},
      {5, "exports", 20, 0xFFFFFFFF, 4, "its export table is cut off"},
      {5, "exports", 36, 0x8000, 4, "an address lies in no section"},
      {5, "names", 0, kPeData + 0x700, 4, "an address lies behind the bytes of its section"},
      {5, "ordinals", 0, 5, 2, "an exported name has no address"},
  };
  for (const auto &row : rows) {
    Image image = cases()[row.image].image;
    const size_t at = (*row.mark != '\0' ? image.marks.at(row.mark) : 0) + row.offset;
    image.put_at(at, row.value, row.width);
    EXPECT_EQ(read(image.bytes).problem, row.problem) << cases()[row.image].name << " " << row.mark << row.offset;
  }
}

TEST(KivInspect, CountsSectionsInTheFirstHeader) {
  Image image = cases()[1].image;
  image.put_at(60, 0, 2);
  image.put_at(image.marks.at("symtab header") - 64 + 32, 5, 8);
  EXPECT_EQ(read(image.bytes).symbols, cases()[1].symbols);
  image.put_at(image.marks.at("symtab header") - 64 + 32, ~uint64_t{0} / 64 + 2, 8);  // times 64: overflows to 64
  EXPECT_EQ(read(image.bytes).problem, "its section table lies outside the file");
}

TEST(KivInspect, RefusesNamesThatShareTooMuch) {
  std::vector<ElfRow> rows(4000, {false, "", 0x1000, kFunction, kGlobal, 1});
  rows[0].name = std::string(100000, 'a');
  Image image = build_elf(true, ByteOrder::little, rows);
  for (uint32_t i = 0; i < 4000; ++i) image.put_at(image.marks.at("symtab") + 24 * (i + 1), i + 1, 4);
  EXPECT_EQ(read(image.bytes).problem, "its names share too many bytes");
}

// --- Files and memory ------------------------------------------------------------------------------------------------

TEST(KivInspect, TellsEveryShortageOfMemory) {
  for (const Case &c : cases()) {
    const std::string path = write_file("sweep", c.image);
    const uint32_t points = sweep_failures([&](CountingAllocator &allocator) {
      KIV_ALLOCATOR heap;
      const Errors errors(kiv_allocator_default_new(&heap));
      Program program(errors, allocator.record());
      Status status = program.load(path.c_str());
      if (status.ok()) status = program.load_symbols();
      if (status.ok()) status = program.load_extents();
      EXPECT_EQ(problem_of(status), allocator.has_failed() ? kOutOfMemoryText : "");
    });
    EXPECT_GE(points, 4u);  // the file's block, the pool's chunk and its header, and a cell for each
    std::remove(path.c_str());
  }
}

TEST(KivInspect, AnswersInFullOrTellsOfNoMemory) {
  const std::string path = write_file("requests", cases()[1].image);
  std::map<std::string, std::string> full;  // the answers when there is memory
  const auto ask_all = [&](KIV_ALLOCATOR *allocator) {
    RequestHandler handler(path.c_str(), allocator);
    for (std::string argument : {"--by-name", "--by-size", "main", "0x1000"}) {
      std::string command = argument[0] == '-' ? "symbols" : "resolve", last = argument[0] == '-' ? "3" : "label";
      char *words[] = {command.data(), argument.data(), last.data()};
      TextSink out, err;
      const Outcome outcome = handler.answer(argument == "--by-name" ? 2 : 3, words, out, err);
      EXPECT_EQ(outcome == Outcome::done, err.text.empty());
      if (outcome == Outcome::done) EXPECT_EQ(out.text, full.try_emplace(argument, out.text).first->second);
    }
  };
  KIV_ALLOCATOR heap;
  ask_all(kiv_allocator_default_new(&heap));
  ASSERT_EQ(full.size(), 4u);
  EXPECT_EQ(full["--by-size"],
            "0000000000001900     1792 F dynamic\n0000000000002000      256 O unique\n"
            "0000000000001001      255 F main\n");
  EXPECT_EQ(full["main"], "0000000000001000 main\n0000000000001001 main\n0000000000001000 label\n");
  EXPECT_GE(sweep_failures([&](CountingAllocator &allocator) { ask_all(allocator.record()); }), 30u);
  std::remove(path.c_str());
}

TEST(KivInspect, DecodesNames) {
  const std::pair<const char *, std::u32string> kRows[] = {
      {"", U""},
      {"caf\xC3\xA9 \xE4\xB8\xAD \xF0\x9F\x98\x80", U"caf\u00E9 \u4E2D \U0001F600"},
      {"\xC3\xA9 and \xE9", U"\u00C3\u00A9 and \u00E9"},  // not UTF-8 as a whole: byte by byte
      {"cut \xE4\xB8", U"cut \u00E4\u00B8"},
      {"\xC1\x81", U"\u00C1\u0081"},  // overlong
      {"\xF4\x90\x80\x80", U"\u00F4\u0090\u0080\u0080"}};
  const uint32_t points = sweep_failures([&](CountingAllocator &allocator) {
    NameText text(allocator.record());
    for (const auto &[name, expected] : kRows) {
      const KIV_UNICHAR *decoded = text.decode(name);
      EXPECT_TRUE(decoded != nullptr || allocator.has_failed());
      if (decoded != nullptr) EXPECT_EQ(text_of(decoded), expected);
    }
  });
  EXPECT_GE(points, 2u);
}

}  // namespace
