#include <Programs/mirel/Import/ImportLibrary.h>

#include <Programs/mirel/ProgramLibrary.h>

namespace mirel {

ImportLibrary::ImportLibrary(SourceFile::Format format) {
  const std::string name = SourceFile::GetFormatName(format);
  const ProgramLibrary library("MirelRead" + name, "MirelReadAssembly");
  read_ = reinterpret_cast<decltype(read_)>(library.GetFunction());
  if (library.GetPath().empty()) {
    error_ = "the library that reads " + name + " files is not found: " + library.GetError();
  } else if (!library.GetError().empty()) {
    error_ =
        name + " files are read by " + library.GetPath() + ", which cannot be loaded: " + library.GetError();
  }
}

}  // namespace mirel
