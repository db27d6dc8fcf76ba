#pragma once

#include <Fuzz/Support/Mutate.h>

namespace mirel::fuzz {

/// Changes BRep text within its grammar, so that most of what comes out still passes the check of `TopoShape::Read` and
/// gets as far as the mesher. Each token is known for what it stands for. Numbers become others that hurt; axes turn; the
/// ranges of edges grow and shrink; curves and surfaces are exchanged for others, of all kinds, or trimmed, offset, swept;
/// references go to other entries; sub-shapes are listed twice or not at all, and placed.
///
/// Text that does not follow the grammar is changed by `MutateBodyText`.
std::string MutateBodyGrammar(const std::string& text, Random& random, std::size_t maxSize);

}  // namespace mirel::fuzz
