#pragma once

#include <string>

namespace mirel::bench {

/// Makes, from one STEP file, what the tasks work on (WorkFolder.h): the model folder, the binary documents
/// and the GLB file. All of them get their triangles with the same deflections. Throws `std::runtime_error`
/// when something fails.
void Prepare(const std::string& source, const std::string& work);

}  // namespace mirel::bench
