// The one mark of what the library exports.
#pragma once

#ifdef _WIN32
#ifdef ZEPHOR_BUILDING
#define ZEPHOR_API __declspec(dllexport)
#else
#define ZEPHOR_API __declspec(dllimport)
#endif
#else
#define ZEPHOR_API __attribute__((visibility("default")))
#endif
