// The system's texts for its last error.

#include "kiv_error.h"
#include "kiv_string_convert.h"
#include "os/platform.h"

KIV_STRING kiv_get_syserr(KIV_ALLOCATOR *allocator) {
  const kiv::os::LastErrorText system;
  KIV_STRING text = nullptr;
  if (system.utf16() != nullptr) {
    text = kiv_string_convert_utf16_to_utf32_a(allocator, system.utf16());
  } else {
    const char *utf8 = system.utf8();
    text = kiv_string_convert_utf8_to_utf32_a(allocator, utf8 != nullptr ? utf8 : "failed to obtain error message");
  }
  kiv_string_chop_nl(text);
  return text;
}

const char *kiv_win32_GetLastError_as_string(void) { return kiv::os::last_error_lasting_text(); }
