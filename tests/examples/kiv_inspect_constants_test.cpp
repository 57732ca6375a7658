// The reader of debug information, on programs made byte by byte.

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <set>
#include <string_view>

#include "examples/kiv_inspect/constant_reader.h"
#include "examples/kiv_inspect/dwarf_codes.h"
#include "examples/kiv_inspect/program.h"
#include "examples/kiv_inspect/type_label.h"
#include "examples/kiv_inspect/type_reader.h"
#include "examples/kiv_inspect/type_tree.h"
#include "gtest/gtest.h"
#include "tests/examples/dwarf_images.h"
#include "tests/examples/failure_text.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"

namespace {

using namespace kiv::inspect;
using namespace kiv::inspect::dwarf;
using namespace kiv::test;

using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::string>;

/// What the readers make of some bytes: constants as "KIND NAME = VALUE", and the leaves of the tree of types.
struct Reading {
  std::string problem, type_problem;
  Lines constants, types;
};

/// What an object's descriptor makes of it; "" without memory.
std::string text_of(const KIV_OBJ *object) {
  char *text = object->type->to_char_s(object);
  const std::string result = text != nullptr ? text : "";
  object->allocator->free(object->allocator, text);
  return result;
}

std::string line_of(const Constant &constant) {
  return "ECVM"[static_cast<int>(constant.kind)] + (" " + std::string(constant.name)) + " = " + text_of(constant.value);
}

/// The leaves of the tree of types, as the labels on the way to them but for those that stand for several. Whatever the
/// bytes were, each node of the table is in the tree once.
Lines list_types(const TypeTable &table, const Errors &errors, KIV_ALLOCATOR *allocator) {
  TypeTree tree(errors, allocator);
  EXPECT_TRUE(tree.build(table, *table.program()).ok());
  Lines leaves;
  std::set<const TypeNode *> nodes;
  std::string way;
  std::vector<std::pair<const KIV_OBJ *, size_t>> rest = {{tree.root(), 0}};  // with the length of the way to each
  while (!rest.empty()) {
    const auto [node, length] = rest.back();
    rest.pop_back();
    way.resize(length);
    const KIV_OBJ *value = obj_tree_get(node), *left = obj_tree_get_left(node), *right = obj_tree_get_right(node);
    const auto *label = reinterpret_cast<const TypeLabel *>(value);
    if (label->first == label->last) {
      EXPECT_TRUE(nodes.insert(label->first).second);
      way += (way.empty() ? "" : "/") + text_of(value);
    }
    if (left == nullptr) leaves.push_back(way);
    if (right != nullptr) rest.push_back({right, way.size()});
    if (left != nullptr) rest.push_back({left, way.size()});
  }
  EXPECT_EQ(nodes.size(), table.count());
  return leaves;
}

Reading read(const Bytes &bytes) {
  // A block of its own, so that the address sanitizer knows where the file ends.
  const auto exact = std::make_unique<uint8_t[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), exact.get());
  const ByteView file(exact.get(), static_cast<uint32_t>(bytes.size()), ByteOrder::little);
  KIV_ALLOCATOR heap, wrap;
  kiv_allocator_wrap_new(&wrap, kiv_allocator_default_new(&heap), 0);
  const Errors errors(&heap);
  Reading reading;
  {
    ConstantTable constants(errors);
    EXPECT_TRUE(constants.open(&wrap, &heap).ok());
    reading.problem = problem_of(read_constants(file, constants));
    for (const Constant *c = constants.first(); c != nullptr; c = c->next) reading.constants.push_back(line_of(*c));
    TypeTable types(errors);
    EXPECT_TRUE(types.open(&wrap).ok());
    reading.type_problem = problem_of(read_types(file, types));
    reading.types = list_types(types, errors, &heap);
  }
  kiv_allocator_wrap_delete(&wrap);
  return reading;
}

// --- Programs --------------------------------------------------------------------------------------------------------

