/** @file
 * How the library's functions are declared: linkage for C++ callers and the import or export attribute.
 *
 * Define KIV_STATIC before including any header when linking the static library on Windows. */
#ifndef KIV_EXPORT_H
#define KIV_EXPORT_H

#if defined(_WIN32)
#if defined(KIV_STATIC)
#define KIV_API
#else
#define KIV_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define KIV_API __attribute__((visibility("default")))
#else
#define KIV_API
#endif

#if defined(__GNUC__)
#define KIV_NORETURN __attribute__((noreturn))
#elif defined(_MSC_VER)
#define KIV_NORETURN __declspec(noreturn)
#else
#define KIV_NORETURN
#endif

/* Before a record's 64-bit field: it stands at a multiple of 8 bytes, also on 32-bit Linux, where 4 would do. */
#if defined(__GNUC__)
#define KIV_ALIGNED_8 __attribute__((aligned(8)))
#elif defined(_MSC_VER)
#define KIV_ALIGNED_8 __declspec(align(8))
#else
#define KIV_ALIGNED_8
#endif

#ifdef __cplusplus
#define KIV_BEGIN_DECLARATIONS extern "C" {
#define KIV_END_DECLARATIONS }
#else
#define KIV_BEGIN_DECLARATIONS
#define KIV_END_DECLARATIONS
#endif

#endif
