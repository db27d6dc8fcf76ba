#include <Viewer/Kernel/Host/GeometryView/FacePalette.h>

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace mirel {

FacePalette::FacePalette(std::vector<value_type> colors) {
  std::vector<unsigned int> order(colors.size());
  std::iota(order.begin(), order.end(), 0U);
  std::stable_sort(order.begin(), order.end(),
                   [&](unsigned int a, unsigned int b) { return colors[a].first < colors[b].first; });
  colors_.reserve(colors.size());
  given_.resize(colors.size());
  for (const unsigned int i : order) {
    if (!colors_.empty() && colors_.back().first == colors[i].first) colors_.pop_back();
    given_[i] = static_cast<unsigned int>(colors_.size());
    colors_.push_back(colors[i]);
  }
  if (colors_.size() < colors.size()) std::vector<unsigned int>().swap(given_);
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
