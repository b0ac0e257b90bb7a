// The one mark on everything that the library exports.
#pragma once

#if defined(_WIN32)
#if defined(VIDEOFRAME_BUILD)
#define VF_EXPORT __declspec(dllexport)
#else
#define VF_EXPORT __declspec(dllimport)
#endif
#else
#define VF_EXPORT __attribute__((visibility("default")))
#endif
