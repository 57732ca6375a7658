#include "kiv_ioterminal.h"

#include <cerrno>
#include <string>

#include <fcntl.h>

#include "gtest/gtest.h"
#include "tests/support/counting_allocator.h"

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>

#include "tests/support/interrupt.h"
#endif

namespace {

struct Pipe {
  Pipe() {
    int ends[2] = {-1, -1};
#ifdef _WIN32
    EXPECT_EQ(_pipe(ends, 65536, _O_BINARY), 0);
#else
    EXPECT_EQ(pipe(ends), 0);
#endif
    in = ends[0];
    out = ends[1];
  }
  ~Pipe() {
    kiv_ioterminal_close(in);
    kiv_ioterminal_close(out);
  }
  /// What was written, after the last write.
  std::string text() {
    EXPECT_EQ(kiv_ioterminal_close(out), 0);
    out = -1;
    std::string all;
    char buffer[1000];
    for (int n; (n = kiv_ioterminal_read(in, buffer, sizeof buffer)) > 0;) all.append(buffer, static_cast<size_t>(n));
    return all;
  }
  int in;
  int out;
};

TEST(IoTerminal, WritesTextsAndFails) {
  EXPECT_EQ(kiv_ioterminal_open(), -1);
  Pipe pipe;
  EXPECT_EQ(kiv_ioterminal_write(pipe.out, "ab\0c", 4), 4);
  EXPECT_EQ(kiv_ioterminal_puts(pipe.out, "text\n"), 5);
  EXPECT_EQ(kiv_ioterminal_fprint(pipe.out, "%d%s", -7, "x"), 3);
  kiv::test::CountingAllocator allocator;
  const KIV_UNICHAR wide[] = {'W', 0xE9, 0x1F600, 0};
  EXPECT_EQ(kiv_ioterminal_wide_puts(allocator.record(), pipe.out, wide), 3);
  EXPECT_EQ(allocator.live_blocks(), 0u);
  allocator.fail_at(1);
  EXPECT_EQ(kiv_ioterminal_wide_puts(allocator.record(), pipe.out, wide), 14);
  EXPECT_EQ(pipe.text(), std::string("ab\0ctext\n-7xW??out of memory\n", 29));
  errno = EINTR;  // left over: must not make a failure look like an interruption
  EXPECT_EQ(kiv_ioterminal_write(-1, "x", 1), -1);
  EXPECT_EQ(errno, EBADF);
  for (const int fd : {-1, INT32_MIN}) EXPECT_EQ(kiv_ioterminal_close(fd), fd);
}

TEST(IoTerminal, CutsPrintedText) {
  Pipe pipe;
  std::string text;
  while (text.size() < 10240) text += static_cast<char>('a' + text.size() % 23);
  EXPECT_EQ(kiv_ioterminal_fprint(pipe.out, "%s", text.c_str()), 10239);
  EXPECT_EQ(pipe.text(), text.substr(0, 10239));
}

#ifndef _WIN32

TEST(IoTerminal, RepeatsWhatASignalInterrupts) {
  Pipe pipe;
  char buffer[10] = "";
  EXPECT_EQ(kiv::test::interrupted([&] { return kiv_ioterminal_read(pipe.in, buffer, sizeof buffer); },
                                   [&] { EXPECT_EQ(write(pipe.out, "late", 4), 4); }),
            4);
  EXPECT_STREQ(buffer, "late");
  // A full pipe: the write waits until there is room.
  std::string block(65536, 'b');
  fcntl(pipe.out, F_SETFL, O_NONBLOCK);
  while (write(pipe.out, block.data(), block.size()) > 0) {
  }
  fcntl(pipe.out, F_SETFL, 0);
  EXPECT_EQ(kiv::test::interrupted([&] { return kiv_ioterminal_write(pipe.out, "z", 1); },
                                   [&] { EXPECT_GT(read(pipe.in, block.data(), block.size()), 0); }),
            1);
}

#endif

}  // namespace
