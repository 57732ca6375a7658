// A program's file, of which parts are read when they are asked for.

#include <cstdio>

#include "examples/kiv_inspect/ascii_text.h"
#include "examples/kiv_inspect/file_bytes.h"
#include "examples/kiv_inspect/memory_pool.h"
#include "gtest/gtest.h"
#include "tests/examples/failure_text.h"
#include "tests/examples/program_images.h"
#include "tests/support/random.h"

namespace {

using namespace kiv::inspect;
using namespace kiv::test;

/// "none" when there is no such part.
std::string text_of(std::optional<ByteView> part) { return part ? std::string(part->text()) : "none"; }

TEST(KivInspectFile, PartsAreThoseOfTheFile) {
  auto random = make_random();
  Image image;
  for (int i = 0; i < 1'000'003; ++i) image.bytes.push_back(static_cast<uint8_t>(below(random, 256)));
  const std::string whole(image.bytes.begin(), image.bytes.end());
  const std::string path = write_file("parts", image);
  KIV_ALLOCATOR heap;
  const Errors errors(kiv_allocator_default_new(&heap));
  MemoryPool memory(&heap);
  FileBytes file(errors);
  ASSERT_TRUE(file.open(path.c_str(), memory.memory(), Reading::on_demand).ok());
  ASSERT_EQ(file.view().size(), whole.size());
  for (int i = 0; i < 300; ++i) {
    const uint32_t at = below(random, 1'000'004);
    const uint32_t size = below(random, 3) == 0 ? below(random, 200'000) : below(random, 64);
    const auto part = file.view().part(at, size);
    ASSERT_EQ(part.has_value(), at + size <= whole.size());
    if (part) ASSERT_EQ(text_of(part), whole.substr(at, size)) << at << "+" << size;
  }
  EXPECT_FALSE(file.view().part(UINT64_MAX, 2).has_value());
  EXPECT_TRUE(file.status().ok());
  std::remove(path.c_str());
}

TEST(KivInspectFile, TellsOfAFileThatBecameShorter) {
  Image image;
  image.bytes.assign(500'000, 'x');
  const std::string path = write_file("shrinks", image);
  KIV_ALLOCATOR heap;
  const Errors errors(kiv_allocator_default_new(&heap));
  MemoryPool memory(&heap);
  FileBytes lazy(errors), eager(errors);
  ASSERT_TRUE(lazy.open(path.c_str(), memory.memory(), Reading::on_demand).ok());
  ASSERT_TRUE(eager.open(path.c_str(), memory.memory(), Reading::at_once).ok());
  EXPECT_EQ(text_of(lazy.view().part(200'000, 3)), "xxx");
  std::FILE *file = std::fopen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr);
  std::fclose(file);
  EXPECT_EQ(lazy.view().part(499'999, 1), std::nullopt);
  EXPECT_EQ(problem_of(lazy.status()), "it has become shorter since it was opened");
  EXPECT_EQ(lazy.view().number({400'000, 4}), 0u);
  EXPECT_EQ(text_of(lazy.view().part(200'000, 3)), "xxx");  // was read before
  EXPECT_EQ(text_of(eager.view().part(0, 500'000)), std::string(500'000, 'x'));
  EXPECT_TRUE(eager.status().ok());
  std::remove(path.c_str());
}

TEST(KivInspectFile, KnowsPlainText) {
  for (size_t size = 0; size < 20; ++size) {
    for (size_t at = 0; at < size; ++at) {
      for (int c = 0; c < 256; ++c) {
        std::string text(size, at % 2 == 0 ? ' ' : '~');
        text[at] = static_cast<char>(c);
        ASSERT_EQ(is_ascii(text), c < 0x80);
        if (c < 0x80) ASSERT_EQ(is_printable_ascii(text), c >= ' ' && c <= '~') << at << " " << c;
      }
    }
  }
}

}  // namespace
