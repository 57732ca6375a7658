// The memory of programs made byte by byte.

#include "examples/kiv_inspect/memory_map.h"

#include "gtest/gtest.h"
#include "tests/examples/failure_text.h"
#include "tests/examples/program_images.h"

namespace {

using namespace kiv::inspect;
using namespace kiv::test;

TEST(KivInspectMemory, ShowsWhatIsLoaded) {
  const std::vector<SegmentRow> segments = {{0x1000, 8, "abcd"}, {0x1008, 4, "efghij"}, {~uint64_t{1}, 2, "yz"}};
  const std::vector<SegmentRow> overlapping = {{0x1000, 8, "abcdefgh"}, {0x1004, 2, "XY"}, {0x1000, 9, "none"}};
  const std::vector<SectionRow> sections = {
      {".text", {'t', 'u'}, 0x10, 1, 2}, {".bss", {0, 0}, 0x12, 8, 2}, {".comment", {'c'}, 0x14, 1, 0}};
  const struct {
    Image image;
    uint64_t address, count;
    std::string bytes;  // empty: not there
  } kRows[] = {
      {build_elf_sections(true, ByteOrder::big, {}, segments), 0x1000, 12, std::string("abcd\0\0\0\0efgh", 12)},
      {build_elf_sections(false, ByteOrder::big, {}, segments), 0x1003, 2, std::string("d\0", 2)},
      {build_elf_sections(true, ByteOrder::little, {}, segments), 0x100B, 1, "h"},
      {build_elf_sections(true, ByteOrder::little, {}, segments), 0x100B, 2, ""},
      {build_elf_sections(true, ByteOrder::little, {}, segments), 0xFFF, 1, ""},
      {build_elf_sections(true, ByteOrder::little, {}, segments), ~uint64_t{0}, 1, "z"},
      {build_elf_sections(true, ByteOrder::little, {}, segments), ~uint64_t{0}, 0x1001, ""},
      {build_elf_sections(true, ByteOrder::little, {}, overlapping), 0x1000, 6, "abcdXY"},
      {build_elf_sections(true, ByteOrder::little, {}, overlapping), 0x1000, 7, ""},
      {build_elf_sections(true, ByteOrder::little, sections, segments), 0x10, 1, ""},
      {build_elf_sections(true, ByteOrder::little, sections), 0x10, 4, std::string("tu\0\0", 4)},
      {build_elf_sections(true, ByteOrder::little, sections), 0x14, 1, ""},
      {build_pe_sections(true, sections), kPeBase64, 2, "MZ"},
      {build_pe_sections(false, sections), kPeBase32 + 0x1000, 3, std::string("tu\0", 3)},
      {build_pe_sections(false, sections), kPeBase32 + 0x3000, 1, "c"},
      {build_pe_sections(false, sections), kPeBase32 + 0x4000, 1, ""},
      {build_pe_sections(false, sections), 0x1000, 1, ""},
  };
  KIV_ALLOCATOR heap, wrap;
  kiv_allocator_wrap_new(&wrap, kiv_allocator_default_new(&heap), 0);
  const Errors errors(&heap);
  for (const auto &row : kRows) {
    MemoryMap map(errors);
    const Status status = map.open(ByteView(row.image.bytes.data(), row.image.size(), ByteOrder::little), &wrap);
    EXPECT_EQ(problem_of(status), "");
    EXPECT_EQ(map.contains(row.address, row.count), !row.bytes.empty()) << row.address << " " << row.count;
    std::string bytes(row.bytes.size(), 'x');
    map.read(row.address, static_cast<uint32_t>(bytes.size()), reinterpret_cast<uint8_t *>(bytes.data()));
    EXPECT_EQ(bytes, row.bytes);
  }
  Image image = kRows[0].image;
  image.put_at(image.marks.at("segments") + 8, image.size() - 3, 8);
  MemoryMap map(errors);
  EXPECT_EQ(problem_of(map.open(ByteView(image.bytes.data(), image.size(), ByteOrder::little), &wrap)),
            "a segment lies outside the file");
  image = build_elf_sections(true, ByteOrder::little, sections);
  image.put_at(16, 1, 2);  // an object file
  EXPECT_EQ(problem_of(map.open(ByteView(image.bytes.data(), image.size(), ByteOrder::little), &wrap)),
            "it is an object file: its addresses are not final");
  kiv_allocator_wrap_delete(&wrap);
}

}  // namespace
