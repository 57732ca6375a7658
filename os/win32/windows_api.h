// <windows.h> without the parts that nobody needs and the macros that get in the way.
#ifndef KIV_OS_WIN32_WINDOWS_API_H
#define KIV_OS_WIN32_WINDOWS_API_H

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#endif
