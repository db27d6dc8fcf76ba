#pragma once

#include <Programs/mirel/Extras/Extras.h>
#include <Programs/mirel/Import/ImportRecord.h>

#include <TDF_LabelMap.hxx>
#include <TDocStd_Document.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_GraphNode.hxx>
#include <XCAFDoc_LayerTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>

#include <cstdint>
#include <map>
#include <string>

namespace mirel {

class AssemblyImporter;
struct BodyPart;

/// Collects from an XCAF document what the items of a model have no place for.
class ExtrasCollector {
 public:
  /// `importer` has made a model of the document.
  ExtrasCollector(const Handle(TDocStd_Document) & document, const AssemblyImporter& importer);

  /// To be called once.
  void Collect();

  const Extras& GetExtras() const { return extras_; }

  /// How much of what the document says was collected, by the keys of the report and in the units of `SourceCensus`.
  const std::map<std::string, std::uint64_t>& GetCounts() const { return counts_; }

 private:
  void CollectProduct(const TDF_Label& label, const ImportRecord::Entry& product);
  void CollectParts(const TDF_Label& label, Extras::Item& item);
  // `index` is the part's place in the body; the maps are those of the body.
  void CollectPart(const BodyPart& part, int index, const TopTools_IndexedMapOfShape& faces,
                   const TopTools_IndexedMapOfShape& edges, Extras::Item& item);
  void CollectOccurrence(const Handle(XCAFDoc_GraphNode) & node);
  void CollectLayers();

  // What products, components and occurrences may all have.
  void Describe(const TDF_Label& label, Extras::Item& item);
  void DescribeCommon(const TDF_Label& label, Extras::Common& common);
  void CountTransparency(const TDF_Label& label);
  // Keeps what says anything.
  void Add(Extras::Item item);

  const AssemblyImporter& importer_;
  Handle(XCAFDoc_ShapeTool) shapes_;
  Handle(XCAFDoc_ColorTool) colors_;
  Handle(XCAFDoc_LayerTool) layers_;
  TDF_LabelMap handled_;    // labels of which all is collected that can be
  TDF_LabelMap materials_;  // that were met
  Extras extras_;
  std::map<std::string, std::uint64_t> counts_;
};

}  // namespace mirel
