#pragma once

#include <functional>
#include <memory>

namespace mirel {

class TopoShape;

/// A body that passes every check, and keeps OpenCASCADE's mesher busy for minutes without a way to interrupt it: a
/// torus of B-splines, one of whose seams lies beside itself on the surface.
std::shared_ptr<TopoShape> ReadEndlessBody();

/// Runs a test in a process of its own that ends while the threads it has abandoned still run.
void ExpectInOwnProcess(const std::function<void()>& test);

}  // namespace mirel
