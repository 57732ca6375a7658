/* Messages from C, with arguments by value: every type that has a placeholder, each evaluated once. */
#include <stdio.h>
#include <string.h>

#include "kiv_i18n.h"
#include "kiv_message.h"
#include "kiv_string.h"

static int failures;

static void check(KIV_ALLOCATOR *heap, KIV_STRING text, const char *expected) {
  if (text == NULL || kiv_string_compare_with_char_s(text, expected) != 0) {
    printf("not \"%s\"\n", expected);
    ++failures;
  }
  kiv_string_delete(heap, text);
}

static int evaluations;
static int counted(int value) { return ++evaluations, value; }

int main(void) {
  KIV_ALLOCATOR heap;
  KIV_I18N *handle = kiv_i18n_prn_init(kiv_allocator_default_new(&heap));
  const KIV_UNICHAR units[] = {'u', 'n', 'i', 't', 's', 0};
  KIV_UNICHAR buffer[16];
  KIV_STRING string = buffer;
  char chars[] = "chars";
  bigflt seven = {1, {0}, 0, 7, 128, 4, {0}};
  KIV_S128 minus_one = {-1, UINT64_MAX};
  KIV_U128 two_to_64 = {1, 0};
  uint32_t count = 0;
  signed char s8 = -8;
  short s16 = -16;
  long long s64 = INT64_MIN;
  unsigned char u8 = 8;
  unsigned short u16 = 16;
  unsigned long long u64 = UINT64_MAX;
  if (kiv_i18n_prn2(NULL, buffer, 16, &count, "[0_s]-[1_u8][|]", KIV_ARG("abc"), KIV_ARG(counted(12))) != 0) ++failures;
  if (count != 6 || buffer[5] != '2' || evaluations != 1) ++failures;
  check(&heap,
        kiv_i18n_prna8(handle, &heap, "[0_s8] [1_s16] [2_s64] [3_u8] [4_u16] [5_u64] [6_s32] [7_u32][|]",
                       KIV_ARGS(s8, s16, s64, u8, u16, u64, -32L, 32UL)),
        "-8 -16 -9223372036854775808 8 16 18446744073709551615 -32 32");
  check(&heap,
        kiv_i18n_prnd8(handle, "[0_b] [1_c] [2_df.2] [3_df.1] [4_Fd] [5_s128] [6_u128x] [7_C][|]",
                       KIV_ARGS((_Bool)1, chars[0], 2.5f, -0.25, seven, minus_one, two_to_64, units[1])),
        "true c 2.50 -0.2 7 -1 10000000000000000 n");
  check(&heap,
        kiv_i18n_prna8(handle, &heap, "[0_s] [1_s] [2_S] [3_S] [4_s] [PLURAL_S([5_u32], 'file')][|]",
                       KIV_ARGS(chars, (const char *)chars, units, string, (char *)NULL, counted(1))),
        "chars chars units abc-12 (null) file");
  check(&heap, kiv_i18n_prna8(handle, &heap, "[0_u64][|]", KIV_ARGS(counted(5))), "5");
  if (evaluations != 3) ++failures;
  if (kiv_string_compare_with_char_s(kiv_i18n_get(handle, "text[|]"), "text") != 0) ++failures;
  kiv_i18n_prn_exit(handle);
  kiv_allocator_default_delete(&heap);
  if (failures == 0) printf("conforms\n");
  return failures != 0;
}
