// Where text goes: a file of the C runtime, or the reply to a client.
#ifndef KIV_INSPECT_SINK_H
#define KIV_INSPECT_SINK_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace kiv::inspect {

class Sink {
 public:
  Sink() = default;
  Sink(const Sink &) = delete;
  Sink &operator=(const Sink &) = delete;

  virtual void write(const char *text, size_t size) = 0;

  /// Whether something could not be written, so that more is of no use.
  virtual bool has_failed() const = 0;

  /// Writes what is buffered; false after any failure. errno tells which, unless it stays as it was.
  virtual bool flush() = 0;

  /// How much of the text there is by now: done parts of a total, which is not 0. For whoever waits for it.
  virtual void progress(uint64_t /*done*/, uint64_t /*total*/) {}

 protected:
  ~Sink() = default;
};

class FileSink final : public Sink {
 public:
  explicit FileSink(std::FILE *file) : file_(file) {}

  void write(const char *text, size_t size) override { (void)std::fwrite(text, 1, size, file_); }
  bool has_failed() const override { return std::ferror(file_) != 0; }
  bool flush() override { return std::fflush(file_) == 0 && !has_failed(); }

 private:
  std::FILE *file_;
};

}  // namespace kiv::inspect

#endif
