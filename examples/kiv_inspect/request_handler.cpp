#include "examples/kiv_inspect/request_handler.h"

#include "examples/kiv_inspect/command_table.h"

namespace kiv::inspect {

Status RequestHandler::open() { return program_.emplace(errors_, allocator_, Reading::at_once).load(path_); }

Outcome RequestHandler::answer(int count, char **words, Sink &out, Sink &err) {
  if (!program_) program_.emplace(errors_, allocator_, Reading::at_once);
  char none[] = "";
  char *no_words[] = {none};
  if (count < 1) words = no_words;
  const Arguments arguments = {count > 0 ? count - 1 : 0, words + 1, allocator_, errors_, *program_, path_, out, err};
  const Outcome outcome = run_command(words[0], arguments);
  if (program_->has_failed()) program_.reset();
  errors_.forget();
  return outcome;
}

}  // namespace kiv::inspect
