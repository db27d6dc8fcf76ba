#pragma once

#include <Programs/mirel/Export/Exact/ExactStructure.h>
#include <Programs/mirel/Save/LossReport.h>

#include <TopoDS_Shape.hxx>

#include <string>
#include <vector>

#if defined(_WIN32)
#define MIREL_EXPORT_API __declspec(dllexport)
#else
#define MIREL_EXPORT_API __attribute__((visibility("default")))
#endif

namespace mirel {

class StageProgress;

/// What is to be written as STEP.
struct StepRequest {
  const ExactStructure& structure;
  const std::vector<TopoDS_Shape>&
      shapes;                      ///< of the products, as `ExactShapes` makes them; edges get curves
  const Extras* extras = nullptr;  ///< may be null
  std::string name;                ///< that the file gives to itself
  std::string program;             ///< that writes it, with its version
  bool isAp214 = false;            ///< AP242 otherwise
};

struct StepResult {
  std::string error;                     ///< why there is no text; empty when there is
  std::string text;                      ///< the file
  std::vector<LossReport::Loss> losses;  ///< what it does not hold; every kind, also those that are none
  /// Faces with edges that are less exact than OpenCASCADE's readers take for exact, and of which products: in the file they are,
  /// but their areas are not known better than that.
  LossReport::Loss inexact;
};

/// Makes the text of a STEP file; the result must be empty. That is the whole of what the export library offers, which alone
/// is linked to OpenCASCADE's writer: see `MirelReadAssembly` for why, and for what holds for it too.
extern "C" MIREL_EXPORT_API void MirelWriteStep(const StepRequest& request, StageProgress& progress,
                                                StepResult& result);

}  // namespace mirel
