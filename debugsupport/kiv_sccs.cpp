#include "kiv_sccs.h"

#include <cinttypes>
#include <cstdio>

namespace {

/// Two numbers as one. It wraps: numbers above 16 bits run into the ones before them.
uint32_t packed(uint32_t high, uint32_t low) { return high * 65536 + low; }

}  // namespace

int32_t kiv_sccs_version_ids_compare(uint32_t release_a, uint32_t level_a, uint32_t branch_a, uint32_t sequence_a,
                                     uint32_t release_b, uint32_t level_b, uint32_t branch_b, uint32_t sequence_b) {
  const uint32_t trunk_a = packed(release_a, level_a), trunk_b = packed(release_b, level_b);
  const uint32_t on_branch_a = packed(branch_a, sequence_a), on_branch_b = packed(branch_b, sequence_b);
  if (trunk_a > trunk_b) return on_branch_b == 0 ? 1 : KIV_SCCS_UNRELATED;
  if (trunk_a < trunk_b) return on_branch_a == 0 ? -1 : KIV_SCCS_UNRELATED;
  return (on_branch_a > on_branch_b) - (on_branch_a < on_branch_b);
}

int32_t kiv_sccs_version_id_to_string(uint32_t release, uint32_t level, uint32_t branch, uint32_t sequence,
                                      char *buffer) {
  constexpr size_t kSize = KIV_SCCS_VERSION_ID_SIZE;
  static_assert(kSize == sizeof "4294967295.4294967295.4294967295.4294967295");
  if (branch == 0) return std::snprintf(buffer, kSize, "%" PRIu32 ".%" PRIu32, release, level);
  return std::snprintf(buffer, kSize, "%" PRIu32 ".%" PRIu32 ".%" PRIu32 ".%" PRIu32, release, level, branch, sequence);
}
