#pragma once

#include <cstddef>
#include <string>

namespace mirel::bench {

/// Makes a model folder that holds the model of another one so many times, as instances of one type in a square, and returns
/// its path, ending with a separator. It is made once. Throws `std::runtime_error`.
std::string MakeCopies(const std::string& work, std::size_t copies);

/// How many copies of the model of a work folder have so many placed bodies at least. Throws `std::runtime_error`.
std::size_t CountCopies(const std::string& work, std::size_t bodies);

}  // namespace mirel::bench