static_assert(kSpecification == 0x47 && kSignature == 0x69 && kStringOffsetsBase == 0x72);  // by no compiler here
constexpr uint32_t kCompileUnit = 0x11, kSubprogram = 0x2E, kUnknownAttribute = 0x2FFF;
enum : uint32_t { kBlock2 = 3, kBlock4, kData2, kData4, kData8, kString, kBlock, kBlock1, kData1, kFlag, kSdata };
enum : uint32_t { kStrp = 14, kUdata, kRefAddr, kRef1, kRef2, kRef4, kRef8, kRefUdata, kIndirect, kSecOffset };
enum : uint32_t { kExprloc = 24, kPresent, kStrx, kData16 = 30, kLineStrp, kSig8, kImplicit, kStrx2 = 0x26 };

DwarfAttribute name(const std::string &text) { return {kName, kString, 0, text}; }

const DwarfShape kShapes[] = {
    {4, false, false, ByteOrder::little}, {5, false, false, ByteOrder::big},   {4, true, true, ByteOrder::big},
    {5, true, true, ByteOrder::little},   {5, false, true, ByteOrder::little}, {2, false, true, ByteOrder::big},
};
constexpr DwarfShape kPlain = {5, false, true, ByteOrder::little};

std::string shape_text(const DwarfShape &shape) {
  return std::to_string(shape.version) + (shape.long_offsets ? " long" : "") + (shape.wide ? " wide" : "") +
         (shape.order == ByteOrder::big ? " big" : "");
}

struct ValueRow {
  const char *type;  // of the list below, or ""
  uint32_t form;
  uint64_t value;
  std::string contents;  // of blocks and data16 with the most significant byte first
  const char *expected;
};

const struct {
  const char *name;
  uint64_t encoding, size;
} kTypes[] = {{"int", 5, 4},     {"unsigned", 7, 4}, {"char", 6, 1},   {"__int128", 5, 16}, {"half", 4, 2},
              {"__bf16", 4, 2},  {"float", 4, 4},    {"double", 4, 8}, {"long", 4, 16},     {"__float128", 4, 16},
              {"complex", 3, 8}, {"odd", 4, 6},      {"u128", 7, 16}};

const std::string kPi = "\x40\x09\x21\xF9\xF0\x1B\x86\x6E";  // 3.14159

const std::vector<ValueRow> kValues = {
    {"", kData1, 0xFF, "", "255"},
    {"", kData8, ~uint64_t{3}, "", "18446744073709551612"},
    {"", kSdata, uint64_t{1} << 63, "", "-9223372036854775808"},
    {"", kImplicit, ~uint64_t{5}, "", "-6"},
    {"", kUdata, 0, std::string(18, '\xFF') + '\3', "340282366920938463463374607431768211455"},
    {"", kSdata, 0, std::string(18, '\x80') + '\x7E', "-170141183460469231731687303715884105728"},
    {"", kBlock1, 0, "\1\2", "bytes 01 02"},
    {"", kString, 0, "text", "\"text\""},
    // The type's width and sign.
    {"int", kData1, 200, "", "200"},
    {"int", kData4, 0xFFFFFFFB, "", "-5"},
    {"unsigned", kSdata, ~uint64_t{0}, "", "4294967295"},
    {"char", kData1, 0x80, "", "-128"},
    {"u128", kSdata, ~uint64_t{0}, "", "340282366920938463463374607431768211455"},
    {"__int128", kBlock1, 0, std::string(15, '\xFF') + "\xFE", "-2"},
    {"int", kBlock, 0, std::string("\0\0\1\0", 4), "256"},
    {"int", kBlock2, 0, "\1\2", "bytes 01 02"},
    // Numbers with a fraction.
    {"half", kData2, 0x3555, "", "0.3333"},
    {"__bf16", kData2, 0x3FC0, "", "1.5"},
    {"float", kData4, 0x3DCCCCCD, "", "0.1"},
    {"double", kBlock1, 0, kPi, "3.14159"},
    {"double", kSdata, 0xFFF0000000000000, "", "-Inf"},
    {"double", kExprloc, 0, "\x7F\xF8" + std::string(6, '\0'), "NaN"},
    {"__float128", kBlock4, 0, "\x3F\xFD" + std::string(14, '\x55'), "0.3333333333333333333333333333333333"},
    {"long", kData16, 0, std::string(6, '\xEE') + "\xBF\xFF\xA0" + std::string(7, '\0'), "-1.25"},
    {"complex", kBlock1, 0, "\1\2", "bytes 01 02"},
    {"odd", kBlock1, 0, "\1\2\3\4\5\6", "bytes 01 02 03 04 05 06"},
};

