#pragma once

#include <Viewer/Draw/PictureOptions.h>

#include <cstddef>

namespace mirel {

/// How a `GLRenderer` draws: as a picture is drawn, and what a window needs beside.
///
/// Of `PictureOptions`, `selection` and `threads` do not count; see `GLRenderer::SetSelection`.
struct GLViewOptions : PictureOptions {
  /// How many of the `samples` of a pixel one call adds; the first is always drawn, with 0 it alone. While something moves, 1 is the
  /// fastest; see `GLRenderer::Draw`.
  int samplesAtOnce = 1;

  /// How many bytes of the scene a call may send to the graphics card, so that a model that is being opened does not
  /// hold up the window. 0: all that is left.
  std::size_t uploadBytes = 4u << 20;

  /// By which part of the offsets of `GLRenderer::SetOffsets` bodies are moved, usually 0 to 1.
  float offsetFactor = 0.0f;
};

}  // namespace mirel
