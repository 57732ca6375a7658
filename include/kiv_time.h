/** @file
 * Time: of day, since some moment, and spent by a thread.
 *
 * The time of day (kiv_get_time, kiv_get_millitime) is Coordinated Universal Time counted from 1970-01-01 00:00; it
 * jumps when somebody sets the clock. Durations are measured with kiv_get_microtime, which never goes back.
 *
 * Thread safety: any thread may call any function. */
#ifndef KIV_TIME_H
#define KIV_TIME_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** A time of day. The seconds are the low 32 bits of the count: they begin anew in February 2106, and whoever reads
 * them as a signed number sees them turn negative in January 2038. */
typedef struct KIV_TIME {
  uint32_t seconds;      /**< since 1970-01-01 00:00 UTC */
  uint32_t milliseconds; /**< 0 to 999 */
} KIV_TIME;

/** Stores the time of day. Always 0. */
KIV_API int kiv_get_time(KIV_TIME *time);

/** The time of day in milliseconds: seconds * 1000 + milliseconds. The seconds are not cut to 32 bits. */
KIV_API uint64_t kiv_get_millitime(void);

/** Microseconds since some moment that is fixed while the system runs; never less than before.
 *
 * On Windows this is the performance counter divided by the whole number of its ticks in a microsecond. Unless its
 * frequency is a multiple of 1 MHz, as it is on all current systems, the unit is therefore a little less than a
 * microsecond. */
KIV_API uint64_t kiv_get_microtime(void);

/** The seconds from the earlier time to the later one: the exact difference, rounded once to the nearest double.
 * Negative when `later` is before `earlier`. kiv_delta_time(10, 100, 9, 900) is 0.2. */
KIV_API double kiv_delta_time(uint32_t later_seconds, uint32_t later_milliseconds, uint32_t earlier_seconds,
                              uint32_t earlier_milliseconds);

/** Prints to standard error what processor time the calling thread has used, when the environment variable
 * KIV_PROFILE_THREADS is exactly "1"; nothing otherwise. To be called at the end of a thread:
 *
 *     NAME thread time 0.0123 sec (25% kernel; process 1.5 sec)
 *
 * The share is that of the kernel in the thread's time, cut to whole percents and 0 for a thread that used no time. */
KIV_API void kiv_dev_profiling_thread_terminate(const char *name);

KIV_END_DECLARATIONS

#endif