/// Contents as the file has them.
std::string contents_of(const ValueRow &row, ByteOrder order) {
  const bool number = row.form != kUdata && row.form != kSdata && row.form != kString;
  const bool turned = number && order == ByteOrder::little && !std::string_view(row.expected).starts_with("bytes");
  return turned ? std::string(row.contents.rbegin(), row.contents.rend()) : row.contents;
}

TEST(KivInspectConstants, DecodesValuesInEveryForm) {
  for (const DwarfShape &shape : kShapes) {
    DwarfBuilder builder(shape);
    builder.begin_unit();
    builder.entry(kCompileUnit, true, {});
    std::map<std::string, uint64_t> types;
    for (const auto &type : kTypes) {
      types[type.name] = builder.entry(
          kBaseType, false, {name(type.name), {kEncoding, kData1, type.encoding}, {kByteSize, kData1, type.size}});
    }
    Lines expected;
    for (const ValueRow &row : kValues) {
      const std::string label = std::string(row.type) + " " + std::to_string(expected.size());
      std::vector<DwarfAttribute> attributes = {{kConstValue, row.form, row.value, contents_of(row, shape.order)},
                                                name(label)};
      if (*row.type != '\0') attributes.push_back({kType, kRef4, types[row.type]});
      builder.entry(kConstant, false, attributes);
      expected.push_back("C " + label + " = " + row.expected);
    }
    builder.end_children();
    const Reading reading = read(builder.elf().bytes);
    EXPECT_EQ(reading.problem, "") << shape_text(shape);
    EXPECT_EQ(reading.constants, expected) << shape_text(shape);
  }
}

TEST(KivInspectConstants, ShowsNoPairOfDoublesAsOneNumber) {
  DwarfBuilder builder(kPlain);
  builder.begin_unit();
  for (const char *label : {"long double", "__ibm128", "__float128"}) {
    const uint64_t type =
        builder.entry(kBaseType, false, {name(label), {kEncoding, kData1, 4}, {kByteSize, kData1, 16}});
    const std::string one = std::string(14, '\0') + "\xFF\x3F";
    builder.entry(kConstant, false, {name(label), {kType, kRef4, type}, {kConstValue, kBlock1, 0, one}});
  }
  Image image = builder.elf();
  image.put_at(18, 21, 2);  // PowerPC
  std::string bytes = "bytes";
  for (int i = 0; i < 14; ++i) bytes += " 00";
  bytes += " ff 3f";
  EXPECT_EQ(read(image.bytes).constants,
            (Lines{"C long double = " + bytes, "C __ibm128 = " + bytes, "C __float128 = 1.0"}));
}

