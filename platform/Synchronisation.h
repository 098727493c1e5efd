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
/// @param name  may be null; compared case-sensitively
/// @return null on failure
PLATFORM_API HANDLE CreateEventW(void* security, BOOL manualReset, BOOL initialState, const wchar_t* name);
/// @return null with ERROR_FILE_NOT_FOUND when no event of that name is open
PLATFORM_API HANDLE OpenEventW(DWORD access, BOOL inherit, const wchar_t* name);
PLATFORM_API BOOL SetEvent(HANDLE event);
PLATFORM_API BOOL ResetEvent(HANDLE event);
PLATFORM_API DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);

PLATFORM_API DWORD TlsAlloc();
/// Null for a slot that this thread has not set; sets the last error to 0 on success.
PLATFORM_API void* TlsGetValue(DWORD index);
PLATFORM_API BOOL TlsSetValue(DWORD index, void* value);
PLATFORM_API BOOL TlsFree(DWORD index);

PLATFORM_API DWORD GetCurrentThreadId();
PLATFORM_API DWORD GetCurrentProcessId();
#endif
