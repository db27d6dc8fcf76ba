#pragma once

/// Marks what the drawing library exports. The build defines MirelDraw_EXPORTS while it compiles the library itself.
#if defined(_WIN32)
#if defined(MirelDraw_EXPORTS)
#define MIREL_DRAW_API __declspec(dllexport)
#else
#define MIREL_DRAW_API __declspec(dllimport)
#endif
#else
#define MIREL_DRAW_API __attribute__((visibility("default")))
#endif
