#pragma once

#include <Programs/mirel/FailureLog.h>
#include <Python/Native/Model.h>

#include <pybind11/pybind11.h>

#include <memory>
#include <string>
#include <vector>

namespace mirel::python {

/// What became of a model that was opened.
struct Opened {
  std::shared_ptr<Model> model;  ///< empty when nothing of it can be opened
  std::vector<FailureLog::Failure> failures;
};

/// Opens the model folder at `path`, or the one of an index file; `source` is what the user calls it. One at a time, as all cores
/// work on one. Can be interrupted. `progress`, unless it is None, is called with the stage and a fraction from 0 to 1.
Opened OpenModel(const std::string& path, const std::string& source, const pybind11::object& progress);

/// Unpacks the model folder in a tar archive into a folder, which is made. Empty, or why it cannot be done. Can be interrupted.
std::string UnpackArchive(const std::string& path, const std::string& folder);

}  // namespace mirel::python
