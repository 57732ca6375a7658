// Reads foreign texts as target addresses, with any flags (the first byte): as chars and as code points they mean the
// same, and the number that was read ends in the text.

#include <cstdlib>
#include <string>

#include "kiv_target_memspace.h"

namespace {

struct Address {
  KIV_TARGET_MEMSPACE *memspace = nullptr;
  KIV_U128 units = {}, bits = {};
  uint32_t end = 0;
  int failed;

  Address(const KIV_TARGET_MEMSPACE_LIST *list, const char *chars, const KIV_UNICHAR *text, int flags)
      : failed(kiv_string_to_target_address(list, chars, text, flags & 1, flags & 2, flags & 4, flags & 8, &memspace,
                                            &units, &bits, &end)) {}
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static KIV_TARGET_MEMSPACE_LIST *const list = [] {
    KIV_TARGET_MEMSPACE_LIST *made = kiv_target_memspace_list_new(kiv_allocator_default_new(nullptr));
    const KIV_UNICHAR none[] = {0}, name[] = {'P', 0}, as_name[] = {0xFFFFFFE9, 0};
    const uint32_t data_of_caller[4] = {};
    if (kiv_target_memspace_add(made, 0, 0, none, name, 8, data_of_caller) != 0) std::abort();
    if (kiv_target_memspace_add(made, 1, 0, name, as_name, 16, data_of_caller) != 0) std::abort();
    return made;
  }();
  if (size == 0) return 0;
  const std::string chars = std::string(reinterpret_cast<const char *>(data) + 1, size - 1).c_str();
  std::basic_string<KIV_UNICHAR> text;
  for (const char c : chars) text += static_cast<KIV_UNICHAR>(static_cast<int8_t>(c));
  const auto *spaces = (data[0] & 16) == 0 ? list : nullptr;
  const Address a(spaces, chars.c_str(), nullptr, data[0]), b(spaces, nullptr, text.c_str(), data[0]);
  if (a.failed != b.failed || a.memspace != b.memspace || a.end != b.end || a.end > chars.size()) std::abort();
  if (kiv_u128_cmp(&a.units, &b.units) != 0 || kiv_u128_cmp(&a.bits, &b.bits) != 0) std::abort();
  return 0;
}
