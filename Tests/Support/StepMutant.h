#pragma once

#include <string>

namespace mirel {

/// The text of a STEP file, changed at one to eight places as chance has it: bytes, numbers, references, types of entities,
/// parameters, lists, whole entities, the end. Most of it still follows the grammar, so that it gets past the scanner to what
/// makes bodies of it. The same number gives the same text.
std::string MakeStepMutant(const std::string& text, unsigned int number);

}  // namespace mirel
