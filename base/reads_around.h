// KIV_READS_AROUND: marks a function that reads aligned blocks whole, also where an array begins or ends within one. A
// block never spans two pages, so that what can be read of it can be read all; sanitizers do not know that.
#ifndef KIV_BASE_READS_AROUND_H
#define KIV_BASE_READS_AROUND_H

#define KIV_READS_AROUND __attribute__((no_sanitize("address"), no_sanitize("thread")))

#endif
