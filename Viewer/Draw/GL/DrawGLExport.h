#pragma once

/// Marks what the OpenGL library exports. The build defines MirelDrawGL_EXPORTS while it compiles the library itself.
#if defined(_WIN32)
#if defined(MirelDrawGL_EXPORTS)
#define MIREL_DRAW_GL_API __declspec(dllexport)
#else
#define MIREL_DRAW_GL_API __declspec(dllimport)
#endif
#else
#define MIREL_DRAW_GL_API __attribute__((visibility("default")))
#endif
