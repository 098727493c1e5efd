// The mark of what the platform library offers to the libraries above it.
#pragma once

#ifdef _WIN32
#define PLATFORM_API
#else
#define PLATFORM_API __attribute__((visibility("default")))
#endif
