#pragma once

#include <Programs/mirel/Import/SourceFile.h>

#include <Message_ProgressRange.hxx>
#include <TDocStd_Document.hxx>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

class XSControl_Reader;

namespace mirel {

class StageProgress;

/// Reads a file into an XCAF document: assemblies, names, colours, layers, materials, PMI, saved views and properties,
/// everything that OpenCASCADE can take, so that what is not saved can at least be counted. Lengths are converted to
/// millimetres. Labels without a name in the file stay without one. Each format has a class of its own (`StepReader`,
/// `IgesReader`).
///
/// OpenCASCADE's own messages are caught while it works, and nothing of it reaches stdout. It may crash on a damaged
/// file.
///
/// Changes process-wide settings of OpenCASCADE: for programs only, one reader at a time.
class DocumentReader {
 public:
  virtual ~DocumentReader() = default;

  DocumentReader(const DocumentReader&) = delete;
  DocumentReader& operator=(const DocumentReader&) = delete;

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

 protected:
  explicit DocumentReader(StageProgress& progress) : progress_(progress) {}

  using TransferFunction = std::function<bool(const Message_ProgressRange&)>;

  /// Reads the file with a reader that is set up, has every entity mended, and calls the function to translate them
  /// into the document.
  bool Run(const SourceFile& file, XSControl_Reader& reader, const TransferFunction& transfer);

 private:
  // Makes the reader of the format and calls `Run`.
  virtual bool ReadInto(const Handle(TDocStd_Document) & document, const SourceFile& file) = 0;

  // Changes an entity that would not be translated as it should be.
  virtual void Mend(const Handle(Standard_Transient) &) {}

  StageProgress& progress_;
  std::string error_;
  std::vector<std::string> messages_;
  double readSeconds_ = 0.0;
  double transferSeconds_ = 0.0;
  std::size_t badEntities_ = 0;
  std::size_t failedEntities_ = 0;
};

}  // namespace mirel
