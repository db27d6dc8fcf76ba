#pragma once

#include <cstdint>
#include <string>

namespace mirel::bench {

// The files of a work folder, made by `prepare` from one STEP file or one generated model. `work` ends with a
// separator.

/// The model folder, and its index.
inline std::string ModelFolder(const std::string& work) {
  return work + "folder/";
}
inline std::string IndexFile(const std::string& work) {
  return ModelFolder(work) + "index.gz";
}
/// The XCAF document as binary files: with triangles, and the exact bodies alone.
inline std::string TriangleDocument(const std::string& work) {
  return work + "triangles.xbf";
}
inline std::string ExactDocument(const std::string& work) {
  return work + "exact.xbf";
}
/// The triangles as GLB: one primitive for each face, and one for each body and colour.
inline std::string GlbFile(const std::string& work) {
  return work + "model.glb";
}
inline std::string MergedGlbFile(const std::string& work) {
  return work + "merged.glb";
}
/// What `mirel export` makes of the folder.
inline std::string ExportedGlbFile(const std::string& work) {
  return work + "exported.glb";
}
inline std::string CompressedGlbFile(const std::string& work) {
  return work + "exported-meshopt.glb";
}
/// Where tasks save what is measured while it is saved.
inline std::string ScratchFolder(const std::string& work) {
  return work + "scratch/";
}

/// The bytes of all files below a folder, or of one file.
std::uint64_t BytesOnDisk(const std::string& path);

/// Reads every file below a folder, so that it lies in the page cache.
void WarmUp(const std::string& folder);

}  // namespace mirel::bench
