#pragma once

#include <Programs/mirel/Import/Part21/ReaderData.h>

#include <Interface_Check.hxx>
#include <Interface_GeneralLib.hxx>
#include <Interface_GeneralModule.hxx>
#include <Interface_ReaderLib.hxx>
#include <StepData_Protocol.hxx>
#include <StepData_StepReaderData.hxx>
#include <StepData_StepReaderTool.hxx>

#include <unordered_map>
#include <vector>

namespace mirel {

class StageProgress;

/// OpenCASCADE's tool, which makes the entities of reader data and fills one after the other. This one finds out once for each
/// type how to make its entities, and fills most of them ahead, on all cores. What anything is wrong with is left to OpenCASCADE
/// when its turn comes, so that entities and messages are as they would be without. It also tells how far it is, and of entities
/// whose names others have.
class ReaderTool : public StepData_StepReaderTool {
 public:
  /// The progress must outlive this.
  ReaderTool(const Handle(StepData_StepReaderData) & data, const Handle(StepData_Protocol) & protocol,
             const Part21NewNames& renamed, StageProgress& progress);

  /// Between `Prepare` and `LoadModel`. All threads have ended when it returns.
  void FillAhead();

  Standard_Boolean Recognize(const Standard_Integer record, Handle(Interface_Check) & check,
                             Handle(Standard_Transient) & entity) override;
  Standard_Boolean AnalyseRecord(const Standard_Integer record, const Handle(Standard_Transient) & entity,
                                 Handle(Interface_Check) & check) override;

 private:
  // What makes entities of a type.
  struct Maker {
    Handle(Interface_GeneralModule) module;  // null: something else does
    int number = 0;
  };

  Maker FindMaker(int record);

  const Handle(StepData_StepReaderData) data_;
  Interface_ReaderLib readers_;
  Interface_GeneralLib makers_;
  std::unordered_map<const TCollection_AsciiString*, Maker>
      makerOf_;                 // by the name of the type, of which there is one
  std::vector<char> isFilled_;  // by record
  Part21NewNames doubles_;      // that nobody has been told of
  StageProgress& progress_;
};

}  // namespace mirel
