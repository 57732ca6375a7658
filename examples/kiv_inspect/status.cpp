#include "examples/kiv_inspect/status.h"

#include <cstring>

#include "kiv_string.h"

namespace kiv::inspect {
namespace {

const KIV_UNICHAR *units(const char32_t *text) { return reinterpret_cast<const KIV_UNICHAR *>(text); }

/// A source file's name without the folders in front, which differ from build to build.
const char *file_name(const char *path) {
  const char *slash = std::strrchr(path, '/'), *backslash = std::strrchr(path, '\\');
  if (slash != nullptr) path = slash + 1;
  return backslash != nullptr && backslash >= path ? backslash + 1 : path;
}

}  // namespace

// Records are in an allocator of their own: what is left of them when there is no memory ends with it.
Errors::Errors(KIV_ALLOCATOR *parent) {
  KIV_ALLOCATOR *records = kiv_allocator_wrap_new(&storage_, parent, 0);
  if (records != nullptr) context_ = {records, kiv_i18n_prn_init(records)};
}

Errors::~Errors() {
  if (context_.allocator == nullptr) return;
  kiv_i18n_prn_exit(context_.messages);
  kiv_allocator_wrap_delete(context_.allocator);
}

// Without memory the library gives the other record up, by this allocator: it frees nothing that is not its own.
Status Errors::copy(Status status) const {
  if (status.ok()) return {};
  return context_.allocator != nullptr ? Status{kiv_error_deep_copy(&context_, status.error)} : out_of_memory();
}

Status Errors::system_failure(const Message &message) const {
  if (context_.allocator == nullptr) return out_of_memory();
  const KIV_STRING system = kiv_get_syserr(context_.allocator);
  if (system == nullptr) return out_of_memory();
  const Status status = failure(message, system);
  kiv_string_delete(context_.allocator, system);
  return status;
}

Status Errors::out_of_memory() const {
  // A record without a message is the static one.
  return {kiv_error_create(&context_, nullptr, nullptr, 0, nullptr, nullptr, nullptr, nullptr)};
}

Status Errors::add_words(Status status, const Message &message, const void *const *words) const {
  if (context_.allocator == nullptr) return out_of_memory();
  const char *file = file_name(message.file);
  const KIV_UNICHAR *binary = units(U"kiv_inspect"), *help = units(message.help);
  if (words == nullptr) {
    return {kiv_error_prepend(&context_, status.error, message.function, file, message.line, binary,
                              KIV_INSPECT_VERSION, help, message.text)};
  }
  return {kiv_error_prepend_prn8(&context_, status.error, message.function, file, message.line, binary,
                                 KIV_INSPECT_VERSION, help, message.text, words[0], words[1], words[2], words[3],
                                 words[4], words[5], words[6], words[7])};
}

}  // namespace kiv::inspect
