// Reads foreign bytes as a stream, with calls and cuts that the first bytes choose, into exactly as much memory as was
// asked for, and holds what comes against a plain second reader.

#include <cstdlib>
#include <memory>
#include <string>

#include "tests/net/plain_chunks.h"
#include "tests/net/scripted_connection.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 4) return 0;
  const bool secondary = (data[0] & 1) != 0, terminated = (data[0] & 2) != 0;
  const size_t n = 1 + data[1] * size_t{data[1]} / 16;
  const std::string wire(reinterpret_cast<const char *>(data) + 4, size - 4);

  kiv::test::PlainReader plain(wire, secondary);
  const auto stream = kiv::test::scripted_stream(wire, secondary);
  auto &connection = kiv::test::connection;
  connection.step = data[2] == 0 ? SIZE_MAX : data[2];
  connection.send_limit = (data[0] & 4) != 0 ? data[3] : SIZE_MAX;
  const std::unique_ptr<char[]> buffer(new char[n]);
  for (int32_t count = 1; count != 0 || (stream->error == 0 && !connection.has_ended);) {
    const auto wanted = static_cast<int32_t>(n);
    count = terminated ? kiv_socket_terminated_read(stream.get(), buffer.get(), wanted, '\n')
                       : kiv_socket_read(stream.get(), buffer.get(), wanted);
    require(count >= 0 && count <= wanted);
    // A reader whose acknowledgement fails stops earlier.
    const bool broken = connection.sent.size() == connection.send_limit && stream->error != 0;
    const std::string expected = plain.read(n, terminated ? '\n' : -1);
    require(broken ||
            (expected == std::string(buffer.get(), static_cast<size_t>(count)) && plain.error == (stream->error != 0)));
  }
  return 0;
}
