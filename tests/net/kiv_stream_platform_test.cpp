// The framing alone: connections are scripted, so that every byte, cut and failure is the test's.

#include <cstddef>
#include <random>
#include <string>
#include <tuple>
#include <utility>

#include "gtest/gtest.h"
#include "tests/net/plain_chunks.h"
#include "tests/support/guarded_page.h"

namespace {

using namespace kiv::test;

std::string random_bytes(std::mt19937_64 *random, size_t size) {
  std::string bytes(size, '\0');
  for (char &byte : bytes) byte = static_cast<char>(below(*random, 40));  // line feeds among them
  return bytes;
}

TEST(Stream, WireBytes) {
  // One write, and the headers of what travels.
  const std::tuple<bool, int32_t, std::string> rows[] = {{false, 10, "*0015"}, {false, 1014, "*1019"},
                                                         {false, 1015, "1"},   {false, 1023, "9"},
                                                         {true, 1014, "01"},   {true, 1024, "0+0*0008"}};
  for (const auto &[secondary, size, headers] : rows) {
    const auto stream = scripted_stream({"ACK"}, secondary);
    const std::string bytes(static_cast<size_t>(size), '.');
    EXPECT_EQ(kiv_socket_buffered_write(stream.get(), bytes.data(), size), size);
    EXPECT_EQ(connection.sends, size == 1024 ? 1U : 0U);
    EXPECT_EQ(kiv_socket_flush(stream.get()), 0);
    EXPECT_EQ(connection.sends, size == 1024 ? 2U : 1U);
    EXPECT_EQ(connection.sent.size(), headers.size() + bytes.size());
    std::erase(connection.sent, '.');
    EXPECT_EQ(connection.sent, headers);
  }
}

TEST(Stream, PiggybackCharacters) {
  const std::pair<int32_t, char> rows[] = {{0, '0'},  {9, '9'},  {10, 'A'}, {36, 'a'}, {37, 'b'},
                                           {61, 'z'}, {62, '*'}, {-1, '/'}, {-16, ' '}};
  for (auto [value, character] : rows) {
    auto stream = scripted_stream({}, true);
    const auto getter = [](void *context) { return *static_cast<int32_t *>(context); };
    kiv_socket_set_get_piggyback_value(stream.get(), getter, &value);
    kiv_socket_write(stream.get(), "x", 1);
    EXPECT_EQ(connection.sent, character + std::string("*0007x"));
  }
}

TEST(Stream, WritesAsPlainWriter) {
  auto random = make_random();
  for (int round = 0; round < 500; ++round) {
    const bool secondary = below(random, 2) != 0, waits = below(random, 2) != 0;
    PlainWriter plain{secondary ? "0" : ""};
    std::string acknowledgements;
    for (int i = 0; i < 200 && waits; ++i) acknowledgements += "ACK";
    const auto stream = scripted_stream({acknowledgements}, secondary);
    stream->no_delay = waits ? 0 : 1;
    connection.step = 1 + below(random, 5);
    // Half of the connections break somewhere.
    connection.send_step = below(random, 2) != 0 ? SIZE_MAX : 1 + below(random, 2000);
    connection.send_limit = below(random, 2) != 0 ? SIZE_MAX : below(random, 20000);
    for (int i = 0; i < 20; ++i) {
      const std::string bytes = random_bytes(&random, below(random, below(random, 2) != 0 ? 2100 : 1030));
      const auto size = static_cast<int32_t>(bytes.size());
      const bool flushes = below(random, 2) != 0, was_broken = stream->error != 0;
      plain.write(bytes);
      if (flushes) plain.flush();
      const int32_t written = kiv_socket_buffered_write(stream.get(), bytes.data(), size);
      const int status = flushes ? kiv_socket_flush(stream.get()) : 0;
      ASSERT_EQ(stream->error != 0, plain.wire.size() > connection.send_limit);
      ASSERT_TRUE(was_broken ? written == 0 : stream->error != 0 || written == size);
      ASSERT_EQ(status, flushes ? stream->error : 0);
      ASSERT_EQ(connection.sent, plain.wire.substr(0, connection.send_limit));
    }
  }
}

TEST(Stream, CountsOfBrokenWrites) {
  const std::tuple<const char *, size_t, int32_t> rows[] = {
      {"", 0, 0},          {"", 1023, 0},       {"", 1024, 1023},    {"AC", 9999, 1023},
      {"ACk", 9999, 1023}, {"ACK", 2047, 1023}, {"ACK", 2048, 2046}, {"ACK+CK", 9999, 2046}};
  for (const auto &[answers, limit, count] : rows) {
    const auto stream = scripted_stream({answers}, false);
    connection.send_limit = limit;
    const std::string bytes(4000, 'x');
    EXPECT_EQ(kiv_socket_write(stream.get(), bytes.data(), 4000), count) << answers;
    EXPECT_EQ(stream->error, 1);
  }
}

// The channel is enabled late, with a byte more in the buffer than a chunk has room for now.
TEST(Stream, FullBufferMeetsSecondaryChannel) {
  for (const bool acknowledged : {true, false}) {
    const auto stream = scripted_stream({acknowledged ? "ACK" : "AC"}, false);
    const std::string bytes = std::string(1022, 'x') + 'y';
    kiv_socket_buffered_write(stream.get(), bytes.data(), 1023);
    kiv_socket_enable_secondary_channel(stream.get());
    EXPECT_EQ(kiv_socket_flush(stream.get()), acknowledged ? 0 : 1);
    EXPECT_EQ(connection.sent, "0+" + std::string(1022, 'x') + (acknowledged ? "0*0007y" : ""));
    EXPECT_EQ(stream->send_fill, 0);
  }
}

TEST(Stream, InitialisedIsClosed) {
  const auto stream = scripted_stream({"*0006x"}, false);
  stream->is_open = 0;
  constexpr size_t kBegin = offsetof(KIV_STREAM, is_open), kEnd = offsetof(KIV_STREAM, receive_buffer);
  const std::string record(reinterpret_cast<const char *>(stream.get()), kEnd + 1);
  EXPECT_EQ(record, std::string(kBegin, '\xA5') + std::string(kEnd - kBegin, '\0') + '\xA5');
  EXPECT_EQ(kiv_socket_read(stream.get(), stream->send_buffer, 1), 0);
  stream->error = 0;
  kiv_socket_buffered_write(stream.get(), "x", 1);
  EXPECT_EQ(kiv_socket_flush(stream.get()), 1);
  EXPECT_EQ(connection.sends + connection.position, 0U);
}

TEST(Stream, HostilePeers) {
  GuardedPage page;
  auto random = make_random();
  for (const bool secondary : {false, true}) {
    const auto chunk_of = [&](const char *piggyback, char type, size_t payload) {
      return chunk(secondary ? piggyback : "", type, random_bytes(&random, payload));
    };
    const size_t base = secondary ? 2 : 1;
    const std::string session = chunk_of("b", '*', 9) + chunk_of("0", '+', 1024 - base) +
                                chunk_of("*", '0', 1015 - base) + chunk_of("Z", '*', 0) + chunk_of("1", '*', 20);
    const auto check = [&](const std::string &wire, size_t step) {
      EXPECT_EQ(difference_to_plain(&random, {wire, step}, secondary, page.last<char>(0)), "");
    };
    for (size_t i = 0; i <= session.size() && !HasFailure(); ++i) {
      check(session, i + 1);
      check(session.substr(0, i), 1 + below(random, 8));
      for (int bit = 0; bit < 8 && i < session.size(); ++bit) {
        std::string changed = session;
        changed[i] = static_cast<char>(changed[i] ^ (1 << bit));
        check(changed, 1 + below(random, below(random, 2) != 0 ? 8 : 2000));
      }
    }
    // Lengths from the shortest to the longest that four digits tell, and what is none.
    for (const char *count : {"0000", "0004", "0005", "0006", "1035", "9999", "12a4", "-123", " 123", "+999"}) {
      const std::string header = (secondary ? "0*" : "*") + std::string(count);
      check(header + std::string(10000, 'x') + header, 1 + below(random, 10000));
    }
  }
}

}  // namespace
