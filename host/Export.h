// The mark of what the host offers to the library.
#pragma once

#ifdef _WIN32
#define HOST_API __declspec(dllimport)
#else
#define HOST_API __attribute__((visibility("default")))
#endif
