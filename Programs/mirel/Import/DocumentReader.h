#pragma once

#include <Programs/mirel/Import/SourceFile.h>

#include <TDocStd_Document.hxx>

#include <cstddef>
#include <string>
#include <vector>

namespace mirel {

class ProgressBar;

/// Reads a STEP or IGES file into an XCAF document: assemblies, names, colours, layers, materials, PMI, saved
/// views and properties, everything that OpenCASCADE can take, so that what is not saved can at least be
/// counted. Lengths are converted to millimetres. Labels without a name in the file stay without one.
///
/// OpenCASCADE's own messages are caught while it works, and nothing of it reaches stdout. If it crashes on a
/// damaged file, the process ends with the exit code for unreadable input after saying so.
///
/// Changes process-wide settings of OpenCASCADE: for programs only, one reader at a time.
class DocumentReader {
 public:
  explicit DocumentReader(ProgressBar& progress) : progress_(progress) {}

  /// The document, or a null handle; then `GetError` says why. The message lines under it, if any, are the
  /// library's.
  Handle(TDocStd_Document) Read(const SourceFile& file);

  const std::string& GetError() const { return error_; }
  const std::vector<std::string>& GetMessages() const { return messages_; }

  double GetReadSeconds() const { return readSeconds_; }
  double GetTransferSeconds() const { return transferSeconds_; }

  /// How many entities of the file are not as they should be, so that the library could load them in part at
  /// best.
  std::size_t GetBadEntityCount() const { return badEntities_; }

  /// How many entities of the file the library reported as failed to translate.
  std::size_t GetFailedEntityCount() const { return failedEntities_; }

 private:
  template <typename Reader>
  bool Run(Reader& reader, const SourceFile& file, const Handle(TDocStd_Document) & document);

  ProgressBar& progress_;
  std::string error_;
  std::vector<std::string> messages_;
  double readSeconds_ = 0.0;
  double transferSeconds_ = 0.0;
  std::size_t badEntities_ = 0;
  std::size_t failedEntities_ = 0;
};

}  // namespace mirel
