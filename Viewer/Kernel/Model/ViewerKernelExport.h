#pragma once

/// Marks what the module exports. The build defines MirelViewerKernel_EXPORTS while it compiles the library itself.
#if defined(_WIN32)
#if defined(MirelViewerKernel_EXPORTS)
#define MIREL_VIEWER_KERNEL_API __declspec(dllexport)
#else
#define MIREL_VIEWER_KERNEL_API __declspec(dllimport)
#endif
#else
#define MIREL_VIEWER_KERNEL_API __attribute__((visibility("default")))
#endif
