// The framing alone: connections are scripted, so that every byte, cut and failure is the test's.

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "tests/net/plain_chunks.h"
#include "tests/net/scripted_connection.h"
#include "tests/support/guarded_page.h"
#include "tests/support/random.h"

namespace {

using namespace kiv::test;

int32_t value_at(void *context) { return *static_cast<int32_t *>(context); }

void append_value(void *context, int32_t value) {
  static const std::string kAlphabet = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  *static_cast<std::string *>(context) += kAlphabet.at(static_cast<size_t>(value));
}

std::string random_bytes(std::mt19937_64 *random, size_t size) {
  std::string bytes(size, '\0');
  for (char &byte : bytes) byte = static_cast<char>(below(*random, 40));  // line feeds among them
  return bytes;
}

TEST(Stream, WireBytes) {
  // Writes, each flushed or (negative) not; what travels, with each payload shown by its length.
  const struct {
    bool secondary;
    std::vector<int32_t> writes;
    std::vector<std::pair<std::string, size_t>> chunks;
  } rows[] = {
      {false, {10}, {{"*0015", 10}}},
      {true, {10}, {{"0*0016", 10}}},
      {false, {-1023}, {}},
      {false, {1023}, {{"9", 1023}}},
      {true, {1022}, {{"09", 1022}}},
      {false, {1024}, {{"+", 1023}, {"*0006", 1}}},
      {true, {1024}, {{"0+", 1022}, {"0*0008", 2}}},
      {false, {1014}, {{"*1019", 1014}}},
      {false, {1015}, {{"1", 1015}}},
      {true, {1013}, {{"0*1019", 1013}}},
      {true, {1014}, {{"01", 1014}}},
      {false, {1020}, {{"6", 1020}}},
      {false, {-1, -2, 3, 0, -5}, {{"*0011", 6}}},
      {false, {-1000, 1046}, {{"+", 1023}, {"9", 1023}}},
  };
  for (const auto &row : rows) {
    const auto stream = scripted_stream("ACK", row.secondary);
    for (const int32_t write : row.writes) {
      const std::string bytes(static_cast<size_t>(std::abs(write)), '.');
      const int32_t size = std::abs(write);
      EXPECT_EQ(write < 0 ? kiv_socket_buffered_write(stream.get(), bytes.data(), size)
                          : kiv_socket_write(stream.get(), bytes.data(), size),
                size);
    }
    std::string wire;
    for (const auto &[header, payload] : row.chunks) wire += header + std::string(payload, '.');
    EXPECT_EQ(connection.sent, wire);
    EXPECT_EQ(connection.sends, row.chunks.size());
  }
}

TEST(Stream, PiggybackCharacters) {
  const std::pair<int32_t, char> rows[] = {{0, '0'},  {1, '1'},  {9, '9'},  {10, 'A'},   {35, 'Z'}, {36, 'a'},
                                           {37, 'b'}, {61, 'z'}, {62, '*'}, {1000, '*'}, {-1, '/'}, {-16, ' '}};
  for (auto [value, character] : rows) {
    auto stream = scripted_stream("", true);
    kiv_socket_set_get_piggyback_value(stream.get(), value_at, &value);
    kiv_socket_write(stream.get(), "x", 1);
    EXPECT_EQ(connection.sent, character + std::string("*0007x"));
  }
}

TEST(Stream, WritesAsPlainWriter) {
  auto random = make_random();
  for (int round = 0; round < 300; ++round) {
    const bool secondary = below(random, 2) != 0, waits = below(random, 2) != 0;
    PlainWriter plain(secondary ? "0" : "");
    std::string acknowledgements;
    for (int i = 0; i < 200 && waits; ++i) acknowledgements += "ACK";
    const auto stream = scripted_stream(acknowledgements, secondary);
    stream->no_delay = waits ? 0 : 1;
    connection.step = 1 + below(random, 5);
    for (int i = 0; i < 20; ++i) {
      const std::string bytes = random_bytes(&random, below(random, below(random, 2) != 0 ? 2100 : 1030));
      const auto size = static_cast<int32_t>(bytes.size());
      plain.write(bytes);
      ASSERT_EQ(kiv_socket_buffered_write(stream.get(), bytes.data(), size), size);
      if (below(random, 2) != 0) {
        plain.flush();
        ASSERT_EQ(kiv_socket_flush(stream.get()), 0);
      }
      ASSERT_EQ(connection.sends, plain.chunks);
    }
    ASSERT_EQ(connection.sent, plain.wire);
    // Again, with a connection that breaks: what comes through is a prefix, and nothing is tried afterwards.
    const std::string bytes = random_bytes(&random, 5000);
    PlainWriter broken(secondary ? "0" : "");
    broken.write(bytes);
    const size_t limit = below(random, 4096);
    const size_t capacity = secondary ? 1022 : 1023;
    auto other = scripted_stream(acknowledgements, secondary);
    other->no_delay = stream->no_delay;
    connection.send_limit = limit;
    connection.send_step = 1 + below(random, 2000);
    ASSERT_EQ(kiv_socket_write(other.get(), bytes.data(), 5000), static_cast<int32_t>(limit / 1024 * capacity));
    ASSERT_EQ(connection.sent, broken.wire.substr(0, limit));
    const size_t sends = connection.sends;
    ASSERT_EQ(other->error, 1);
    ASSERT_EQ(kiv_socket_write(other.get(), "x", 1) + kiv_socket_read(other.get(), other->send_buffer, 1), 0);
    ASSERT_EQ(kiv_socket_flush(other.get()), 1);
    ASSERT_EQ(connection.sends, sends);
  }
}

TEST(Stream, AcknowledgementsThatAreNone) {
  for (const char *answer : {"", "A", "AC", "ACk", "+CK"}) {
    const auto stream = scripted_stream(answer, false);
    const std::string bytes(3000, 'x');
    EXPECT_EQ(kiv_socket_buffered_write(stream.get(), bytes.data(), 3000), 1023) << answer;
    EXPECT_EQ(stream->error, 1);
    EXPECT_EQ(connection.sent.size(), 1024u);
  }
}

// The channel is enabled late, with a byte more in the buffer than a chunk has room for now.
TEST(Stream, FullBufferMeetsSecondaryChannel) {
  const auto stream = scripted_stream("ACK", false);
  const std::string bytes = std::string(1022, 'x') + 'y';
  kiv_socket_buffered_write(stream.get(), bytes.data(), 1023);
  kiv_socket_enable_secondary_channel(stream.get());
  EXPECT_EQ(kiv_socket_flush(stream.get()), 0);
  EXPECT_EQ(connection.sent, "0+" + std::string(1022, 'x') + "0*0007y");
}

/// Reads with calls of all kinds until nothing comes any more, and holds each against the plain reader.
void expect_reads_as_plain(std::mt19937_64 *random, const std::string &wire, bool secondary, size_t step,
                           size_t split) {
  static GuardedPage page;
  std::string piggybacked;
  PlainReader plain(wire, secondary);
  const auto stream = scripted_stream(wire, secondary);
  connection.step = step;
  connection.split = split;
  kiv_socket_process_piggybacked_value(stream.get(), append_value, &piggybacked);
  std::memset(stream->header_room, 0xEE, sizeof stream->header_room);
  for (int32_t count = 1; count != 0 || (stream->error == 0 && !connection.has_ended);) {
    const auto n = static_cast<int32_t>(1 + below(*random, below(*random, 2) != 0 ? 3000 : 40));
    char *buffer = page.last<char>(static_cast<size_t>(n));
    std::string expected;
    switch (below(*random, 3)) {
      case 0:
        count = kiv_socket_read(stream.get(), buffer, n);
        expected = plain.read(static_cast<size_t>(n));
        break;
      case 1:
        count = kiv_socket_terminated_read(stream.get(), buffer, n, '\5');
        expected = plain.read(static_cast<size_t>(n), 5);
        break;
      default:
        count = kiv_socket_read_line(stream.get(), buffer, n);
        expected = plain.read(static_cast<size_t>(n - 1), '\n');
        if (!expected.empty() && expected.back() == '\n') expected.pop_back();
        ASSERT_EQ(buffer[count], '\0');
    }
    ASSERT_EQ(std::string(buffer, static_cast<size_t>(count)), expected);
    ASSERT_EQ(stream->error != 0, plain.error);
  }
  ASSERT_EQ(piggybacked, plain.piggybacked);
  ASSERT_EQ(connection.sent.size(), 3 * plain.acknowledgements);
  ASSERT_EQ(std::string(reinterpret_cast<char *>(stream->header_room), 6), "\xEE\xEE\xEE\xEE\xEE\xEE");
}

TEST(Stream, HostilePeers) {
  auto random = make_random();
  for (const bool secondary : {false, true}) {
    const auto chunk_of = [&](const char *piggyback, char type, size_t payload) {
      return chunk(secondary ? piggyback : "", type, random_bytes(&random, payload));
    };
    const size_t base = secondary ? 2 : 1;
    const std::string session = chunk_of("b", '*', 9) + chunk_of("0", '+', 1024 - base) +
                                chunk_of("*", '0', 1015 - base) + chunk_of("Z", '*', 0) + chunk_of("1", '*', 20);
    const auto check = [&](const std::string &wire, size_t step, size_t split) {
      expect_reads_as_plain(&random, wire, secondary, step, split);
    };
    for (size_t i = 0; i <= session.size() && !HasFailure(); ++i) {
      check(session, SIZE_MAX, i);
      check(session.substr(0, i), SIZE_MAX, SIZE_MAX);
      check(session.substr(0, i), 1, SIZE_MAX);
      for (int bit = 0; bit < 8 && i < session.size(); ++bit) {
        std::string changed = session;
        changed[i] = static_cast<char>(changed[i] ^ (1 << bit));
        const size_t steps[] = {1, 7, 1024, SIZE_MAX};
        check(changed, steps[below(random, 4)], below(random, static_cast<uint32_t>(session.size())));
      }
    }
    // Lengths from the shortest to the longest that four digits tell, and what is none.
    for (const char *count : {"0000", "0004", "0005", "0006", "1035", "9999", "12a4", "-123", " 123", "+999"}) {
      const std::string header = (secondary ? "0*" : "*") + std::string(count);
      check(header + std::string(10000, 'x') + header, SIZE_MAX, below(random, 10000));
    }
  }
}

}  // namespace
