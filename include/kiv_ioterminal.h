/** @file
 * Text on a descriptor of the C runtime, meant for a controlling terminal.
 *
 * There is no terminal to open here; the operations work on any descriptor that the caller has, standard output for
 * instance. Results are those of the C runtime: a count of bytes, or -1 with errno set. A call that a signal interrupts
 * before it has moved anything is repeated. A count that is short is given as it is.
 *
 * On Windows a descriptor in text mode changes line ends, and counts the bytes before that change.
 *
 * Thread safety: as the C runtime's read and write. */
#ifndef KIV_IOTERMINAL_H
#define KIV_IOTERMINAL_H

#include "kiv_allocator.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** Always -1: no terminal is available. */
KIV_API int kiv_ioterminal_open(void);

/** Reads up to n bytes. Their number, 0 at the end of the input, or -1. Above 0x7FFFFFFF bytes the C runtime of Windows
 * refuses n; elsewhere it counts as 0x7FFFFFFF. */
KIV_API int kiv_ioterminal_read(int fd, void *buffer, uint32_t n);

/** Writes up to n bytes; as kiv_ioterminal_read. */
KIV_API int kiv_ioterminal_write(int fd, const void *buffer, uint32_t n);

/** Writes a string without its terminator. */
KIV_API int kiv_ioterminal_puts(int fd, const char *s);

/** Writes a string as 8-bit characters, "?" for code points above 127; they are made with `allocator` and released
 * again. Without memory it writes "out of memory\n" in place of the string. */
KIV_API int kiv_ioterminal_wide_puts(KIV_ALLOCATOR *allocator, int fd, const KIV_UNICHAR *s);

/** Writes formatted text, cut after 10239 bytes. */
KIV_API int kiv_ioterminal_fprint(int fd, const char *format, ...);

/** Closes a descriptor: 0, or -1. A negative one is given back, and the C runtime not called. */
KIV_API int kiv_ioterminal_close(int fd);

KIV_END_DECLARATIONS

#endif
