// Named events, thread-local slots and thread numbers under their Windows names.
//
// Named events live as long as a handle to them is open and are known within this process.
#pragma once

#include "platform/WindowsTypes.h"

#ifndef _WIN32
constexpr DWORD INFINITE = 0xFFFFFFFF;
constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD WAIT_TIMEOUT = 258;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
constexpr DWORD TLS_OUT_OF_INDEXES = 0xFFFFFFFF;

/// Creates a signalling object, or opens the one of that name (last error ERROR_ALREADY_EXISTS; otherwise 0).
/// @param manualReset  FALSE: the wait that succeeds takes the signal. An opened event keeps its own kind and state
/// @param name  may be null or empty, for an event without a name; compared case-sensitively
/// @return null on failure
PLATFORM_API HANDLE CreateEventW(void* security, BOOL manualReset, BOOL initialState, const wchar_t* name);
/// @return null with ERROR_FILE_NOT_FOUND when no event of that name is open
PLATFORM_API HANDLE OpenEventW(DWORD access, BOOL inherit, const wchar_t* name);
PLATFORM_API BOOL SetEvent(HANDLE event);
PLATFORM_API BOOL ResetEvent(HANDLE event);
/// Waits for an event; a handle closed meanwhile does not end the wait.
/// @param milliseconds  INFINITE for no limit, 0 to look only
/// @return WAIT_OBJECT_0, WAIT_TIMEOUT, or WAIT_FAILED with ERROR_INVALID_HANDLE
PLATFORM_API DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);

/// A slot that is null in every thread, also when it was used and freed before. There are 1088.
/// @return TLS_OUT_OF_INDEXES when none is left
PLATFORM_API DWORD TlsAlloc();
/// Null for a slot that this thread has not set; sets the last error to 0 on success. Exit hooks of the process still
/// find the main thread's values.
PLATFORM_API void* TlsGetValue(DWORD index);
PLATFORM_API BOOL TlsSetValue(DWORD index, void* value);
PLATFORM_API BOOL TlsFree(DWORD index);

/// Number of the thread in the system, as debuggers and process lists show it.
PLATFORM_API DWORD GetCurrentThreadId();
PLATFORM_API DWORD GetCurrentProcessId();
#endif

#include <string_view>

namespace platform {

/// Gives the calling thread a name that debuggers and process lists show; the system keeps its first 15 bytes.
PLATFORM_API void nameThisThread(std::wstring_view name);

}  // namespace platform
