#pragma once

#include <Viewer/Kernel/Model/ViewerKernelExport.h>

#include <string>

namespace mirel {

class LiteModel;

/// Reads the uncompressed content of shape packages into a model's shape table.
///
/// Thread safety: none; the model is filled by one reader at a time.
class MIREL_VIEWER_KERNEL_API PkgShapeReader {
 public:
  /// The model is not owned and must outlive the reader. `source` names the package in messages: a path, say.
  explicit PkgShapeReader(LiteModel& model, std::string source = "shape package");

  /// Adds the shapes of one package to the model, in the order of its table; of two under one id the later stays.
  /// `data` is read in place and not needed afterwards.
  ///
  /// A shape whose bytes are cut short is read when what is there is all of it. One that does not decode is left out:
  /// "Shape is null!" at level 3, its place in
  /// the package at level 1. False, with the model unchanged, when the package is empty or its table is cut short.
  bool Load(const char* data, unsigned int size);

 private:
  LiteModel& model_;
  std::string source_;
};

}  // namespace mirel
