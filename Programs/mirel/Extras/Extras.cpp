#include <Programs/mirel/Extras/Extras.h>

#include <algorithm>

namespace mirel {

void Extras::ForgetParts(const Ids& ids) {
  for (Item& item : items) {
    if (std::find_first_of(item.ids.begin(), item.ids.end(), ids.begin(), ids.end()) != item.ids.end()) {
      item.faceAlphas.clear();
      item.edgeColors.clear();
      item.hiddenFaces.clear();
      item.hiddenEdges.clear();
      item.parts.clear();
    }
  }
}

}  // namespace mirel
