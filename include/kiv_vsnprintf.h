/** @file
 * Bounded formatted printing with one meaning on every system. */
#ifndef KIV_VSNPRINTF_H
#define KIV_VSNPRINTF_H

#include <stdarg.h>

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** Prints at most size bytes into buffer, as _vsnprintf of the C runtime of Windows does. Mind how this differs from
 * C's vsnprintf:
 *
 *     | the text has      | result         | buffer                                  |
 *     |-------------------|----------------|-----------------------------------------|
 *     | below size bytes  | their number   | the text and a terminator               |
 *     | size bytes        | size           | the text, no terminator                 |
 *     | more              | negative       | the first size bytes, no terminator     |
 *
 * A format that the C runtime refuses gives a negative result, too. A null buffer of size 0 only counts: the result is
 * the number of bytes that the text has; one of another size gives a negative result.
 *
 * Where the C runtime always terminates, a text of size bytes and more is printed a second time, from 512 bytes on into
 * a block of size + 1 bytes on the C runtime's heap. When there is none the result is negative, and the buffer's last
 * byte a terminator. */
KIV_API int kiv_do_vsnprintf(char *buffer, uint32_t size, const char *format, va_list arguments);

KIV_END_DECLARATIONS

#endif