/// Random attributes of no interest, the first in the given form.
std::vector<DwarfAttribute> random_attributes(std::mt19937_64 &random, uint32_t i) {
  constexpr uint32_t kForms = 0x2F;  // 1 to 0x2C, but 2 is never given out, and those of GNU
  std::vector<DwarfAttribute> attributes;
  for (uint32_t left = below(random, 6);; --left, i = below(random, kForms)) {
    i %= kForms;
    const uint32_t form = i == 1 ? 0x1F01u : i < 0x2C ? i + 1 : std::array{0x1F02u, 0x1F20u, 0x1F21u}[i - 0x2C];
    std::string contents(below(random, 200), 'x');
    if (form == kData16) contents = std::string(16, 'x');
    if (form == kIndirect) contents = "\x16\x16\x0A\2ab";  // twice indirect, then a block of two bytes
    if (form == kSdata || form == kUdata || form == kRefUdata || (form >= kStrx && form != kData16)) contents.clear();
    attributes.push_back({kUnknownAttribute, form, random() >> below(random, 64), contents});
    if (left == 0) return attributes;
  }
}

/// Entries of all kinds, of which few are read: what stands where, and in which scopes, is only known when everything
/// between is skipped as it should be.
TEST(KivInspectConstants, FindsItsWayThroughWhatNobodyAsksFor) {
  auto random = make_random();
  for (const DwarfShape &shape : kShapes) {
    DwarfBuilder builder(shape);
    builder.begin_unit();
    Lines expected;
    std::vector<std::string> around = {""};  // of the lists of children that are open
    for (uint32_t i = 0; i < 400; ++i) {
      const std::string label = std::to_string(i);
      auto attributes = random_attributes(random, i);
      const auto insert = [&](const DwarfAttribute &attribute) {
        attributes.insert(attributes.begin() + below(random, static_cast<uint32_t>(attributes.size()) + 1), attribute);
      };
      switch (below(random, 5)) {
        case 0:
          builder.entry(kSubprogram, false, attributes);
          break;
        case 1:
          builder.entry(kSubprogram, true, attributes);
          around.push_back(around.back());
          break;
        case 2:
          insert(name(label));
          builder.entry(kNamespace, true, attributes);
          around.push_back(around.back() + label + "::");
          break;
        case 3:
          builder.end_children();  // also where there is nothing to end
          if (around.size() > 1) around.pop_back();
          break;
        default:
          insert(name(label));
          insert({kConstValue, kUdata, i});
          builder.entry(kConstant, false, attributes);
          expected.push_back("C " + around.back() + label + " = " + label);
      }
    }
    const Reading reading = read(builder.elf().bytes);
    EXPECT_EQ(reading.problem, "") << shape_text(shape);
    EXPECT_EQ(reading.constants, expected) << shape_text(shape);
  }
}

