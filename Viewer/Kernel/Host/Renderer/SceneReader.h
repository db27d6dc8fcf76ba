#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <istream>
#include <map>
#include <memory>
#include <string>

namespace mirel {

class MaterialInstance;
class Path;
class SceneNode;

/// A plug-in that turns files of one format into scene nodes. Readers are registered with the `SceneExchangeManager`.
///
/// Each `Load` returns the root of what it read, or an empty pointer after a message in the log. The material, which
/// may be null, is not owned; a reader may ignore it.
class MIREL_HOST_API SceneReader {
 public:
  SceneReader();
  virtual ~SceneReader();
  SceneReader(const SceneReader&) = default;
  SceneReader& operator=(const SceneReader&) = default;

  /// Reads from streams by name. This base gives an empty pointer: not every format has pieces.
  virtual std::shared_ptr<SceneNode> Load(std::map<std::string, std::istream*>& streams,
                                          MaterialInstance* material);
  /// The three forms of a path: a `Path`, narrow text (UTF-8) and wide text.
  virtual std::shared_ptr<SceneNode> Load(const Path& path, MaterialInstance* material) = 0;
  virtual std::shared_ptr<SceneNode> Load(const std::string& path, MaterialInstance* material) = 0;
  virtual std::shared_ptr<SceneNode> Load(const std::wstring& path, MaterialInstance* material) = 0;

  /// Adds the reader's formats to a map from the format's name to its file pattern ("*.ext").
  virtual void ListFormats(std::map<std::string, std::string>& formats) = 0;

  /// Whether the reader takes files with this extension, given with its dot (".ext").
  virtual bool Support(std::string extension) const = 0;
};

}  // namespace mirel
