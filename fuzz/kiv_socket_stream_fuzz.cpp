// Reads foreign bytes as a stream, with calls and cuts that the first bytes choose, and holds what comes against a
// plain second reader.

#include <cstdlib>
#include <random>
#include <vector>

#include "tests/net/plain_chunks.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 4) return 0;
  kiv::test::ScriptedConnection script;
  script.incoming.assign(reinterpret_cast<const char *>(data) + 4, size - 4);
  if (data[2] != 0) script.step = data[2];
  if ((data[0] & 4) != 0) script.send_limit = data[3];
  std::mt19937_64 random(data[1]);
  std::vector<char> room(kiv::test::kMostRead);
  const bool secondary = (data[0] & 1) != 0;
  if (!kiv::test::difference_to_plain(&random, script, secondary, room.data() + room.size()).empty()) std::abort();
  return 0;
}