/// A program with everything that names and types can be made of.
DwarfBuilder build_program(const DwarfShape &shape, Lines *expected) {
  DwarfBuilder builder(shape);
  const uint64_t red = builder.text("red"), line_text = builder.text("from line", true);
  const uint64_t base = shape.long_offsets ? 16 : 8;
  builder.text_index(builder.text("zero"));
  builder.text_index(builder.text("one"));
  constexpr uint64_t kTypeSignature = 0xFEDCBA9876543210;
  builder.begin_unit(2, kTypeSignature);
  builder.entry(kEnumerationType, true, {name("Shared"), {kEncoding, kData1, 5}, {kByteSize, kData1, 1}});
  builder.entry(kEnumerator, false, {name("minus"), {kConstValue, kData1, 0xFF}});
  builder.end_children();
  // A type that completes a declaration in its scopes, and an enumeration that completes one in the type.
  builder.begin_unit(2, kTypeSignature + 1);
  builder.entry(kNamespace, true, {name("far"), {kDeclaration, kPresent}});
  const uint64_t scoped = builder.entry(kStructureType, false, {name("Scoped"), {kDeclaration, kPresent}});
  builder.end_children();
  builder.entry(kStructureType, true, {name("Scoped"), {kSpecification, kRef4, scoped}});
  const uint64_t inner = builder.entry(kEnumerationType, false, {name("Inner"), {kDeclaration, kFlag, 1}});
  builder.entry(kMember, false, {name("n"), {kConstValue, kData1, 3}});
  builder.end_children();
  builder.entry(kEnumerationType, true, {{kSpecification, kRef4, inner}});
  builder.entry(kEnumerator, false, {name("i"), {kConstValue, kData1, 4}});
  builder.end_children();

  builder.begin_unit();
  const uint64_t first_unit = builder.unit_start();
  builder.entry(kCompileUnit, true, {{kStringOffsetsBase, kSecOffset, base}});
  const uint64_t type = builder.entry(kBaseType, false, {name("char"), {kEncoding, kData1, 6}, {kByteSize, kData1, 1}});
  const uint64_t qualified = builder.entry(kConstType, false, {{kType, kRefUdata, type}});
  builder.entry(kNamespace, true, {name("outer")});
  builder.entry(kNamespace, true, {});  // without a name
  builder.entry(kEnumerationType, true, {name("Color"), {kType, kRef8, type}});
  builder.entry(kEnumerator, false, {{kName, kStrp, red}, {kConstValue, kData1, 0xFE}});
  builder.entry(kEnumerator, false, {{kName, kStrx2, 1}, {kConstValue, kSdata, 7}});
  builder.end_children();
  builder.entry(kEnumerationType, true, {});
  builder.entry(kEnumerator, false, {{kName, kStrx, 0}, {kConstValue, kData1, 0xFD}});
  builder.end_children();
  builder.entry(kStructureType, true, {{kName, kLineStrp, line_text}});
  const uint64_t member = builder.entry(
      kMember, false, {name("m"), {kType, kRef2, qualified}, {kConstValue, kData2, 0xFF}, {kDeclaration, kPresent}});
  builder.entry(kMember, false, {name("without a value")});
  builder.end_children();
  // Its name and its scopes, of which there are none, are those of its type unit.
  builder.entry(kStructureType, true, {{kDeclaration, kPresent}, {kSignature, kSig8, kTypeSignature}});
  builder.entry(kMember, false, {name("s"), {kConstValue, kData1, 5}});
  builder.end_children();
  builder.end_children();
  builder.end_children();
  builder.entry(kSubprogram, true, {name("function")});
  builder.entry(kVariable, false, {{kSpecification, kRef4, member}, {kConstValue, kData1, 0xFC}});
  builder.entry(kVariable, false, {{kAbstractOrigin, kRefAddr, first_unit + member}, {kConstValue, kData1, 0xFC}});
  builder.entry(kVariable, false, {{kConstValue, kData1, 1}});  // without a name
  builder.entry(kVariable, false, {name("shared"), {kType, kSig8, kTypeSignature}, {kConstValue, kData1, 0xFB}});
  builder.entry(kVariable, false, {name("elsewhere"), {kType, kSig8, 1}, {kConstValue, kData1, 0xFB}});
  builder.end_children();

  builder.begin_unit();
  builder.entry(kCompileUnit, true, {});
  const uint64_t name_type = builder.entry(kTypedef, false, {name("t"), {kType, kRefAddr, first_unit + type}});
  builder.entry(kVariable, false, {name("v"), {kType, kRef1, name_type}, {kConstValue, kData1, 0xFA}});
  builder.entry(kVariable, false, {name("v"), {kType, kRef1, name_type}, {kConstValue, kSdata, ~uint64_t{5}}});
  builder.entry(kVariable, false, {name("elsewhere"), {kConstValue, kSdata, 251}});
  builder.end_children();

  *expected = {"E outer::Color::red = -2",
               "E outer::Color::one = 7",
               "E outer::zero = 253",
               "M outer::from line::m = -1",
               "M Shared::s = 5",
               "V outer::from line::m = -4",
               "V m = -4",
               "V shared = -5",
               "V elsewhere = 251",
               "V v = -6"};
  expected->insert(expected->begin(), {"E Shared::minus = -1", "M far::Scoped::n = 3", "E far::Scoped::Inner::i = 4"});
  return builder;
}

