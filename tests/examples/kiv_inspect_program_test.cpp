// Runs the kiv_inspect program itself.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "gtest/gtest.h"
#include "tests/examples/program_images.h"
#include "tests/support/process.h"

namespace {

using namespace kiv::test;
using kiv::inspect::ByteOrder;

using Lines = std::vector<std::string>;

ProcessResult run_inspect(const std::vector<std::string> &arguments) {
  return run_program(program_beside("kiv_inspect"), arguments);
}

Lines lines_of(const std::string &text) {
  Lines lines;
  for (size_t at = 0, end; (end = text.find('\n', at)) != std::string::npos; at = end + 1)
    lines.push_back(text.substr(at, end - at));
  return lines;
}

/// The library that the build made, by a path that the test's own system understands.
std::string library_file() {
  const std::string path = KIV_LIBRARY_FILE;
#ifdef _WIN32
  if (path[0] == '/') return "Z:" + path;
#endif
  return path;
}

TEST(KivInspectProgram, FindsItsOwnMain) {
  const auto result = run_inspect({"symbols", program_beside("kiv_inspect"), "*main"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_TRUE(result.out.find(" F main\n") != std::string::npos || result.out.find(" F _main\n") != std::string::npos);
  for (const auto &line : lines_of(result.out)) EXPECT_TRUE(line.ends_with("main")) << line;
}

TEST(KivInspectProgram, FindsAndResolvesAFunctionOfTheLibrary) {
  const std::string library = library_file();
  const auto result = run_inspect({"symbols", library});
  ASSERT_EQ(result.exit_code, 0) << result.err;
  const Lines lines = lines_of(result.out);
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

TEST(KivInspectProgram, ChoosesByWildcardOrRegularExpression) {
  const std::vector<ElfRow> rows = {
      {false, "alpha", 1, 2, 1, 1}, {false, "beta", 2, 2, 1, 1}, {false, "al", 3, 2, 1, 1}};
  const std::string path = write_file("choose", build_elf(false, ByteOrder::little, rows));
  const std::string alpha = "00000001 F alpha\n", beta = "00000002 F beta\n", al = "00000003 F al\n";
  const struct {
    std::vector<std::string> arguments;
    std::string lines;
  } kRows[] = {
      {{path}, alpha + beta + al},          {{path, "*"}, alpha + beta + al}, {{path, "al"}, al},
      {{path, "a*"}, alpha + al},           {{path, "[b-z]?t[^b-z]"}, beta},  {{path, ""}, ""},
      {{"--regex", path, "l"}, alpha + al}, {{path, "--regex", "^.l$"}, al},  {{path, "[ph]+a$", "--regex"}, alpha}};
  for (const auto &row : kRows) {
    std::vector<std::string> arguments = row.arguments;
    arguments.insert(arguments.begin(), "symbols");
    EXPECT_EQ(run_inspect(arguments).out, row.lines) << row.arguments.back();
  }
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

TEST(KivInspectProgram, TellsErrorsInOneLine) {
  std::ifstream file(library_file(), std::ios::binary);
  Image image;
  image.bytes.assign(std::istreambuf_iterator<char>(file), {});
  ASSERT_GT(image.bytes.size(), 10000u);
  image.bytes.resize(image.bytes.size() / 2);
  const std::string path = write_file("cut", image);
  const auto cut = run_inspect({"symbols", path});
  EXPECT_EQ(cut.exit_code, 1);
  EXPECT_EQ(cut.out, "");
  EXPECT_TRUE(cut.err.starts_with("kiv_inspect: " + path + ": ")) << cut.err;
  EXPECT_EQ(lines_of(cut.err).size(), 1u) << cut.err;
  std::remove(path.c_str());

  const auto absent = run_inspect({"resolve", path, "1"});
  EXPECT_EQ(absent.exit_code, 1);
  EXPECT_EQ(absent.err, "kiv_inspect: " + path + ": it cannot be opened: No such file or directory\n");
}

TEST(KivInspectProgram, ExplainsItsUsage) {
  const std::vector<std::vector<std::string>> rows = {{},
                                                      {"symbols", "a", "b", "c"},
                                                      {"symbols", "--regex", "a"},
                                                      {"symbols", "a", "b", "--regex", "c"},
                                                      {"resolve", "a", "1", "0x"},
                                                      {"resolve", "a", "10000000000000000"}};
  for (const auto &arguments : rows) {
    const auto result = run_inspect(arguments);
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(result.err.starts_with("usage:\n  kiv_inspect symbols [--regex] PROGRAM [PATTERN]\n")) << result.err;
  }
}

}  // namespace
