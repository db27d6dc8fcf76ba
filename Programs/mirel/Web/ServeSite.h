#pragma once

#include <functional>
#include <string>

#if defined(_WIN32)
#define MIREL_PREVIEW_API extern "C" __declspec(dllexport)
#else
#define MIREL_PREVIEW_API extern "C" __attribute__((visibility("default")))
#endif

namespace mirel {

/// The one function of the library that serves sites for the program: serves the folder on 127.0.0.1 and says on which port.
/// Comes back only when that fails.
MIREL_PREVIEW_API void MirelServeSite(const std::string& folder, const std::function<void(int port)>& tell);

}  // namespace mirel
