#include <Programs/mirel/View/ModuleOption.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/View/ModuleLibrary.h>

#include <CLI/CLI.hpp>

namespace mirel {

void ModuleOption::Declare(CLI::App& verb) {
  verb.add_option("--module", path_, "Load this build of the module and use what it registers")
      ->type_name("PATH");
}

bool ModuleOption::Load(Console& console) const {
  if (!path_) {
    return true;
  }
  const ModuleLibrary library(*path_);
  if (!library.GetError().empty()) {
    console.Error(*path_, library.GetError());
    return false;
  }
  if (!library.IsRegistered()) {
    console.Error(*path_, "is a library, but registers no command, reader or loader with this host");
    return false;
  }
  return true;
}

}  // namespace mirel
