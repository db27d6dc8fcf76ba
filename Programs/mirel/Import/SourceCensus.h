#pragma once

#include <Programs/mirel/Save/ModelCounts.h>

#include <TDocStd_Document.hxx>

#include <cstdint>
#include <string>
#include <vector>

namespace mirel {

/// Counts what an XCAF document holds: what a model folder can take, and what it has no place for. Looks at
/// the document only, not at anything that an import made of it.
class SourceCensus {
 public:
  /// Something of the source that is not in the folder.
  struct Loss {
    const char* key;   ///< in JSON
    const char* text;  ///< for people, with both forms of a word (`Plural`)
    std::uint64_t count;
  };

  explicit SourceCensus(const Handle(TDocStd_Document) & document);

  const ModelCounts& GetCounts() const { return counts_; }

  /// Every kind of loss, also those whose count is 0.
  const std::vector<Loss>& GetLosses() const { return losses_; }

 private:
  ModelCounts counts_;
  std::vector<Loss> losses_;
};

}  // namespace mirel
