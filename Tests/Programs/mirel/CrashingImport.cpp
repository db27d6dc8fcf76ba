#include <Programs/mirel/Import/ReadAssembly.h>

#include <csignal>

// An import library that does what OpenCASCADE does on some damaged files.
extern "C" void mirel::MirelReadAssembly(const SourceFile&, StageProgress&, LiteModel&, ImportResult&) {
  std::raise(SIGSEGV);
}
