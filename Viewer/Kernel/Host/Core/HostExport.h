#pragma once

/// Marks what the host layer exports. The build defines MirelHost_EXPORTS while it compiles the library itself.
#if defined(_WIN32)
#if defined(MirelHost_EXPORTS)
#define MIREL_HOST_API __declspec(dllexport)
#else
#define MIREL_HOST_API __declspec(dllimport)
#endif
#else
#define MIREL_HOST_API __attribute__((visibility("default")))
#endif
