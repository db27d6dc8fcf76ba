#pragma once

#include <string>

namespace mirel::fuzz {

/// A folder for the files of this process: its narrow path, ending with a separator. Made at the first call and removed
/// when the process ends well. Targets write the same few files over and over.
const std::string& FuzzFolder();

}  // namespace mirel::fuzz
