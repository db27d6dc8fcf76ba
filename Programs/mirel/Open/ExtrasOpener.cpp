#include <Programs/mirel/Open/ExtrasOpener.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/Extras/ExtrasReader.h>
#include <Programs/mirel/Open/ModelPath.h>
#include <Programs/mirel/View/PieceSource.h>

#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Model/FolderFiles.h>

namespace mirel {

bool ExtrasOpener::Open(Console& console, const std::string& path, std::optional<Extras>& extras) {
  return Open(console, path, FolderPieces(PathUtil::GetFolderPath(ModelPath::FindIndex(path))), extras);
}

bool ExtrasOpener::Open(Console& console, const std::string& subject, const PieceSource& source,
                        std::optional<Extras>& extras) {
  if (!source.HasExtras()) {
    return true;
  }
  ExtrasReader reader;
  if (!source.ReadExtras(reader)) {
    console.Error(subject, std::string(FolderFiles::kExtras) + ": " + reader.GetError());
    return false;
  }
  extras = reader.GetExtras();
  return true;
}

}  // namespace mirel
