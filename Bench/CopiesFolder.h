#pragma once

#include <cstddef>
#include <string>

namespace mirel::bench {

/// Makes a model folder that holds the model of another one so many times, as instances of one type in a square, and returns
/// its path, ending with a separator. It is made once. Throws `std::runtime_error`.
std::string MakeCopies(const std::string& work, std::size_t copies);

}  // namespace mirel::bench
