#include <Programs/mirel/Export/Step/WriteStep.h>

#include <Programs/mirel/Export/Step/ExtrasIndex.h>
#include <Programs/mirel/Export/Step/PlaneCurves.h>
#include <Programs/mirel/Export/Step/StepProducts.h>
#include <Programs/mirel/Export/Step/StepProperties.h>
#include <Programs/mirel/Export/Step/StepStyles.h>
#include <Programs/mirel/Export/Step/StepText.h>
#include <Programs/mirel/FailureText.h>
#include <Programs/mirel/Import/OcctMessages.h>
#include <Programs/mirel/Import/OcctProgress.h>
#include <Programs/mirel/Text/Utf8.h>

#include <Viewer/Kernel/Host/Core/ShareOut.h>

#include <APIHeaderSection_MakeHeader.hxx>
#include <BRep_Tool.hxx>
#include <Interface_HArray1OfHAsciiString.hxx>
#include <Interface_Static.hxx>
#include <STEPCAFControl_Controller.hxx>
#include <TCollection_HAsciiString.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>
#include <XSControl_WorkSession.hxx>

#include <algorithm>
#include <exception>
#include <iomanip>
#include <limits>
#include <new>
#include <sstream>

namespace mirel {

namespace {

using Texts = std::vector<std::string>;

Handle(TCollection_HAsciiString) ToText(const std::string& text) {
  return new TCollection_HAsciiString(text.c_str());
}

Handle(Interface_HArray1OfHAsciiString) ToArray(const Texts& texts) {
  const Handle(Interface_HArray1OfHAsciiString) array =
      new Interface_HArray1OfHAsciiString(1, static_cast<int>(texts.size()));
  for (std::size_t i = 0; i < texts.size(); ++i) {
    array->SetValue(static_cast<int>(i) + 1, ToText(texts[i]));
  }
  return array;
}

// What the source has said of itself, but for what is now said by this program.
void WriteHeader(const StepRequest& request, const Handle(StepData_StepModel) & model) {
  const auto said = [&](const char* key, const char* otherwise) {
    if (request.extras != nullptr) {
      const auto found = request.extras->header.find(key);
      if (found != request.extras->header.end() && !found->second.empty()) {
        return found->second;
      }
    }
    return Texts{otherwise};
  };
  APIHeaderSection_MakeHeader header(model);
  header.SetName(ToText(request.name));
  if (const std::string date = said("Date", "").front(); !date.empty()) {
    header.SetTimeStamp(ToText(date));  // so that the same folder gives the same file
  }
  header.SetAuthor(ToArray(said("Authors", "")));
  header.SetOrganization(ToArray(said("Organizations", "")));
  header.SetPreprocessorVersion(ToText(request.program));
  header.SetOriginatingSystem(ToText(said("System", "").front()));
  header.SetAuthorisation(ToText(said("Authorization", "").front()));
  header.SetDescription(ToArray(said("Descriptions", "")));
}

void Append(const std::vector<LossReport::Loss>& more, std::vector<LossReport::Loss>& losses) {
  losses.insert(losses.end(), more.begin(), more.end());
}

// Faces of bodies that OpenCASCADE has made nothing of.
LossReport::Loss FindLostFaces(const StepProducts& products) {
  LossReport::Loss loss = {"faces", "face|faces that OpenCASCADE does not write", 0, {}};
  for (std::size_t i = 0; i < products.GetShapes().size(); ++i) {
    const ExactStructure::Product& product = products.GetStructure().products[i];
    if (product.isAssembly) {
      continue;
    }
    TopTools_IndexedMapOfShape faces;
    TopExp::MapShapes(products.GetShapes()[i], TopAbs_FACE, faces);
    std::uint64_t lost = 0;
    for (int k = 1; k <= faces.Extent(); ++k) {
      lost += products.FindItems(faces(k)).empty() ? 1 : 0;
    }
    if (lost > 0) {
      loss.count += lost;
      loss.details.push_back(std::to_string(lost) + " of \"" + Utf8::Printable(product.name) + "\", body " +
                             std::to_string(product.body));
    }
  }
  return loss;
}

// Faces whose curves readers may make anew.
LossReport::Loss FindInexactFaces(const StepRequest& request) {
  constexpr double kExact = 1.5e-7;
  LossReport::Loss loss = {"inexactFaces", "face|faces between edges that are not exact", 0, {}};
  for (std::size_t i = 0; i < request.shapes.size(); ++i) {
    const ExactStructure::Product& product = request.structure.products[i];
    if (product.isAssembly) {
      continue;
    }
    TopTools_IndexedMapOfShape faces;
    TopExp::MapShapes(request.shapes[i], TopAbs_FACE, faces);
    std::uint64_t count = 0;
    double worst = 0.0;
    for (int k = 1; k <= faces.Extent(); ++k) {
      double tolerance = 0.0;
      for (TopExp_Explorer edges(faces(k), TopAbs_EDGE); edges.More(); edges.Next()) {
        tolerance = std::max(tolerance, BRep_Tool::Tolerance(TopoDS::Edge(edges.Current())));
      }
      count += tolerance > kExact ? 1 : 0;
      worst = std::max(worst, tolerance);
    }
    if (count > 0) {
      loss.count += count;
      std::ostringstream line;
      line << count << " of \"" << Utf8::Printable(product.name) << "\", body " << product.body << ", within "
           << std::setprecision(2) << worst << " mm";
      loss.details.push_back(line.str());
    }
  }
  return loss;
}

void Write(const StepRequest& request, StageProgress& progress, StepResult& result) {
  const OcctMessages quiet;
  STEPCAFControl_Controller::Init();
  Interface_Static::SetCVal("xstep.cascade.unit", "MM");
  Interface_Static::SetCVal("write.step.unit", "MM");
  // The file states the accuracy of the least exact edge: readers make curves anew that are less exact than a file states.
  Interface_Static::SetIVal("write.precision.mode", 1);
  Interface_Static::SetCVal("write.step.schema", request.isAp214 ? "AP214IS" : "AP242DIS");

  const std::vector<ExactStructure::Product>& all = request.structure.products;
  ShareOut(all.size(), std::numeric_limits<std::size_t>::max(), [&](std::size_t i) {
    if (!all[i].isAssembly) {
      PlaneCurves::Store(request.shapes[i]);
    }
  });
  StepProducts products(request.structure, request.shapes);
  progress.Begin("transfer");
  const Handle(OcctProgress) indicator = new OcctProgress(progress);
  if (!products.Transfer(indicator->Start())) {
    result.error = "OpenCASCADE makes no STEP file of it";
    return;
  }
  const ExtrasIndex extras(request.structure, request.extras);
  StepStyles styles(products, extras);
  styles.Add();
  StepProperties properties(products, extras);
  properties.Add(request.extras != nullptr ? request.extras->layers : std::vector<Extras::Layer>());
  WriteHeader(request, products.GetModel());
  result.inexact = FindInexactFaces(request);
  result.losses.push_back(FindLostFaces(products));
  Append(styles.GetLosses(), result.losses);
  Append(properties.GetLosses(), result.losses);
  result.text = StepText::Of(products.GetModel(), products.GetSession()->Protocol(), progress);
}

}  // namespace

extern "C" void MirelWriteStep(const StepRequest& request, StageProgress& progress, StepResult& result) {
  try {
    Write(request, progress, result);
  } catch (...) {
    result.error = FailureText::OfCaught();
  }
}

}  // namespace mirel
