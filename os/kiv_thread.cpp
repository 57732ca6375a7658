#include "kiv_thread.h"

#include <atomic>
#include <cstddef>

#include "base/record_layout.h"
#include "os/platform.h"
#include "os/thread_message.h"

namespace os = kiv::os;

KIV_LAYOUT_32(sizeof(KIV_MANAGED_THREAD) == 24);
KIV_LAYOUT_32(offsetof(KIV_MANAGED_THREAD, argument) == 4);
KIV_LAYOUT_32(offsetof(KIV_MANAGED_THREAD, free_on_finish) == 8);
KIV_LAYOUT_32(offsetof(KIV_MANAGED_THREAD, running) == 12);
KIV_LAYOUT_32(offsetof(KIV_MANAGED_THREAD, return_value) == 16);
KIV_LAYOUT_32(offsetof(KIV_MANAGED_THREAD, thread_id) == 20);
KIV_LAYOUT_32(sizeof(KIV_THREAD) == 8 && offsetof(KIV_THREAD, handle) == 4);

namespace {

/// Chosen before threads are started, hence plain variables.
bool single_thread_mode;
uint32_t last_pseudo_thread_id;

std::atomic_ref<uint32_t> running_flag(KIV_MANAGED_THREAD *record) { return std::atomic_ref(record->running); }

KIV_THREAD_ROUTINE_RESULT run_managed(void *record_pointer) {
  auto *record = static_cast<KIV_MANAGED_THREAD *>(record_pointer);
  return os::thread_result(record->entry(record->argument));
}

/// The ids are stored first and, with free_on_finish, the record is not looked at after the entry function: it may be
/// gone, and so may a structure around it that holds out_id.
void run_on_this_thread(KIV_MANAGED_THREAD *record, uint32_t *out_id) {
  const bool record_stays = record->free_on_finish == 0;
  record->thread_id = ++last_pseudo_thread_id;
  if (out_id != nullptr) *out_id = record->thread_id;
  const int32_t result = record->entry(record->argument);
  if (record_stays && result != record->return_value) kiv::set_thread_message("return value mismatch");
}

}  // namespace

int kiv_thread_start(KIV_THREAD_ENTRY entry, KIV_MANAGED_THREAD *record, uint32_t *out_id, uint32_t free_on_finish) {
  record->free_on_finish = free_on_finish;
  record->entry = entry;
  record->argument = record;
  running_flag(record).store(1);
  if (single_thread_mode) {
    run_on_this_thread(record, out_id);
    return 0;
  }
  if (os::thread_create(run_managed, record, {&record->thread_id, out_id}, nullptr)) return 0;
  running_flag(record).store(0);
  return 1;
}

int kiv_thread_start_detached(KIV_THREAD_ENTRY entry, KIV_MANAGED_THREAD *record, uint32_t *out_id) {
  return kiv_thread_start(entry, record, out_id, 0);
}

int32_t kiv_thread_finish(KIV_MANAGED_THREAD *record, int32_t value) {
  if (record->free_on_finish != 0) {
    os::heap_free(record);
  } else {
    record->return_value = value;
    running_flag(record).store(0, std::memory_order_release);
  }
  return value;
}

void kiv_thread_exit(KIV_MANAGED_THREAD *record, int32_t value) {
  kiv_thread_finish(record, value);
  if (single_thread_mode) kiv::set_thread_message("Executing kiv_thread_exit in single_thread mode");
  os::thread_exit(value);
}

uint32_t kiv_thread_is_running(KIV_MANAGED_THREAD *record) {
  return running_flag(record).load(std::memory_order_acquire);
}

uint32_t kiv_thread_return_value(KIV_MANAGED_THREAD *record, int32_t *value) {
  const uint32_t running = kiv_thread_is_running(record);
  if (running == 0) *value = record->return_value;
  return running;
}

void kiv_thread_set_single_thread_mode(void) { single_thread_mode = true; }

int kiv_thread_new(KIV_THREAD *thread, KIV_THREAD_ROUTINE entry, void *argument) {
  return os::thread_create(entry, argument, {&thread->id, nullptr}, &thread->handle) ? 0 : 1;
}

int kiv_thread_join(KIV_THREAD thread) { return os::thread_join(thread.handle) ? 0 : 1; }

uint32_t kiv_thread_get_current_thread_id(void) { return os::thread_current_id(); }

void kiv_milli_sleep(uint32_t milliseconds) { os::sleep_milliseconds(milliseconds); }
