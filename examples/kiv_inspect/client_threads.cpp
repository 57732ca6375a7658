#include "examples/kiv_inspect/client_threads.h"

#include "examples/kiv_inspect/mutex_lock.h"
#include "kiv_thread.h"

namespace kiv::inspect {
namespace {

struct Clients {
  Server &server;
  uint64_t left;  // clients that are still to come; this and what follows belongs to the one whose turn it is
  bool has_failed = false;
  kiv_mutex turn = nullptr;

  /// False when there is nobody to come any more.
  bool accept(KIV_STREAM *stream) {
    const MutexLock lock(turn);
    if (left == 0 || has_failed) return false;
    --left;
    has_failed = !server.accept(stream);
    return !has_failed;
  }
};

/// A thread from start to end.
KIV_THREAD_ROUTINE_RESULT serve(void *argument) {
  auto &clients = *static_cast<Clients *>(argument);
  KIV_STREAM stream;
  while (clients.accept(&stream)) clients.server.serve(&stream);
  return 0;
}

}  // namespace

Status serve_clients(Server &server, uint64_t count, uint32_t at_once, const Errors &errors) {
  Clients clients = {server, count};
  if (kiv_mutex_new(&clients.turn) != 0) return errors.failure("there is no mutex for its clients[|]");
  KIV_THREAD threads[kMostClients];
  uint32_t started = 0;
  while (started + 1 < at_once && started + 1 < count && kiv_thread_new(&threads[started], serve, &clients) == 0) {
    ++started;
  }
  (void)serve(&clients);
  while (started > 0) (void)kiv_thread_join(threads[--started]);
  (void)kiv_mutex_delete(&clients.turn);
  return clients.has_failed ? errors.failure("no client can be accepted[|]") : Status{};
}

}  // namespace kiv::inspect
