// Calls that signals must not end early. Not for Windows, which has no signals.
#ifndef KIV_TESTS_SUPPORT_INTERRUPT_H
#define KIV_TESTS_SUPPORT_INTERRUPT_H

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

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
  const pthread_t caller = pthread_self();
  std::thread other([&] {
    while (signals_seen < 20) {
      pthread_kill(caller, SIGUSR1);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
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
