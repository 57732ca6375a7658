/** @file
 * The few types that every family shares, and the one that differs between operating systems.
 *
 * Conventions of the whole library:
 *  1. Records are plain, passed by pointer and owned by the caller unless a declaration says otherwise.
 *  2. Counts, sizes and states are 32-bit words on every target; pointers have the target's width. The state words of
 *     an allocator, which hold either, have the width of a pointer.
 *  3. A status is 0 for success and 1 for failure unless a declaration says otherwise; a failed constructor
 *     gives null. A failed call leaves its outputs as they were.
 *  4. Every function uses the C calling convention. Nothing throws.
 *  5. "REQUIRES:" marks a precondition: what happens without it is undefined. */
#ifndef KIV_TYPES_H
#define KIV_TYPES_H

#include <stdint.h>

#include "kiv_export.h"

KIV_BEGIN_DECLARATIONS

/** A Unicode code point. It is never range-checked: any value but 0, the terminator, is a character. */
typedef uint32_t KIV_UNICHAR;

/** A text: code points, ended by 0. It has no header; its length is found by scanning. */
typedef KIV_UNICHAR *KIV_STRING;

/** A thread routine as the operating system starts it. */
#if defined(_WIN32)
typedef uint32_t(__stdcall *KIV_THREAD_ROUTINE)(void *argument);
#define KIV_THREAD_ROUTINE_RESULT uint32_t __stdcall
#else
typedef void *(*KIV_THREAD_ROUTINE)(void *argument);
#define KIV_THREAD_ROUTINE_RESULT void *
#endif

KIV_END_DECLARATIONS

#endif
