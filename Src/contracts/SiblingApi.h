// The mark on everything that a sibling library exports to this one.
#pragma once

#if defined(_WIN32)
#define SIBLING_API __declspec(dllimport)
#else
#define SIBLING_API __attribute__((visibility("default")))
#endif
