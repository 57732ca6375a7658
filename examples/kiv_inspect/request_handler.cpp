#include "examples/kiv_inspect/request_handler.h"

#include <new>

#include "examples/kiv_inspect/command_table.h"
#include "examples/kiv_inspect/mutex_lock.h"
#include "examples/kiv_inspect/output.h"

namespace kiv::inspect {

/// The program, as long as a request has it; null without memory.
class RequestHandler::Use {
 public:
  explicit Use(RequestHandler &handler) : program(handler.acquire()), handler_(handler) {}
  ~Use() {
    if (program != nullptr) handler_.release(program);
  }
  Use(const Use &) = delete;
  Use &operator=(const Use &) = delete;

  SharedProgram *const program;

 private:
  RequestHandler &handler_;
};

RequestHandler::RequestHandler(const char *path, KIV_ALLOCATOR *allocator) : path_(path), allocator_(allocator) {
  (void)kiv_mutex_new(&mutex_);
}

RequestHandler::~RequestHandler() {
  if (current_ != nullptr) end(current_);
  if (mutex_ != nullptr) (void)kiv_mutex_delete(&mutex_);
}

SharedProgram *RequestHandler::acquire() {
  if (mutex_ == nullptr) return nullptr;
  const MutexLock lock(mutex_);
  if (current_ == nullptr) {
    void *block = allocator_->alloc(allocator_, sizeof(SharedProgram));
    if (block == nullptr) return nullptr;
    current_ = new (block) SharedProgram(allocator_, Reading::at_once);
  }
  ++current_->users;
  return current_;
}

void RequestHandler::release(SharedProgram *program) {
  const MutexLock lock(mutex_);
  if (current_ == program && program->has_failed()) current_ = nullptr;
  --program->users;
  if (program->users == 0 && current_ != program) end(program);
}

void RequestHandler::end(SharedProgram *program) {
  program->~SharedProgram();
  allocator_->free(allocator_, program);
}

Status RequestHandler::open(const Errors &errors) {
  const Use use(*this);
  return use.program != nullptr ? use.program->load(path_, {}, errors) : errors.out_of_memory();
}

Outcome RequestHandler::answer(int count, char **words, Sink &out, Sink &err) {
  const Errors errors(allocator_);
  const Use use(*this);
  if (use.program == nullptr) {
    print_error(errors.out_of_memory(), err);
    return Outcome::failed;
  }
  char none[] = "";
  char *no_words[] = {none};
  if (count < 1) words = no_words;
  return run_command(words[0],
                     {count > 0 ? count - 1 : 0, words + 1, allocator_, errors, *use.program, path_, out, err});
}

}  // namespace kiv::inspect
