// Output of kiv_inspect in a string.
#ifndef KIV_TESTS_EXAMPLES_TEXT_SINK_H
#define KIV_TESTS_EXAMPLES_TEXT_SINK_H

#include <string>

#include "examples/kiv_inspect/sink.h"

namespace kiv::test {

class TextSink final : public inspect::Sink {
 public:
  void write(const char *bytes, size_t size) override { text.append(bytes, size); }
  bool has_failed() const override { return false; }
  bool flush() override { return true; }
  std::string text;
};

}  // namespace kiv::test

#endif
