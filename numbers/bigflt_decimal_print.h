// The decimal texts of a magnitude: the sign is not printed. REQUIRES, for all: the value is finite, precision >= 0.
#ifndef KIV_NUMBERS_BIGFLT_DECIMAL_PRINT_H
#define KIV_NUMBERS_BIGFLT_DECIMAL_PRINT_H

#include "numbers/bigflt_value.h"
#include "numbers/text_sink.h"

namespace kiv::bigflt_engine {

/// The integer part, truncated.
void print_integer(TextSink &sink, const Extended &value);

void print_fixed(TextSink &sink, const Extended &value, int precision);

/// With `letter` before the exponent.
void print_exponential(TextSink &sink, const Extended &value, int precision, char letter);

/// The one or the other.
void print_general(TextSink &sink, const Extended &value, int precision, char letter);

}  // namespace kiv::bigflt_engine

#endif