/// The leaves of the tree of its types.
const Lines kTypesOfProgram = {"enum Shared/minus = -1",
                               "char",
                               "namespace far/struct Scoped/enum Inner/i = 4",
                               "namespace outer/namespace/enum/zero = 253",
                               "namespace outer/namespace/enum Color/red = -2",
                               "namespace outer/namespace/enum Color/one = 7",
                               "namespace outer/namespace/struct from line",
                               "typedef t"};

struct Case {
  std::string name;
  Image image;
  Lines constants;
};

const std::vector<Case> &cases() {
  static const std::vector<Case> all = [] {
    std::vector<Case> list;
    for (const DwarfShape &shape : kShapes) {
      Lines expected;
      DwarfBuilder builder = build_program(shape, &expected);
      list.push_back({"ELF " + shape_text(shape), builder.elf(), expected});
      if (shape.order == ByteOrder::little) list.push_back({"PE " + shape_text(shape), builder.pe(), expected});
    }
    return list;
  }();
  return all;
}

TEST(KivInspectConstants, FollowsNamesAndTypes) {
  for (const Case &c : cases()) {
    const Reading reading = read(c.image.bytes);
    EXPECT_EQ(reading.problem, "") << c.name;
    EXPECT_EQ(reading.constants, c.constants) << c.name;
    EXPECT_EQ(reading.type_problem, "") << c.name;
    EXPECT_EQ(reading.types, kTypesOfProgram) << c.name;
  }
}

// --- Damage ----------------------------------------------------------------------------------------------------------

TEST(KivInspectConstants, SurvivesTruncationAtEveryLength) {
  for (const Case &c : cases()) {
    const std::set<std::string> all(c.constants.begin(), c.constants.end());
    for (size_t length = 0; length < c.image.bytes.size(); ++length) {
      const Reading reading = read(Bytes(c.image.bytes.data(), c.image.bytes.data() + length));
      // The last byte of all images belongs to a table that is needed.
      EXPECT_NE(reading.problem, "") << c.name << " " << length;
      for (const auto &line : reading.constants) EXPECT_TRUE(all.contains(line)) << c.name << length << line;
    }
  }
}

TEST(KivInspectConstants, SurvivesRandomDamage) {
  auto random = make_random();
  for (int round = 0; round < 4000; ++round) {
    Image image = cases()[below(random, static_cast<uint32_t>(cases().size()))].image;
    image.damage(random);
    const Reading reading = read(image.bytes);
    EXPECT_EQ(std::set(reading.constants.begin(), reading.constants.end()).size(), reading.constants.size()) << round;
  }
}

TEST(KivInspectConstants, TellsWhatIsWrong) {
  using Entry = std::pair<uint32_t, std::vector<DwarfAttribute>>;
  const struct {
    std::vector<Entry> entries;
    const char *problem;
  } kRows[] = {
      {{{kConstant, {{kUnknownAttribute, 2}}}}, "an attribute has an unknown form"},
      {{{kConstant, {{kUnknownAttribute, kIndirect, 0, "\x16"}}}}, "an entry of its debug information is cut off"},
      {{{kConstant, {{kConstValue, kUdata, 0, std::string(30, '\x80')}}}},
       "an entry of its debug information is cut off"},
      {{{kConstant, {{kUnknownAttribute, kUdata, 0, std::string(30, '\x80')}}}},
       "an entry of its debug information is cut off"},
      {{{kConstant, {{kName, kStrp, 99}, {kConstValue, kData1}}}}, "a name lies outside the string table"},
      {{{kConstant, {{kName, kStrx, 99}, {kConstValue, kData1}}}}, "a name's index lies outside the string offsets"},
      {{{kConstant, {{kName, 0x1F21, 1}, {kConstValue, kData1}}}}, "its debug information has names in another file"},
      {{{kVariable, {{kAbstractOrigin, kRef4, 0x10000}, {kConstValue, kData1}}}},
       "a reference in its debug information leads nowhere"},
      {{{kVariable, {name("v"), {kType, kRefAddr, 1}, {kConstValue, kData1}}}},
       "a reference in its debug information leads nowhere"},
      {{{kCompileUnit, {{0x2130, kData1}}}}, "its debug information is split: the entries are in .dwo files"},
      {{{kCompileUnit, {{0x76, kData1}}}}, "its debug information is split: the entries are in .dwo files"},
      {{{kVariable, {{kAbstractOrigin, kRef1, 12}, {kConstValue, kData1}}}}, ""},  // completes itself
      {{{kVariable, {name("v"), {kType, kRef1, 12}, {kConstValue, kData1}}}, {kVariable, {}}}, ""},
  };
  for (const auto &row : kRows) {
    DwarfBuilder builder(kPlain);
    builder.begin_unit();
    for (const auto &[tag, attributes] : row.entries) builder.entry(tag, false, attributes);
    EXPECT_EQ(read(builder.elf().bytes).problem, row.problem);
  }
}

