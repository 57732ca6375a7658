// A process from start to end beside the system's own calls: what closing descriptors, the signal set-up and the handle
// cost. The program does nothing. The clock is the wall's: nearly all of the time passes in other processes.
//
// SIZE is the parent's memory in MiB, all of it in use: a start that copies the parent's tables pays for it.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <vector>

#include "bench_support.h"
#include "kiv_process.h"

using kiv::bench::require;

namespace {

constexpr size_t kProcesses = 200;
const char *const kArguments[] = {"/bin/true", nullptr};

char *const *arguments() { return const_cast<char *const *>(kArguments); }

bool reap(pid_t id) {
  int status = -1;
  return waitpid(id, &status, 0) == id && status == 0;
}

struct Ours {
  static constexpr const char *kName = "ours";
  static bool run() {
    KIV_PROCESS process;
    return kiv_process_start(kArguments, &process, nullptr, nullptr, KIV_PROCESS_SHARED) == 0 &&
           kiv_process_wait(&process) == 0;
  }
};

struct PosixSpawn {
  static constexpr const char *kName = "posix_spawn";
  static bool run() {
    pid_t id = 0;
    return posix_spawnp(&id, kArguments[0], nullptr, nullptr, arguments(), environ) == 0 && reap(id);
  }
};

/// The same promises as ours, by posix_spawn.
struct PosixSpawnClosing {
  static constexpr const char *kName = "spawn+closefrom";
  static bool run() {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addclosefrom_np(&actions, 3);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    pid_t id = 0;
    const bool started = posix_spawnp(&id, kArguments[0], &actions, &attributes, arguments(), environ) == 0;
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return started && reap(id);
  }
};

struct Fork {
  static constexpr const char *kName = "fork";
  static bool run() {
    const pid_t id = fork();
    if (id == 0) {
      execvp(kArguments[0], arguments());
      _exit(127);
    }
    return id > 0 && reap(id);
  }
};

template <class Contestant>
double time_processes(size_t mebibytes) {
  const std::vector<char> memory(mebibytes << 20, 'x');
  require(Contestant::run(), Contestant::kName, "first process");
  const auto begin = std::chrono::steady_clock::now();
  size_t ended = 0;
  for (size_t i = 0; i < kProcesses; ++i) ended += Contestant::run();
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
  require(ended == kProcesses && waitpid(-1, nullptr, WNOHANG) < 0, Contestant::kName, "processes");
  return seconds.count();
}

template <class Contestant>
void add_contestant() {
  for (const size_t mebibytes : {1, 64}) {
    kiv::bench::add(kiv::bench::name("process", "start+wait", mebibytes, Contestant::kName), 1, kProcesses,
                    [mebibytes] { return time_processes<Contestant>(mebibytes); });
  }
}

}  // namespace

int main(int argc, char **argv) {
  add_contestant<Ours>();
  add_contestant<PosixSpawn>();
  add_contestant<PosixSpawnClosing>();
  add_contestant<Fork>();
  return kiv::bench::run(argc, argv);
}
