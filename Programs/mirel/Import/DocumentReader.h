#pragma once

#include <Programs/mirel/Import/EntityErrors.h>
#include <Programs/mirel/Import/SourceFile.h>
#include <Programs/mirel/Save/LossReport.h>

#include <IFSelect_ReturnStatus.hxx>
#include <Message_ProgressRange.hxx>
#include <TCollection_HAsciiString.hxx>
#include <TDocStd_Document.hxx>

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

class Interface_Check;
class Interface_InterfaceModel;
class Interface_ReportEntity;
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

  /// What the file says of itself.
  const std::map<std::string, std::vector<std::string>>& GetHeader() const { return header_; }

  /// What the file says and the document does not, counted; every kind that the format has.
  const std::vector<LossReport::Loss>& GetLosses() const { return losses_; }

  double GetReadSeconds() const { return readSeconds_; }
  double GetTransferSeconds() const { return transferSeconds_; }

  /// How many entities of the file have errors that lose something that they say.
  std::size_t GetBadEntityCount() const { return badEntities_; }

  /// How many have errors, but say all that they have to say: what is wrong is that they leave something out.
  std::size_t GetIncompleteEntityCount() const { return incompleteEntities_; }

  /// How many entities of the file the library reported as failed to translate.
  std::size_t GetFailedEntityCount() const { return failedEntities_; }

  /// What is wrong with all these entities, line by line.
  std::vector<std::string> GetEntityErrors() const { return entityErrors_.ToLines(); }

  /// The products of bodies that were left out because of numbers that are none, one for each body.
  const std::vector<std::string>& GetUnreadableBodies() const { return unreadableBodies_; }

  /// Other files that the file refers to, by their names beside it.
  const std::vector<std::string>& GetOtherFiles() const { return otherFiles_; }

  /// Those of them that could not be read, each with the reason.
  const std::vector<std::string>& GetMissingFiles() const { return missingFiles_; }

 protected:
  explicit DocumentReader(StageProgress& progress) : progress_(progress) {}

  using TransferFunction = std::function<bool(const Message_ProgressRange&)>;

  /// Reads the file with a reader that is set up, has every entity mended, and calls the function to translate them
  /// into the document.
  bool Run(const SourceFile& file, XSControl_Reader& reader, const TransferFunction& transfer);

  void AddLosses(const std::vector<LossReport::Loss>& losses) {
    losses_.insert(losses_.end(), losses.begin(), losses.end());
  }
  void SetUnreadableBodies(std::vector<std::string> names) { unreadableBodies_ = std::move(names); }
  // Adds to what the file says of itself; a text that says nothing is left out.
  void AddHeader(const char* key, const Handle(TCollection_HAsciiString) & text);
  void AddOtherFile(const std::string& name) { otherFiles_.push_back(name); }
  void AddMissingFile(const std::string& line) { missingFiles_.push_back(line); }

 private:
  // Makes the reader of the format and calls `Run`.
  virtual bool ReadInto(const Handle(TDocStd_Document) & document, const SourceFile& file) = 0;

  // Has the file's content read into entities; unless a format has a better way, by its path.
  virtual IFSelect_ReturnStatus ReadEntities(const SourceFile& file, XSControl_Reader& reader,
                                             StageProgress& progress);

  // Changes an entity that would not be translated as it should be.
  virtual void Mend(const Handle(Standard_Transient) &) {}

  // Whether an entity's error is no more than something that the entity leaves out.
  virtual bool IsOmission(const Handle(Interface_ReportEntity) &, const std::string& /*error*/) const {
    return false;
  }

  // Whether an entity stands for another file, which is told of by its name when it cannot be read.
  virtual bool IsOtherFile(const Handle(Standard_Transient) & /*entity*/) const { return false; }

  void LookAtErrors(const Handle(Interface_InterfaceModel) & entities, int number);
  // Adds the errors of an entity that a check tells.
  void AddErrors(const Handle(Interface_InterfaceModel) & entities, const Handle(Standard_Transient) & entity,
                 const Interface_Check& check);

  StageProgress& progress_;
  std::string error_;
  std::vector<std::string> messages_;
  double readSeconds_ = 0.0;
  double transferSeconds_ = 0.0;
  std::size_t badEntities_ = 0;
  std::size_t incompleteEntities_ = 0;
  std::size_t failedEntities_ = 0;
  EntityErrors entityErrors_;
  std::vector<std::string> unreadableBodies_;
  std::vector<std::string> otherFiles_;
  std::vector<std::string> missingFiles_;
  std::vector<LossReport::Loss> losses_;
  std::map<std::string, std::vector<std::string>> header_;
};

}  // namespace mirel
