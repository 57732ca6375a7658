// Reads foreign texts as target addresses, with every flag (the first byte) and both kinds of text, and holds the
// results against a naive reader where 64 bits are enough for it.

#include <cstdlib>

#include "tests/debugsupport/tell_target_address.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const std::vector<kiv::test::NaiveMemspace> spaces{{0, U"", U"all", 8}, {1, U"P", U"code", 16}};
  static const KIV_TARGET_MEMSPACE_LIST *const list = [] {
    KIV_TARGET_MEMSPACE_LIST *made = kiv_target_memspace_list_new(kiv_allocator_default_new(nullptr));
    const uint32_t none[4] = {};
    for (const kiv::test::NaiveMemspace &space : spaces) {
      const auto text = [](const std::u32string &name) { return reinterpret_cast<const KIV_UNICHAR *>(name.c_str()); };
      if (kiv_target_memspace_add(made, static_cast<uint32_t>(space.number), 0, text(space.name), text(space.as_name),
                                  space.bits_per_unit, none) != 0) {
        std::abort();
      }
    }
    return made;
  }();
  if (size == 0) return 0;
  const std::string chars(reinterpret_cast<const char *>(data) + 1,
                          strnlen(reinterpret_cast<const char *>(data) + 1, size - 1));
  std::u32string text;
  for (const char c : chars) text += static_cast<char32_t>(static_cast<int8_t>(c));
  const auto *code_points = reinterpret_cast<const KIV_UNICHAR *>(text.c_str());
  const bool has_list = (data[0] & 16) == 0;
  const auto *real_list = has_list ? list : nullptr;
  const std::string of_chars = kiv::test::tell_target_address(real_list, chars.c_str(), nullptr, data[0]);
  if (of_chars != kiv::test::tell_target_address(real_list, nullptr, code_points, data[0])) std::abort();
  if (chars.size() > 14) return 0;
  if (of_chars != kiv::test::naive_target_address(has_list ? &spaces : nullptr, text, data[0])) std::abort();
  return 0;
}
