// Runs the kiv_inspect program itself.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "gtest/gtest.h"
#include "tests/examples/dwarf_images.h"
#include "tests/examples/program_images.h"
#include "tests/support/process.h"

namespace {

using namespace kiv::test;
using kiv::inspect::ByteOrder;

using Lines = std::vector<std::string>;

/// Runs the program as it is and on the debug heap, which has to make no difference and nothing to tell.
ProcessResult run_inspect(std::vector<std::string> arguments, const std::string &input = {}) {
  const auto result = run_program(program_beside("kiv_inspect"), arguments, input);
  arguments.insert(arguments.begin(), "--debug-heap");
  const auto watched = run_program(program_beside("kiv_inspect"), arguments, input);
  EXPECT_EQ(watched.exit_code, result.exit_code);
  EXPECT_EQ(watched.out, result.out);
  EXPECT_EQ(watched.err, result.err);
  return result;
}

/// What stands between the separators of a text.
Lines split(const std::string &text, char separator) {
  std::istringstream stream(text);
  Lines parts;
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

/// Runs a line of words, of which FILE stands for a path.
ProcessResult run_line(const std::string &line, const std::string &path, const std::string &input = {}) {
  Lines words = split(line, ' ');
  std::replace(words.begin(), words.end(), std::string("FILE"), path);
  return run_inspect(words, input);
}

/// The values that an error's entries have behind one of their labels.
Lines values_of(const std::string &label, const std::string &err) {
  Lines values;
  for (const auto &line : split(err, '\n')) {
    if (line.starts_with(label) && line.size() >= 24) values.push_back(line.substr(24));
  }
  return values;
}

/// The library that the build made, by a path that the test's own system understands.
std::string library_file() {
  const std::string path = KIV_LIBRARY_FILE;
#ifdef _WIN32
  if (path[0] == '/') return "Z:" + path;
#endif
  return path;
}

TEST(KivInspectProgram, FindsAndResolvesAFunctionOfTheLibrary) {
  const std::string library = library_file();
  const auto result = run_inspect({"symbols", library});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const Lines lines = split(result.out, '\n');
  const auto found =
      std::find_if(lines.begin(), lines.end(), [](auto &line) { return line.ends_with(" F kiv_avl_insert"); });
  ASSERT_NE(found, lines.end());
  const std::string address = found->substr(0, found->find(' '));
  // Where several names share the address, the first of them stands for it: on Windows that with the underscore.
  const auto first = std::find_if(lines.begin(), lines.end(), [&](auto &line) { return line.starts_with(address); });
  const std::string name = first->substr(address.size() + 3);
  EXPECT_TRUE(name == "kiv_avl_insert" || name == "_kiv_avl_insert") << name;
  std::string next = address;
  ++next.back();  // functions are aligned: no carry
  EXPECT_EQ(run_inspect({"resolve", library, "0x" + address, next}).out,
            address + " " + name + "\n" + next + " " + name + "+0x1\n");
}

TEST(KivInspectProgram, PrintsNamesThatDoNoHarm) {
  const std::vector<ElfRow> rows = {{false, "a\x1b[2J\x7f\xc2\x9b\n~ z", 0x10, 2, 1, 1}, {false, "b", 0x20, 0, 1, 1}};
  const std::string path = write_file("harm", build_elf(false, ByteOrder::big, rows));
  EXPECT_EQ(run_inspect({"symbols", path}).out, "00000010 F a^[[2J\\x7F\\x9B^J~ z\n00000020 - b\n");
  EXPECT_EQ(run_inspect({"resolve", path, "F", "0X2f", "00000000000000000020", "123456789a"}).out,
            "0000000f no symbol\n0000002f b+0xf\n00000020 b\n123456789a b+0x123456787a\n");
  std::remove(path.c_str());
}

#ifndef _WIN32
// Elsewhere what the console's code page has decides.
TEST(KivInspectProgram, ShowsNamesAsTheLocaleDoes) {
  const std::vector<ElfRow> rows = {
      {false, "caf\xC3\xA9", 1, 2, 1, 1}, {false, "\xE2\x80\xAEmirror", 2, 2, 1, 1}, {false, "latin \xE9", 3, 2, 1, 1}};
  const std::string path = write_file("locale", build_elf(false, ByteOrder::little, rows));
  const std::string before = std::getenv("LC_ALL") != nullptr ? std::getenv("LC_ALL") : "";
  setenv("LC_ALL", "C", 1);
  EXPECT_EQ(run_inspect({"symbols", path}).out,
            "00000001 F caf\\xE9\n00000002 F \\x202Emirror\n00000003 F latin \\xE9\n");
  setenv("LC_ALL", "C.UTF-8", 1);
  EXPECT_EQ(run_inspect({"symbols", path}).out,
            "00000001 F caf\xC3\xA9\n00000002 F \\x202Emirror\n00000003 F latin \xC3\xA9\n");
  EXPECT_EQ(run_inspect({"symbols", path, "caf\xC3\xA9"}).out, "00000001 F caf\xC3\xA9\n");
  EXPECT_EQ(run_inspect({"resolve", path, "2"}).out, "00000002 \\x202Emirror\n");
  setenv("LC_ALL", before.c_str(), 1);
  std::remove(path.c_str());
}
#endif

/// Symbols with and without a size, in and around sections.
Image image_of_extents(bool wide, ByteOrder order) {
  const std::vector<ElfRow> rows = {{false, "main", 0x1000, 2, 1, 1, 0x20},     {false, "label", 0x1010, 0, 1, 1},
                                    {false, "tail", 0x1030, 2, 1, 1},           {false, "end", 0x1100, 0, 1, 1},
                                    {false, "data", 0x2000, 1, 1, 1, 8},        {true, "alias", 0x2000, 1, 1, 1},
                                    {true, "main", 0x2008, 2, 1, 1, 0xFFFFFFFF}};
  return build_elf(wide, order, rows,
                   {{".text", 0x1000, 0x100}, {".data", 0x2000, 0x10}, {".tbss", 0x2010, 8, 0x402}, {"none", 0, 9, 0}});
}

TEST(KivInspectProgram, ChoosesAndOrdersSymbols) {
  const std::string path = write_file("order", image_of_extents(false, ByteOrder::big));
  const std::string main = "00002008 4294967295 F main\n", tail = "00001030      208 F tail\n",
                    label = "00001010       32 - label\n", alias = "00002000        8 O alias\n";
  const std::pair<const char *, std::string> kRows[] = {
      {"FILE [b-l]?[^c-e]*", "00001010 - label\n00002000 O data\n"},
      {"--regex FILE ^.a.l$", "00001030 F tail\n"},
      {"FILE ^.a --regex --by-name",
       "00002000 O data\n00001010 - label\n00001000 F main\n00002008 F main\n00001030 F tail\n"},
      {"--by-size FILE", main + tail + "00001000       32 F main\n" + label + alias +
                             "00002000        8 O data\n00001100        0 - end\n"},
      {"FILE *l* --by-size 3", tail + label + alias},
      {"--by-size 18446744073709551615 FILE alias", alias},
  };
  for (const auto &[arguments, lines] : kRows) {
    EXPECT_EQ(run_line(std::string("symbols ") + arguments, path).out, lines) << arguments;
  }
  EXPECT_EQ(run_inspect({"symbols", path, ""}).out, "");
  std::remove(path.c_str());
}

TEST(KivInspectProgram, ListsWhatOverlapsARange) {
  const std::string elf = write_file("elf", image_of_extents(false, ByteOrder::little));
  const std::string wide = write_file("wide", image_of_extents(true, ByteOrder::big));
  const std::string pe = write_file("pe", build_pe(false, {{"_main", 0, 1, 0x20, 2, 0}, {"_data", 4, 2, 0, 2, 0}}, {}));
  const struct {
    const std::string &path;
    const char *arguments, *lines;
  } kRows[] = {
      {elf, "1020 1100",
       "00001000 000010ff S .text\n00001010 0000102f - label\n00001030 000010ff F tail\n00001100 00001100 - end\n"},
      {elf, "0x101f 101F", "00001000 000010ff S .text\n00001000 0000101f F main\n00001010 0000102f - label\n"},
      {elf, "ffffffff ffffffffffffffff", "00002008 ffffffff F main\n"},
      {elf, "100000000 ffffffffffffffff", ""},
      {wide, "200c 200c", "0000000000002000 000000000000200f S .data\n0000000000002008 0000000100002006 F main\n"},
      {pe, "401000 402004",
       "00401000 004017ff S .text\n00401000 004017ff F _main\n00402000 004027ff S .data\n00402004 004027ff O _data\n"},
  };
  for (const auto &[path, arguments, lines] : kRows) {
    EXPECT_EQ(run_line(std::string("ranges FILE ") + arguments, path).out, lines) << arguments;
  }
  EXPECT_EQ(run_inspect({"ranges", library_file(), "0", "ffffffffffffffff"}).exit_code, 0);
  for (const auto &path : {elf, wide, pe}) std::remove(path.c_str());

  Image image = image_of_extents(true, ByteOrder::little);
  image.put_at(16, 1, 2);  // an object file
  const std::string object = write_file("object", image);
  image.put_at(16, 2, 2);
  image.put_at(image.marks.at(".data header"), 0xFFFFFFF0, 4);
  const std::string damaged = write_file("damaged", image);
  EXPECT_EQ(
      values_of("User message (English)", run_inspect({"ranges", object, "0", "1"}).err),
      (Lines{"ranges of \"" + object + "\" cannot be listed", "it is an object file: its addresses are not final"}));
  EXPECT_TRUE(run_inspect({"symbols", "--by-size", "1", object}).out.ends_with(" 4294967295 F main\n"));
  EXPECT_EQ(values_of("User message (English)", run_inspect({"symbols", "--by-size", damaged}).err),
            (Lines{"the symbols of \"" + damaged + "\" cannot be listed", "its sections cannot be read",
                   "a name lies outside the string table"}));
  std::remove(object.c_str());
  std::remove(damaged.c_str());
}

TEST(KivInspectProgram, ListsSections) {
  const std::string elf = write_file("elf", build_elf_sections(true, ByteOrder::big,
                                                               {{"late", {1, 2}, 0x20, 0x6FFFFFFF, 2},
                                                                {"text", {1}, 0x10, 1, 6},
                                                                {"tbss", {}, 0x30, 8, 0x402},
                                                                {"odd", {1, 2, 3}, 0, 0x70000001}}));
  EXPECT_EQ(run_inspect({"sections", elf}).out,
            "0000000000000010 0000000000000010        1 PROGBITS    text\n"
            "0000000000000020 0000000000000021        2 GNU_versym  late\n"
            "---------------- ----------------        0 NOBITS      tbss\n"
            "---------------- ----------------        3 0x70000001  odd\n"
            "---------------- ----------------       30 PROGBITS    .shstrtab\n");
  std::remove(elf.c_str());
}

TEST(KivInspectProgram, ResolvesNames) {
  const std::string path = write_file("names", image_of_extents(false, ByteOrder::little));
  EXPECT_EQ(run_inspect({"resolve", path, "main", "tail", "1031", "tail", "nothing", "e"}).out,
            "00001000 main\n00002008 main\n00001030 tail\n00001031 tail+0x1\n00001030 tail\nnothing no symbol\n"
            "0000000e no symbol\n");
  std::remove(path.c_str());
}

TEST(KivInspectProgram, ResolvesTargetAddresses) {
  const std::string path = write_file(
      "spaces",
      build_elf(false, ByteOrder::little, {{false, "main", 0x1010, 2, 1, 1}, {false, "ns::f", 0x1200, 2, 1, 1}},
                {{".text", 0x1000, 0x100, 6}, {".rodata", 0x1100, 0x80, 2}, {".data", 0x1200, 0x10, 7}}));
  const std::vector<std::string> options = {"--space", "bit:0x100000000:1", "--space", "Far_2:9:24"};
  const auto run = [&](const std::string &command, std::vector<std::string> operands, const std::string &input = {}) {
    operands.insert(operands.begin(), {command, options[0], options[1], path, options[2], options[3]});
    return run_inspect(operands, input);
  };
  EXPECT_EQ(run("spaces", {}).out,
            "0 \"\" \"\" 8\n  00000000 ffffffff\n1 \"P\" \"code\" 8\n  00001000 000010ff .text\n"
            "  00001200 0000120f .data\n2 \"D\" \"data\" 8\n  00001200 0000120f .data\n3 \"R\" \"rodata\" 8\n"
            "  00001100 0000117f .rodata\n4294967296 \"bit\" \"bit\" 1\n  00000000 7ffffffff\n"
            "9 \"Far_2\" \"Far_2\" 24\n  00000000 55555555\n");
  // Of P and D and R only what is in their sections; a section's first bytes may have no symbol of their own.
  const std::string lines =
      "00001011 main+0x1\n00001011 main+0x1\n00001000 no symbol\n00001011 no symbol\n00001101 no symbol\n"
      "00001101 main+0xf1\n00001201 ns::f+0x1\n00001201 ns::f+0x1\n00001180 main+0x170\n00001180 no symbol\n"
      "00001010.7 main+0x0.7\n00000000.1 no symbol\n00001011 main+0x1\n00001200 ns::f\nP::x no symbol\n";
  const std::vector<std::string> texts = {"P:1011",   "code:0x1011", "P:1000",    "D:1011", "R:1101",
                                          ":1101",    "P:1201",      "data:1201", "1180",   "R:1180",
                                          "bit:8087", "bit:1",       "Far_2:55b", "ns::f",  "P::x"};
  EXPECT_EQ(run("resolve", texts).out, lines);
  std::string input;
  for (const auto &text : texts) input += " \t" + text + (text == "P:1011" ? "\r\n\n" : text == "P::x" ? "" : "\n");
  EXPECT_EQ(run("resolve", {}, input).out, lines);
  const struct {
    std::string text, problem;
  } kRows[] = {{"Q:1", "\"Q:1\" names no memory space"},
               {"P:10000000000000000", "\"P:10000000000000000\" lies beyond the 64 bits of a program's addresses"},
               {"Far_2:" + std::string(32, 'f'), "\"Far_2:" + std::string(32, 'f') + "\" lies beyond"}};
  for (const auto &row : kRows) {
    const auto told = run("resolve", {"main", row.text}), piped = run("resolve", {}, "main\n" + row.text + "\nmain\n");
    EXPECT_EQ(told.out, "");
    EXPECT_EQ(piped.out, "00001010 main\n");
    EXPECT_TRUE(told.exit_code == 1 && piped.exit_code == 1);
    EXPECT_TRUE(values_of("User message (English)", told.err).back().starts_with(row.problem)) << told.err;
    EXPECT_EQ(values_of("User message (English)", piped.err)[1], "line 2 of standard input cannot be resolved");
  }
  std::remove(path.c_str());
}

TEST(KivInspectProgram, ShowsTheConstantsOfARealProgram) {
  const auto result = run_inspect({"constants", program_beside("kiv_inspect_constants_fixture"), "fixture::*"});
  Lines found = split(result.out, '\n');
  std::sort(found.begin(), found.end());  // compilers differ in where they put what
  EXPECT_EQ(found, (Lines{"E fixture::Narrow::minus = -128", "E fixture::Record::Flag::on = 1",
                          "E fixture::Wide::most = 18446744073709551615", "E fixture::kAnonymous = 200",
                          "M fixture::Record::limit = -9223372036854775808", "V fixture::kThird = 0.3333333333333333"}))
      << result.err;
}

TEST(KivInspectProgram, ShowsConstantsThatDoNoHarm) {
  DwarfBuilder builder({5, false, false, ByteOrder::big});
  builder.begin_unit();
  builder.entry(39, false, {{3, 8, 0, "a\nb"}, {28, 8, 0, "\x1b[2J"}});
  builder.entry(39, false, {{3, 8, 0, "c"}, {28, 10, 0, std::string("\0\xff", 2)}});
  const std::string path = write_file("harm", builder.elf());
  EXPECT_EQ(run_inspect({"constants", path}).out, "C a^Jb = \"^[[2J\"\nC c = bytes 00 ff\n");
  std::remove(path.c_str());
}

/// A namespace with an enumeration of three, a union of the same name as a typedef, and a name that could do harm.
std::string write_types() {
  DwarfBuilder builder({5, false, true, ByteOrder::little});
  builder.begin_unit();
  builder.entry(57, true, {{3, 8, 0, "ns"}});
  builder.entry(4, true, {{3, 8, 0, "Color"}});
  for (const char *name : {"red", "green", "blue"}) builder.entry(40, false, {{3, 8, 0, name}, {28, 11, 5}});
  builder.end_children();
  builder.entry(22, false, {{3, 8, 0, "Same"}});
  builder.entry(23, true, {{3, 8, 0, "Same"}});
  builder.entry(36, false, {{3, 8, 0, "\x1b[2J\xC3\xA9"}});
  builder.end_children();
  return write_file("types", builder.elf());
}

TEST(KivInspectProgram, DrawsTheTypes) {
  const std::string path = write_types();
  const std::pair<const char *, const char *> kRows[] = {
      {"tree FILE ns::Color --width 40",
       "\n              [enum Color]\n              /         \\\n    [red..green]         [blue = 5]\n      /     "
       "\\\n[red = 5] [green = \n\n"},
      {"tree --width 16 FILE ns::Same", R"(
  [union Same]
     /
[?[2J?]

)"},
      {"tree FILE --width 5", R"(
[kiv_in
  /
)"},
  };
  for (const auto &[arguments, lines] : kRows) EXPECT_EQ("\n" + run_line(arguments, path).out, lines);
  for (const std::string name : {"", "ns::", "Color", "ns::Color::red", "ns:Color", "n"}) {
    EXPECT_EQ(values_of("User message (English)", run_inspect({"tree", path, name}).err),
              (Lines{"the types of \"" + path + "\" cannot be shown", "it has no type and no scope \"" + name + "\""}));
  }
  const std::string walk = run_line("tree --navigate FILE ns::Color", path, "p\nl\n\nr\nx").out;
  EXPECT_TRUE(walk.starts_with(run_line("tree --width 64 FILE ns::Color", path).out)) << walk;
  size_t at = 0;
  for (const char *text :
       {"cannot go up", "[red..green]", "[red = 5]", "cannot go to right node", "invalid option x"}) {
    at = walk.find(text, at);
    EXPECT_NE(at, walk.npos) << text;
  }
  std::remove(path.c_str());
}

TEST(KivInspectProgram, ShowsBytesAndBitFields) {
  const std::vector<SegmentRow> segments = {
      {0x1000, 24, std::string("\x12\x34\x56\x78~ |\x7f\x80\0\0\0\0\0\0\1xyz", 19)}};
  const std::string big = write_file("big", build_elf_sections(false, ByteOrder::big, {}, segments));
  const std::pair<const char *, const char *> kRows[] = {
      {"0x2 0x4:8le", "bits      4:8le\nhex       0x41\nunsigned  65\n"},
      {"2 0:16", "bits      0:16be\nhex       0x1234\nunsigned  4660\nfloat     0.000757\n"},
      {"2 0:13", "bits      0:13be\nhex       0x1234\nunsigned  4660\nsigned    -3532\n"},
      {"16 0:128le",
       "bits      0:128le\nhex       0x1000000000000807f7c207e78563412\n"
       "unsigned  1329227995784918243273301562588804114\nfloat     1.9465247358623725947665848812038714e-4855\n"},
  };
  for (const auto &[arguments, lines] : kRows) {
    const auto result = run_line(std::string("bytes FILE 1000 ") + arguments, big);
    EXPECT_TRUE(result.out.ends_with(std::string("|\n") + lines)) << result.out << result.err;
  }
  const auto outside = run_inspect({"bytes", big, "1017", "2"});
  EXPECT_EQ(outside.exit_code, 1);
  EXPECT_EQ(values_of("User message (English)", outside.err),
            (Lines{"bytes of \"" + big + "\" cannot be shown", "these addresses are not all in the program"}));
  std::remove(big.c_str());
}

TEST(KivInspectProgram, TellsErrorsLayerByLayer) {
  const std::string absent = run_inspect({"resolve", "no\x1bsuch", "1"}).err;
  EXPECT_EQ(values_of("User message (English)", absent).front(), "addresses in \"no^[such\" cannot be resolved");
  EXPECT_EQ(values_of("User help", absent).back(), "Does the file exist, and may you read it?");

  Image damaged = build_elf(false, ByteOrder::little, {{false, "name", 1, 2, 1, 1}});
  damaged.put_at(damaged.marks.at("symtab") + 16, 0xFFFFFFFF, 4);
  const std::string damaged_path = write_file("damaged", damaged);
  EXPECT_EQ(values_of("User message (Local)", run_inspect({"symbols", damaged_path}).err),
            (Lines{"the symbols of \"" + damaged_path + "\" cannot be listed", "its symbols cannot be read",
                   "section 1, a symbol table, cannot be read", "a name lies outside the string table"}));
  std::remove(damaged_path.c_str());
}

TEST(KivInspectProgram, ExplainsItsUsage) {
  // Each command with arguments of several tries, with commas between them.
  const std::pair<const char *, const char *> kRows[] = {
      {"symbols", "a b c,--regex a,a b --regex c,--by-name --by-size a,--by-size 0 a,--by-size 5"},
      {"ranges", "a 1,a 2 1,a 0 main"},
      {"resolve", "a  1,a 1 0x,a 1 P: 2,a 1 --space,a 1 --space b:9,a 1 --space b:9:0,a 1 --space b:1:8"},
      {"resolve", "a 1 --space code:9:8,a 1 --space 9b:9:8"},
      {"spaces", "a --space b:9:8 --space b:10:8,a b"},
      {"sections", ",a b"},
      {"--version", "a"},
      {"constants", ",a b c"},
      {"tree", ",a b c,--width a,a --width 0,a --width 1025,a --width 80 --navigate,a --cell 65 --navigate"},
      {"disasm", "a 1,a 1 0,a main 1,a 1 1 1"},
      {"bytes", "a 1,a 1 0,a 1 18446744073709551616,a 1 1 0:0,a 1 1 1:8,a 1 1 8,a 1 100 0:129,a 1 100 0:8xe"},
      {"bytes", "a 1 8 18446744073709551615:128"},
  };
  for (const auto &[command, tries] : kRows) {
    for (const std::string &arguments : split(tries, ',')) {
      const auto result = run_line(command + std::string(arguments.empty() ? "" : " ") + arguments, "");
      EXPECT_EQ(result.exit_code, 2) << command << " " << arguments;
      EXPECT_EQ(result.out, "");
      EXPECT_TRUE(result.err.starts_with("usage: kiv_inspect [--debug-heap] [--time] COMMAND\n  symbols "))
          << result.err;
    }
  }
}

}  // namespace
