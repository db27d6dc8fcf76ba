#include <Programs/mirel/Web/PreviewCall.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/ProgramLibrary.h>
#include <Programs/mirel/Web/ServeSite.h>

namespace mirel {

namespace {

ProgramLibrary LoadLibrary() {
  return ProgramLibrary("MirelPreview", "MirelServeSite");
}

}  // namespace

bool PreviewCall::IsPossible(Console& console) {
  const ProgramLibrary library = LoadLibrary();
  if (library.GetError().empty()) {
    return true;
  }
  console.Error("", "previews are served by " +
                        (library.GetPath().empty() ? "a library" : library.GetPath()) +
                        ", which cannot be loaded: " + library.GetError());
  return false;
}

ExitCode PreviewCall::Serve(Console& console, const std::string& folder) {
  const auto serve = reinterpret_cast<decltype(&MirelServeSite)>(LoadLibrary().GetFunction());
  const auto tell = [&console](int port) {
    console.Data("http://127.0.0.1:" + std::to_string(port) + "/\n");
    console.Note("only this machine can see it; Ctrl-C ends it");
  };
  serve(folder, tell);
  console.Error(folder, "cannot be served: no port of this machine is free");
  return ExitCode::kOutputUnwritten;
}

}  // namespace mirel
