#include "os/thread_message.h"

#include <cstdio>
#include <cstdlib>

#include "kiv_thread.h"
#include "os/platform.h"

namespace kiv {

char thread_message[1024];

void set_thread_message(const char *text) { std::snprintf(thread_message, sizeof thread_message, "%s", text); }

void die_of_system_error() {
  char text[sizeof thread_message];
  set_thread_message(os::last_error_text(text, sizeof text) ? text : "No specific message was issued");
  // The label is the same on every system: people search their logs for it.
  kiv_thread_die("windows error", 1);
}

}  // namespace kiv

void kiv_thread_die(const char *text, int exit_code) {
  std::printf("%s: %s\n", text, kiv::thread_message);
  std::exit(exit_code);
}