TEST(KivInspectConstants, TellsWhatFilesLack) {
  Lines expected;
  const Image elf = build_program(kPlain, &expected).elf(), pe = build_program(kPlain, &expected).pe();
  const struct {
    const Image *image;
    const char *mark;
    size_t offset;
    uint64_t value;
    int width;
    const char *problem;
  } kRows[] = {
      {&elf, ".debug_info", 0, 0xFFFFFFF0, 4, "a unit's DWARF format is unknown"},
      {&elf, ".debug_info", 0, 0x100000, 4, "a unit of its debug information is cut off"},
      {&elf, ".debug_info", 4, 6, 2, "a unit's DWARF version is unknown"},
      {&elf, ".debug_info", 6, 4, 1, "its debug information is split: the entries are in .dwo files"},
      {&elf, ".debug_info", 6, 0x80, 1, "a unit's type is unknown"},
      {&elf, ".debug_info", 7, 9, 1, "a unit's address size is unknown"},
      {&elf, ".debug_info", 8, 0x10000, 4, "its abbreviations are cut off"},
      {&elf, ".debug_info", 24, 0x7F, 1, "an entry of its debug information has an unknown abbreviation"},
      {&elf, ".debug_info header", 9, 8, 1, "its debug information is compressed, which is not supported"},
      {&elf, ".debug_info header", 4, 8, 4, "it has no debug information"},
      {&elf, ".debug_abbrev header", 24, 0x100000, 8, "a section lies outside the file"},
      {&elf, "", 16, 1, 2, "it is an object file: its debug information is not linked"},
      {&elf, "", 62, 0xFF, 2, "its sections have no string table"},
      {&elf, ".shstrtab", 2, 'X', 1, "it has no debug information"},
      {&pe, "sections", 16, 0x100000, 4, ""},  // only padding
      {&pe, "sections", 20, 0x100000, 4, "a section lies outside the file"},
      {&pe, "strings", 5, 'X', 1, "it has no debug information"},
      {&pe, "strings", 0, 0x1000, 4, "its string table lies outside the file"},
  };
  for (const auto &row : kRows) {
    Image image = *row.image;
    image.put_at((*row.mark != '\0' ? image.marks.at(row.mark) : 0) + row.offset, row.value, row.width);
    EXPECT_EQ(read(image.bytes).problem, row.problem) << row.mark << row.offset;
  }
  const std::pair<const char *, const char *> kNames[] = {
      {".zdebug_info", "its debug information is compressed, which is not supported"},
      {".debug_info.dwo", "its debug information is split: the entries are in .dwo files"},
      {".debug_information", "it has no debug information"}};
  for (const auto &[section, problem] : kNames) {
    EXPECT_EQ(read(build_elf_sections(true, ByteOrder::big, {{section, {0}}}).bytes).problem, problem);
    EXPECT_EQ(read(build_pe_sections(false, {{section, {0}}}).bytes).problem, problem);
  }
  EXPECT_EQ(read({'M', 'Z'}).problem, "it is neither an ELF nor a PE file");
}

