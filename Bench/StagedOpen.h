#pragma once

#include <Bench/Figures.h>

#include <string>

namespace mirel::bench {

/// Opens a model folder as `LiteSceneReader` does, stage by stage through the exported classes, and adds to
/// `figures` the cost of each: "inflate" (all files), "index", "grep" (decoding of the graphics),
/// "bodyCheck", "scene" (placing the bodies and building the nodes) and "release" (of the model, while the
/// nodes stay). Adds "inflatedBytes" and the counts of the scene (`CountScene`) too.
void OpenByStages(const std::string& index, Figures& figures);

}  // namespace mirel::bench
