/** @file
 * Cookies: short texts that stand for something a process has handed out, and that can be given a lifetime.
 *
 * An administration makes cookies, finds them again by their text and removes those whose lifetime has run out. It owns
 * them; the caller may read every field of a cookie and write lifetime, on_stale and user.
 *
 * A text has 15 characters out of 0-9, A-Z, a-z, _ and @, made from the time of day and a small generator of random
 * numbers. It keeps cookies apart and stray texts from being taken for one. It is no secret: who knows when about a
 * cookie was made needs few guesses. One millisecond has 64 different texts; see kiv_make_cookie().
 *
 * Costs: making, finding and destroying take O(log n) steps, a sweep O(n log n). Cookies and trees lie on the C
 * runtime's heap.
 *
 * Thread safety: one thread at a time per administration. REQUIRES, throughout: an administration has been initialised
 * and not been destroyed since, unless it is null: a null administration has no cookies. */
#ifndef KIV_COOKIE_H
#define KIV_COOKIE_H

#include "kiv_avl.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** Bytes of a text with its terminator. */
#define KIV_COOKIE_TEXT_SIZE 16

typedef struct KIV_COOKIE KIV_COOKIE;
/** Told of a cookie that is about to be removed because it has gone stale. */
typedef void (*KIV_COOKIE_ON_STALE)(KIV_COOKIE *cookie);

struct KIV_COOKIE {
  uint32_t serial;               /**< unique in its administration; later cookies have greater ones, up to a wrap */
  uint32_t created_seconds;      /**< when it was made, as kiv_get_time() tells the time */
  uint32_t created_milliseconds; /**< 0 to 999 */
  char text[KIV_COOKIE_TEXT_SIZE];
  KIV_ALIGNED_8 double lifetime; /**< seconds; 0, less or not a number: it never goes stale */
  KIV_COOKIE_ON_STALE on_stale;  /**< may be null */
  void *user;                    /**< the caller's */
};

typedef struct KIV_COOKIE_ADMIN {
  KIV_AVL_TREE *by_text;   /**< the cookies, by text */
  KIV_AVL_TREE *by_serial; /**< the same cookies, by serial number; frees them */
  uint32_t counter;        /**< the next serial number; 0 at first */
  uint32_t random_state;   /**< 24 bits */
} KIV_COOKIE_ADMIN;

/** Makes an administration without cookies in the caller's record. Without memory a tree is null: then no cookie can be
 * made, and everything else works. */
KIV_API void kiv_init_cookie_admin(KIV_COOKIE_ADMIN *admin);

/** A new cookie, made now; null without memory.
 *
 * When all texts of this millisecond are taken, which needs 64 cookies made in it, the clock's next tick is waited for.
 * Null too when the clock has stood still for a second of waiting. */
KIV_API KIV_COOKIE *kiv_make_cookie(KIV_COOKIE_ADMIN *admin, double lifetime, KIV_COOKIE_ON_STALE on_stale, void *user);

/** The cookie with this text, or null. A text that is longer than 15 characters is cut to them. */
KIV_API KIV_COOKIE *kiv_find_cookie(KIV_COOKIE_ADMIN *admin, const char *text);

/** Removes and frees a cookie of this administration; on_stale is not called. Null is skipped. */
KIV_API void kiv_destroy_cookie(KIV_COOKIE_ADMIN *admin, KIV_COOKIE *cookie);

/** 1 when the cookie has a lifetime and at least that many seconds lie between its making and the given time; else 0,
 * also for null. */
KIV_API int kiv_cookie_has_gone_stale(const KIV_COOKIE *cookie, uint32_t now_seconds, uint32_t now_milliseconds);

/** Removes every cookie that has gone stale by now, in the order of their serial numbers: calls on_stale, then frees
 * the cookie.
 *
 * on_stale may make cookies, destroy any, this one included, and remove stale ones; it may destroy the administration,
 * but not free its record. Before the call the cookie's on_stale is set to null: nobody is told twice. */
KIV_API void kiv_remove_stale_cookies(KIV_COOKIE_ADMIN *admin);

/** Frees all cookies, without calling on_stale, and both trees, which then are null. */
KIV_API void kiv_destroy_cookie_admin(KIV_COOKIE_ADMIN *admin);

KIV_END_DECLARATIONS

#endif
