// The thread message buffer: what the fatal paths print and the single-thread warnings leave for a debugger's user.
#ifndef KIV_OS_THREAD_MESSAGE_H
#define KIV_OS_THREAD_MESSAGE_H

namespace kiv {

/// One for the process, unlocked. Look at it in a debugger.
extern char thread_message[1024];

/// Stores text, cut to the buffer.
void set_thread_message(const char *text);

/// How the older lock functions fail: prints the system's message for the last failed call and exits with code 1.
[[noreturn]] void die_of_system_error();

/// Ends the process unless ok. Always 0, the older functions' result.
inline int fatal_unless(bool ok) {
  if (!ok) [[unlikely]]
    die_of_system_error();
  return 0;
}

}  // namespace kiv

#endif
