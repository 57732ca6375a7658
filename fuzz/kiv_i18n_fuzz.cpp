// Messages of any bytes, as byte strings and as code points, with arguments of every kind, a small or growing buffer,
// and an allocator that fails.
//
// The input: a byte of choices, the numbers of two arguments (8 bytes each), then the message. Words are valid for
// every type that a placeholder may have: hostile are the messages, for a word of the wrong type is the caller's.

#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz/failing_heap.h"
#include "kiv_i18n.h"
#include "kiv_string.h"

namespace {

using kiv::fuzz::FailingHeap;
using kiv::fuzz::require;

/// A value for all types: bytes that are a number, and behind them zeros, so that they are a string of either kind.
struct Value {
  uint64_t words[6];
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 17) return 0;
  const uint8_t choices = data[0];
  Value values[3] = {};
  std::memcpy(&values[0], data + 1, 8);
  std::memcpy(&values[1], data + 9, 8);
  std::memcpy(&values[2], data + 1, 16);  // 40 bytes, when it is read as a bigflt
  const void *words[8] = {&values[0], &values[1], &values[2], nullptr, &values[0], &values[1], &values[2], &values[0]};
  // Blocks without a byte to spare.
  std::vector<char> message(data + 17, data + size);
  for (char &c : message) {
    if (c == 0) c = 1;
  }
  message.push_back(0);
  std::vector<KIV_UNICHAR> units(message.size());
  for (size_t i = 0; i < units.size(); ++i) units[i] = static_cast<uint8_t>(message[i]);

  const uint32_t failing_at = choices & 7;
  FailingHeap heap(failing_at);
  const bool as_units = (choices & 8) != 0;
  const char *bytes = as_units ? nullptr : message.data();
  KIV_I18N_OUTPUT grown = {&heap.record, nullptr, 0, 0};
  int32_t needed = 0, needed_again = 0;
  const int status = kiv_i18n_prn_do(nullptr, bytes, units.data(), 8, words, &grown, &needed);
  require((status == 0) == (grown.buffer != nullptr));
  // A fixed buffer gets the same text, or its beginning.
  std::vector<KIV_UNICHAR> buffer(1 + choices / 16 * 20u);
  KIV_I18N_OUTPUT fixed = {nullptr, buffer.data(), static_cast<uint32_t>(buffer.size()), 0};
  const int fixed_status = kiv_i18n_prn_do(nullptr, bytes, units.data(), 8, words, &fixed, &needed_again);
  require(needed == needed_again && fixed.count < buffer.size() && buffer[fixed.count] == 0);
  if (status == 0) {
    require(grown.count < grown.capacity && grown.buffer[grown.count] == 0);
    require((fixed_status == 0) == (grown.count < buffer.size()));
    require(std::memcmp(grown.buffer, buffer.data(), fixed.count * sizeof(KIV_UNICHAR)) == 0);
  }
  kiv_string_delete(&heap.record, grown.buffer);

  KIV_I18N *handle = kiv_i18n_prn_init(&heap.record);
  if (handle == nullptr) return 0;
  KIV_STRING text = kiv_i18n_get(handle, message.data());
  KIV_STRING again = kiv_i18n_get(handle, message.data());
  require(text == nullptr || text == again);
  // A text is never longer than its message.
  require(again == nullptr || kiv_string_length(again) < message.size());
  kiv_i18n_prn_exit(handle);
  return 0;
}
