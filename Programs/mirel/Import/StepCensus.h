#pragma once

#include <Programs/mirel/Save/LossReport.h>

#include <TDocStd_Document.hxx>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

class Interface_InterfaceModel;

namespace mirel {

/// Counts what STEP files say that OpenCASCADE does not put into an XCAF document.
class StepCensus {
 public:
  /// Adds the entities of one file; an assembly may consist of several. `document` is what was made of all.
  void Add(const Interface_InterfaceModel& entities, const Handle(TDocStd_Document) & document);

  /// Every kind of loss, also those whose count is 0.
  std::vector<LossReport::Loss> GetLosses() const;

 private:
  void AddUnknown(const std::string& type);

  std::uint64_t people_ = 0;
  std::uint64_t dates_ = 0;
  std::uint64_t approvals_ = 0;
  std::uint64_t annotations_ = 0;
  std::uint64_t supplementalGeometry_ = 0;
  std::uint64_t pointStyles_ = 0;
  std::set<std::string> unreadLayers_;
  std::map<std::string, std::uint64_t> unknown_;  // by type
};

}  // namespace mirel
