/** @file
 * Character classes and case of single code points.
 *
 * They are narrow on purpose: a code point up to 255 is classified as the byte of that value, by the C runtime and in
 * the process's current locale, which is asked at each call. A code point above 255 gets a fixed answer: it counts as
 * printable and graphic and as nothing else, and has no other case. In the "C" locale the code points 128 to 255 belong
 * to no class.
 *
 * The classifiers give 1 or 0. Nothing fails.
 *
 * Thread safety: any thread; who changes the locale meanwhile has the C runtime's rules to follow. */
#ifndef KIV_UNI_H
#define KIV_UNI_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** A letter or a digit. */
KIV_API int kiv_uni_isalnum(KIV_UNICHAR c);
/** A letter. */
KIV_API int kiv_uni_isalpha(KIV_UNICHAR c);
/** A control character. */
KIV_API int kiv_uni_iscntrl(KIV_UNICHAR c);
/** A decimal digit. */
KIV_API int kiv_uni_isdigit(KIV_UNICHAR c);
/** A hexadecimal digit of either case. */
KIV_API int kiv_uni_isxdigit(KIV_UNICHAR c);
/** Printable and not the space; every code point above 255. */
KIV_API int kiv_uni_isgraph(KIV_UNICHAR c);
/** Graphic, but neither letter nor digit. */
KIV_API int kiv_uni_ispunct(KIV_UNICHAR c);
/** Printable, the space included; every code point above 255. */
KIV_API int kiv_uni_isprint(KIV_UNICHAR c);
/** A lower-case letter. */
KIV_API int kiv_uni_islower(KIV_UNICHAR c);
/** An upper-case letter. */
KIV_API int kiv_uni_isupper(KIV_UNICHAR c);
/** White space. */
KIV_API int kiv_uni_isspace(KIV_UNICHAR c);

/** The lower-case form of c; c itself when it has none. */
KIV_API KIV_UNICHAR kiv_uni_tolower(KIV_UNICHAR c);
/** The upper-case form of c; c itself when it has none. */
KIV_API KIV_UNICHAR kiv_uni_toupper(KIV_UNICHAR c);

KIV_END_DECLARATIONS

#endif
