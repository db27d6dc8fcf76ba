#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

// What mutators share. A mutator takes an input apart, changes one thing and puts it together again, so that the rest
// still fits: offsets, lengths, checksums. Now and then it lets the fuzzer change the plain bytes.

namespace mirel::fuzz {

using Random = std::minstd_rand;

/// A number from 0 to `count` - 1; 0 when there is none.
std::size_t Pick(Random& random, std::size_t count);

/// Numbers at the edges of what readers accept: 0, 1, -1, powers of two and their neighbours.
std::uint64_t PickInteger(Random& random);

/// Lets the fuzzer change the bytes; the result has at most `maxSize`.
std::string MutateBytes(const std::string& bytes, std::size_t maxSize);

/// The result of a custom mutator: the new input, or, if it is too long, the old one with its bytes changed.
std::size_t ReturnInput(const std::string& input, std::uint8_t* data, std::size_t size, std::size_t maxSize);

/// Where a token of a text, or a line, begins and ends.
struct Range {
  std::size_t begin, end;
};
std::vector<Range> FindTokens(const std::string& text, const char* separators);
std::string Cut(const std::string& text, const Range& range);
std::vector<std::string> Split(const std::string& words);

/// Text for a number, in the place of another: close to it, or one that hurts.
std::string MutateNumber(const std::string& old, Random& random);

/// Changes BRep text by tokens and lines: numbers become other numbers, indices others, lines are left out, repeated and
/// moved.
std::string MutateBodyText(const std::string& text, Random& random, std::size_t maxSize);

}  // namespace mirel::fuzz
