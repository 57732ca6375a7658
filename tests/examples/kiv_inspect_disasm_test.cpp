// Disassembly of programs made byte by byte.

#include <cstdio>

#include "examples/kiv_inspect/instruction_decoder.h"
#include "examples/kiv_inspect/request_handler.h"
#include "gtest/gtest.h"
#include "tests/examples/program_images.h"
#include "tests/examples/text_sink.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/process.h"

namespace {

using namespace kiv::inspect;
using namespace kiv::test;
using namespace std::string_literals;

struct Code {
  uint16_t machine;
  bool wide;
  ByteOrder order;
  uint64_t address;
  std::string bytes;
};

/// A program of these bytes, and 16 bytes of data 0x1000 behind their start.
std::string write_program(const Code &code, const std::vector<ElfRow> &symbols) {
  Image image = build_elf(code.wide, code.order, symbols,
                          {{".text", code.address, code.bytes.size()}, {".data", code.address + 0x1000, 16}});
  const size_t header = image.marks.at(".text header");
  image.put_at(18, code.machine, 2);
  image.put_at(header + 4, 1, 4);  // has bytes
  image.put_at(header + (code.wide ? 24 : 16), image.size(), code.wide ? 8 : 4);
  image.put_text(code.bytes, code.bytes.size());
  return write_file("code", image);
}

/// What a request gives.
std::string disasm(const std::string &path, std::string address, std::string count, KIV_ALLOCATOR *allocator) {
  std::string name = "disasm";
  char *words[] = {name.data(), address.data(), count.data()};
  TextSink out, err;
  RequestHandler handler(path.c_str(), allocator);
  const Outcome outcome = handler.answer(3, words, out, err);
  EXPECT_EQ(outcome == Outcome::done, err.text.empty());
  return err.text + out.text;
}

const Code kMain = {
    62, true, ByteOrder::little, 0x401000,
    std::string("\x55\xe8\x1a\0\0\0\x48\x8d\x3d\xf7\x0f\0\0\xbf\0\x20\x40\0\x8b\4\x25\x08\x20\x40\0\x74"
                "\xe5\x83\xc0\x10\x06\xc3\x64\x48\x8b\4\x25\x28\0\0\0\xeb\xfe\xe9\xd0\xef\xbf\0\x48\x8d",
                50)};
const std::vector<ElfRow> kSymbols = {
    {false, "main", 0x401000, 2, 1, 1}, {false, "help\x1b", 0x401020, 2, 1, 1}, {false, "data", 0x402000, 1, 1, 2}};
const std::string kListing =
    "0000000000401000 <main>:\n"
    "0000000000401000  55                            push   rbp\n"
    "0000000000401001  e8 1a 00 00 00                call   0x401020 <help^[>\n"
    "0000000000401006  48 8d 3d f7 0f 00 00          lea    rdi, [rip + 0xff7]  # 0x402004 <data+0x4>\n"
    "000000000040100d  bf 00 20 40 00                mov    edi, 0x402000 <data>\n"
    "0000000000401012  8b 04 25 08 20 40 00          mov    eax, dword ptr [0x402008 <data+0x8>]\n"
    "0000000000401019  74 e5                         je     0x401000 <main>\n"
    "000000000040101b  83 c0 10                      add    eax, 0x10\n"
    "000000000040101e  06                            .byte  0x06\n"
    "000000000040101f  c3                            ret\n"
    "\n"
    "0000000000401020 <help^[>:\n"
    "0000000000401020  64 48 8b 04 25 28 00 00 00    mov    rax, qword ptr fs:[0x28]\n"
    "0000000000401029  eb fe                         jmp    0x401029 <help^[+0x9>\n"
    "000000000040102b  e9 d0 ef bf 00                jmp    0x1000000\n"
    "0000000000401030  48                            .byte  0x48\n"
    "0000000000401031  8d                            .byte  0x8d\n";

TEST(KivInspectDisasm, IsThereOrSaysThatItIsNot) {
  const std::string path = write_program(kMain, kSymbols);
  const auto result =
      run_program(program_beside("kiv_inspect"), {"--debug-heap", "disasm", path, "401000", "18446744073709551615"});
  const bool is_there = InstructionDecoder::is_built_in();
  EXPECT_EQ(result.exit_code, is_there ? 0 : 2);
  EXPECT_EQ(result.out, is_there ? kListing : "");
  EXPECT_EQ(result.err, is_there ? "" : "this kiv_inspect was built without a disassembler\n");
  const uint32_t points = sweep_failures([&](CountingAllocator &allocator) {
    const std::string text = disasm(path, "401000", "17", allocator.record());
    const bool has_failed = text.find("Out of memory") != text.npos;
    EXPECT_EQ(has_failed ? "" : text, has_failed ? "" : result.err + result.out);
  });
  EXPECT_GT(points, is_there ? 30u : 0u);
  std::remove(path.c_str());
}

TEST(KivInspectDisasm, KnowsMachines) {
  if (!InstructionDecoder::is_built_in()) GTEST_SKIP();
  constexpr auto kBig = ByteOrder::big, kLittle = ByteOrder::little;
  constexpr uint64_t kBase = 0x10000;
  const char *const kUnknown = "the instructions of its machine are not known";
  const struct {
    Code code;
    std::string text;  // is in the output
    std::string start = "10000";
  } kRows[] = {
      {{3, false, kLittle, kBase, "\xe8\xfb\xff\xff\xff"}, "call   0x10000 <f>\n"},
      {{40, false, kLittle, kBase, "\xfe\xff\xff\xeb"}, "bl     #0x10000 <f>\n"},
      {{40, false, kLittle, kBase, "\xfe\xe7"}, "b      #0x10000 <thumb>\n", "10001"},
      {{40, false, kLittle, kBase, "\1\x48nop nop"}, "ldr    r0, [pc, #4]  # 0x10008 <thumb+0x8>\n", "10001"},
      {{40, false, kBig, kBase, "\xfe\xff\xff\xeb"}, kUnknown},
      {{183, true, kLittle, kBase, {0, 0, 0, 0x14}}, "b      #0x10000 <f>\n"},
      {{183, true, kBig, kBase, {0, 0, 0, 0x10}}, "adr    x0, #0x10000 <f>\n"},
      {{8, false, kBig, kBase, "\x10\0\xff\xff"s}, "b      0x10000 <f>\n"},
      {{20, false, kBig, kBase, {0x48, 0, 0, 1}}, "bl     0x10000 <f>\n"},
      {{4, false, kBig, kBase, "\x60\xfe"}, "bra.b  0x10000 <f>\n"},
      {{22, true, kBig, kBase, "\xc0\xf4\0\0\0\0"s}, "jg     0x10000 <f>\n"},
      {{43, true, kBig, kBase, {0x40, 0, 0, 0}}, "call   0x10000 <f>\n"},
      {{0, true, kBig, kBase, "\x40"}, kUnknown},
      {{62, true, kLittle, kBase, "\x90"}, "this address is not in the program", "10001"},
      // Where a program may be loaded anywhere, numbers are no addresses.
      {{62, true, kLittle, 0, "\xbf\0\x10\0\0"s}, "mov    edi, 0x1000\n", "0"},
      {{62, true, kLittle, ~uint64_t{1}, "\x90\x90"}, "ffffffffffffffff  90", "fffffffffffffffe"},
  };
  KIV_ALLOCATOR heap;
  kiv_allocator_default_new(&heap);
  for (const auto &row : kRows) {
    const bool thumb = row.start == "10001";
    // A byte at an odd address is not at the even one in front of it, as a Thumb function is.
    const std::string path = write_program(
        row.code,
        {{false, thumb ? "thumb" : "f", thumb ? 0x10001u : 0x10000u, 2, 1, 1}, {false, "b", 0x10009, 1, 1, 1}});
    const std::string text = disasm(path, row.start, thumb ? "1" : "9", &heap);
    EXPECT_NE(text.find(row.text), text.npos) << row.code.machine << "\n" << text;
    std::remove(path.c_str());
  }
}

}  // namespace
