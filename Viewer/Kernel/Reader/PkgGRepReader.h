#pragma once

#include <Viewer/Kernel/Model/ViewerKernelExport.h>

#include <string>

namespace mirel {

class LiteModel;

/// Reads the uncompressed content of GRep packages into a model's GRep table. A GRep is not tied to its exact shape yet:
/// `LiteModel::ApplyShape` does that.
///
/// Thread safety: none; the model is filled by one reader at a time.
class MIREL_VIEWER_KERNEL_API PkgGRepReader {
 public:
  /// The model is not owned and must outlive the reader. `source` names the package in messages: a path, say.
  explicit PkgGRepReader(LiteModel& model, std::string source = "GRep package");

  /// Adds the GReps of one package to the model, in the order of its table; of two under one id the later stays.
  /// `data` is read in place and not needed afterwards.
  ///
  /// A GRep whose bytes are cut short is read when what is there is all of it. One that does not decode is left out:
  /// "Shape is null!" at level 3, its place in
  /// the package at level 1. False, with the model unchanged, when the package is empty or its table is cut short.
  bool Load(const char* data, unsigned int size);

 private:
  LiteModel& model_;
  std::string source_;
};

}  // namespace mirel
