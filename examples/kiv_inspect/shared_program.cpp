#include "examples/kiv_inspect/shared_program.h"

#include "examples/kiv_inspect/mutex_lock.h"
#include "kiv_time.h"

namespace kiv::inspect {

SharedProgram::SharedProgram(KIV_ALLOCATOR *parent, Reading reading)
    : errors_(parent), program_(errors_, parent, reading) {
  (void)kiv_mutex_new(&mutex_);
}

SharedProgram::~SharedProgram() {
  if (mutex_ != nullptr) (void)kiv_mutex_delete(&mutex_);
}

Status SharedProgram::load(const char *path, std::initializer_list<Part> parts, const Errors &errors) {
  if (mutex_ == nullptr) return errors.failure("there is no mutex for it[|]");
  const MutexLock lock(mutex_);
  const uint64_t start = kiv_get_microtime();
  const Status status = load_parts(path, parts);
  load_time_ += kiv_get_microtime() - start;
  if (status.ok()) return {};
  has_failed_ = true;
  return errors.copy(status);
}

Status SharedProgram::load_parts(const char *path, std::initializer_list<Part> parts) {
  Status status = program_.load(path);
  for (const Part part : parts) {
    if (status.ok()) status = (program_.*part)();
  }
  return status;
}

}  // namespace kiv::inspect
