#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// What libFuzzer calls. A target defines the first, and the second when plain bytes would not get far.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed);
// What libFuzzer offers: changes the bytes at random and returns their new number, at most `maxSize`.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace mirel::fuzz {

/// Says which property does not hold, and aborts.
[[noreturn]] void Fail(const char* file, int line, const std::string& what);

/// Keeps the log from being printed as long as it lives, and counts the failures (level 3) in it. Fails when one of them
/// is not followed at once by its location line.
class QuietLog {
 public:
  QuietLog();
  ~QuietLog();
  QuietLog(const QuietLog&) = delete;
  QuietLog& operator=(const QuietLog&) = delete;

  int CountFailures() const;
};

}  // namespace mirel::fuzz

/// A property: aborts, which the fuzzer reports with the input, when the condition does not hold.
#define MIREL_FUZZ_CHECK(condition, what)                                                                    \
  do {                                                                                                       \
    if (!(condition)) ::mirel::fuzz::Fail(__FILE__, __LINE__, what);                                         \
  } while (false)