/// Files that would take a reader without limits very long, or deep.
TEST(KivInspectConstants, IsNotKeptBusyByHostileFiles) {
  DwarfBuilder deep(kPlain), wide(kPlain), long_names(kPlain);
  deep.begin_unit();
  for (int i = 0; i < 5000; ++i) deep.entry(kNamespace, true, {});
  const Reading levels = read(deep.elf().bytes);
  EXPECT_EQ(levels.problem, "the scopes of its debug information are nested too deeply");
  EXPECT_EQ(levels.type_problem, levels.problem);
  EXPECT_EQ(levels.types.size(), 1u);

  wide.begin_unit();
  const uint64_t start =
      wide.entry(kVariable, false, std::vector<DwarfAttribute>(50000, {kUnknownAttribute, kPresent}));
  for (int i = 0; i < 2000; ++i) wide.entry(kVariable, false, {{kAbstractOrigin, kRef4, start}, {kConstValue, kData1}});
  EXPECT_EQ(read(wide.elf().bytes).problem, "its debug information refers too often to the same entries");

  long_names.begin_unit();
  const uint64_t text = long_names.text(std::string(20000, 'a'));
  long_names.entry(kNamespace, true, {{kName, kStrp, text}});
  long_names.entry(kNamespace, true, {{kName, kStrp, text}});
  for (uint64_t i = 0; i < 3000; ++i) long_names.entry(kVariable, false, {name("v"), {kConstValue, kData4, i}});
  EXPECT_EQ(read(long_names.elf().bytes).problem, "its names share too many bytes");
}

/// Shows values, and labels of the tree, of which drawing tells only afterwards that one was not made.
Status show_all(Program &program, const Errors &errors, KIV_ALLOCATOR *allocator, std::string *shown) {
  for (const Constant *c = program.constants().first(); c != nullptr; c = c->next) {
    const std::string text = text_of(c->value);
    if (text.empty()) return errors.out_of_memory();
    *shown += text + " ";
  }
  TypeTree tree(errors, allocator);
  const Status status = tree.build(program.types(), *program.types().program());
  if (!status.ok()) return status;
  for (const KIV_OBJ *node = tree.root(); node != nullptr; node = obj_tree_get_right(node)) {
    *shown += text_of(obj_tree_get(node)) + " ";
  }
  return tree.labels();
}

TEST(KivInspectConstants, TellsEveryShortageOfMemory) {
  const std::string path = write_file("sweep", cases()[0].image);
  std::string all;
  Lines shown_in_full;
  const uint32_t points = sweep_failures([&](CountingAllocator &allocator) {
    KIV_ALLOCATOR heap;
    const Errors errors(kiv_allocator_default_new(&heap));
    Program program(errors, allocator.record());
    Status status = program.load(path.c_str());
    for (auto load : {&Program::load_constants, &Program::load_memory, &Program::load_types}) {
      if (status.ok()) status = (program.*load)();
    }
    EXPECT_EQ(problem_of(status), allocator.has_failed() ? kOutOfMemoryText : "");
    if (!status.ok()) return;
    std::string shown;
    status = show_all(program, errors, allocator.record(), &shown);
    // A text that cannot be moved to a smaller block is as good.
    EXPECT_TRUE(status.ok() || allocator.has_failed());
    EXPECT_EQ(problem_of(status), status.ok() ? "" : kOutOfMemoryText);
    if (!allocator.has_failed()) all = shown;
    if (status.ok()) shown_in_full.push_back(shown);
  });
  for (const auto &shown : shown_in_full) EXPECT_EQ(shown, all);
  EXPECT_GE(points, 40u);
  std::remove(path.c_str());
}

}  // namespace
