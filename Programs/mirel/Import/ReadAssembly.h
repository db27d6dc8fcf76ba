#pragma once

#include <Programs/mirel/Import/ImportResult.h>

#if defined(_WIN32)
#define MIREL_IMPORT_API __declspec(dllexport)
#else
#define MIREL_IMPORT_API __attribute__((visibility("default")))
#endif

namespace mirel {

class LiteModel;
class SourceFile;
class StageProgress;

/// Reads an assembly file into an empty model, and tells in an empty result what came of it. After an error the model may
/// hold anything.
///
/// This is the whole of what an import library offers. There is one for each format, which alone is linked to
/// OpenCASCADE's reader of that format: that takes longer to load than most folders take to open. The program loads the
/// library (`ImportLibrary`) when it is to read such a file.
///
/// What exists once per process stays on the program's side: the library gets references, and keeps nothing. Nothing is
/// thrown. One call at a time; OpenCASCADE may crash on a damaged file (`CrashGuard`).
extern "C" MIREL_IMPORT_API void MirelReadAssembly(const SourceFile& file, StageProgress& progress,
                                                   LiteModel& model, ImportResult& result);

}  // namespace mirel
