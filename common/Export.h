// How a library exports a function.
#pragma once

#if defined(_WIN32)
#define KA_EXPORT __declspec(dllexport)
#else
#define KA_EXPORT __attribute__((visibility("default")))
#endif
