#include <Viewer/Kernel/Host/GeometryView/FacePalette.h>

#include <algorithm>
#include <stdexcept>

namespace mirel {

FacePalette::FacePalette(std::vector<value_type> colors) : colors_(std::move(colors)) {
  const auto before = [](const value_type& a, const value_type& b) { return a.first < b.first; };
  const auto sameFace = [](const value_type& a, const value_type& b) { return a.first == b.first; };
  std::stable_sort(colors_.begin(), colors_.end(), before);
  // `unique` keeps the first of each face: from behind, that is the one that came last.
  const auto kept = std::unique(colors_.rbegin(), colors_.rend(), sameFace);
  colors_.erase(colors_.begin(), kept.base());
  colors_.shrink_to_fit();
}

FacePalette::const_iterator FacePalette::find(unsigned int face) const {
  const auto before = [](const value_type& entry, unsigned int wanted) { return entry.first < wanted; };
  const const_iterator entry = std::lower_bound(begin(), end(), face, before);
  return entry != end() && entry->first == face ? entry : end();
}

const glm::vec3& FacePalette::at(unsigned int face) const {
  const const_iterator entry = find(face);
  if (entry == end()) throw std::out_of_range("the face has no colour");
  return entry->second;
}

}  // namespace mirel
