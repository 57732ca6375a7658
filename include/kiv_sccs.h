/** @file
 * Version ids as the Source Code Control System numbers them: release.level for a version of the trunk, and
 * release.level.branch.sequence for one of a branch that leaves the trunk there. Source: M. J. Rochkind, "The source
 * code control system", 1975. */
#ifndef KIV_SCCS_H
#define KIV_SCCS_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** What kiv_sccs_version_ids_compare() gives for versions on different lines of development. */
#define KIV_SCCS_UNRELATED (-2)

/** 1 when a is later than b, -1 when it is earlier, 0 when they are the same, KIV_SCCS_UNRELATED when they have no
 * order: where release or level differ, the earlier one has to be on the trunk, as nothing later descends from a
 * branch. So 1.2 comes before 1.3 and before 1.3.1.1, and 1.2.1.1 before 1.2.1.2, but 1.2.1.1 and 1.3 are unrelated.
 *
 * release and level count as the 32-bit number release * 65536 + level, branch and sequence likewise, and an id is on
 * the trunk when the second number is 0. Numbers are expected to fit in 16 bits: 1.65536 is the same as 2.0. */
KIV_API int32_t kiv_sccs_version_ids_compare(uint32_t release_a, uint32_t level_a, uint32_t branch_a,
                                             uint32_t sequence_a, uint32_t release_b, uint32_t level_b,
                                             uint32_t branch_b, uint32_t sequence_b);

/** Bytes that the longest text of kiv_sccs_version_id_to_string() takes, its 0 included. */
#define KIV_SCCS_VERSION_ID_SIZE 44

/** Writes "release.level.branch.sequence" in decimal, or "release.level" when branch is 0, whatever sequence is.
 * Returns the number of characters. REQUIRES: buffer holds them and a 0; KIV_SCCS_VERSION_ID_SIZE is always enough. */
KIV_API int32_t kiv_sccs_version_id_to_string(uint32_t release, uint32_t level, uint32_t branch, uint32_t sequence,
                                              char *buffer);

KIV_END_DECLARATIONS

#endif
