#include "kiv_process.h"

#include <cstdlib>

#include "base/record_layout.h"
#include "os/platform.h"
#include "os/process_error.h"

namespace os = kiv::os;

KIV_LAYOUT_32(sizeof(KIV_PROCESS) == 8 && offsetof(KIV_PROCESS, handle) == 4);

namespace {

int failed(int result) {
  kiv::keep_process_error();
  return result;
}

/// The record's handle, or one by the record's id; null on failure.
os::Handle handle_of(const KIV_PROCESS *process) {
  return process->handle != nullptr ? process->handle : os::process_open(process->id);
}

/// Waits and closes the handle.
int wait_and_close(KIV_PROCESS *process, os::Handle handle) {
  const int result = os::process_wait(handle) ? 0 : failed(-1);
  os::process_close(handle);
  process->handle = nullptr;
  return result;
}

}  // namespace

int kiv_process_start(const char *const *argv, KIV_PROCESS *process, const char *output_file, void *unused,
                      uint32_t mode) {
  if (process == nullptr) return 1;
  return kiv_process_start_detached(argv, output_file, unused, mode, &process->id, &process->handle);
}

int kiv_process_start_detached(const char *const *argv, const char *output_file, void *, uint32_t mode,
                               uint32_t *out_id, void **out_handle) {
  uint32_t id = KIV_PROCESS_NO_ID;
  if (out_handle != nullptr) *out_handle = nullptr;
  const bool started = os::process_start({argv, output_file, mode}, &id, out_handle);
  if (out_id != nullptr) *out_id = id;
  return started ? 0 : failed(1);
}

int kiv_process_wait(KIV_PROCESS *process) {
  if (process == nullptr) return -1;
  const os::Handle handle = handle_of(process);
  return handle != nullptr ? wait_and_close(process, handle) : failed(-1);
}

int kiv_process_kill_and_wait(KIV_PROCESS *process) {
  if (process == nullptr) return -1;
  const os::Handle handle = handle_of(process);
  if (handle == nullptr) return failed(-1);
  if (os::process_kill(handle)) return wait_and_close(process, handle);
  const int result = failed(-1);
  if (handle != process->handle) os::process_close(handle);
  return result;
}

uint32_t kiv_process_get_pid(void) { return os::process_current_id(); }

void kiv_exit(int code) { std::exit(code); }
