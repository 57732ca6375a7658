// Winsock, of which the library uses version 1.1, and its socket handles.
#ifndef KIV_OS_WIN32_WINSOCK_H
#define KIV_OS_WIN32_WINSOCK_H

// <winsock2.h> has to come before <windows.h>.
#define _WINSOCK_DEPRECATED_NO_WARNINGS
#include <winsock2.h>

#include "os/socket.h"
#include "os/win32/windows_api.h"

namespace kiv::os {

/// Handles have 32 significant bits, also on 64-bit Windows; kNoSocket becomes INVALID_SOCKET.
inline SOCKET handle_of(Socket socket) {
  return static_cast<SOCKET>(static_cast<intptr_t>(static_cast<int32_t>(socket)));
}
inline Socket word_of(SOCKET handle) { return static_cast<Socket>(handle); }

}  // namespace kiv::os

#endif
