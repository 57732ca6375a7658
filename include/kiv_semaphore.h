/** @file
 * Counting semaphores, in two generations that work on the same objects: kiv_sema_* ends the process on a failure,
 * exactly as the older mutex functions do (see kiv_mutex.h), kiv_semaphore_* returns a status.
 *
 * A semaphore is one handle in a caller's variable. Its count never exceeds KIV_SEMAPHORE_MAXIMUM. Bad handles and
 * thread safety: as for mutexes. */
#ifndef KIV_SEMAPHORE_H
#define KIV_SEMAPHORE_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

typedef void *kiv_semaphore;

#define KIV_SEMAPHORE_MAXIMUM 0x40000000

/** Stores a new semaphore with the given count in *semaphore. 0; 1 when the count is negative or above the maximum or
 * the system has no more: *semaphore is then null. */
KIV_API int kiv_semaphore_new(kiv_semaphore *semaphore, int32_t initial);

/** Waits until the count is positive and lowers it by one. 0, or 1 for a bad handle. */
KIV_API int kiv_semaphore_wait(kiv_semaphore *semaphore);

/** 0: the count was positive and is lowered by one. 1: it was 0, waiting would block. -1: bad handle. */
KIV_API int kiv_semaphore_trywait(kiv_semaphore *semaphore);

/** Raises the count by one. 0; 1 for a bad handle or when the count is at its maximum. */
KIV_API int kiv_semaphore_signal(kiv_semaphore *semaphore);

/** Releases the semaphore; one function with kiv_mutex_delete. REQUIRES: no thread waits for it. */
KIV_API int kiv_semaphore_delete(kiv_semaphore *semaphore);

/** The older generation; 0 (trywait also 1: would block), any failure ends the process. kiv_sema_destroy is one
 * function with kiv_mutex_destroy. */
KIV_API int kiv_sema_create(kiv_semaphore *semaphore, int32_t initial);
KIV_API int kiv_sema_wait(kiv_semaphore *semaphore);
KIV_API int kiv_sema_trywait(kiv_semaphore *semaphore);
KIV_API int kiv_sema_post(kiv_semaphore *semaphore);
KIV_API int kiv_sema_destroy(kiv_semaphore *semaphore);

KIV_END_DECLARATIONS

#endif
