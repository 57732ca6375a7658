// Calls that signals must not end early. Not for Windows, which has no signals.
#ifndef KIV_TESTS_SUPPORT_INTERRUPT_H
#define KIV_TESTS_SUPPORT_INTERRUPT_H

#include <atomic>
#include <csignal>
#include <thread>

#include <unistd.h>

#include "gtest/gtest.h"

namespace kiv::test {

inline std::atomic<int> signals_seen;

/// Runs operation on this thread while another one sends it signals, which do interrupt it; release then lets it
/// finish, and must have been called before it does. Gives its result.
template <class Operation, class Release>
auto interrupted(Operation operation, Release release) {
  struct sigaction action {};
  action.sa_handler = [](int) { ++signals_seen; };  // without SA_RESTART
  sigaction(SIGUSR1, &action, nullptr);
  signals_seen = 0;
  std::atomic<bool> released = false;
  std::thread other([&, caller = pthread_self()] {
    // The thread sanitizer may keep signals back for as long as the operation runs.
    for (int sent = 0; sent < 500 && signals_seen < 20; ++sent) {
      pthread_kill(caller, SIGUSR1);
      usleep(1000);
    }
    released = true;
    release();
  });
  const auto result = operation();
  EXPECT_TRUE(released);
  other.join();
  return result;
}

}  // namespace kiv::test

#endif
