#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <glm/vec3.hpp>

#include <cstddef>
#include <utility>
#include <vector>

namespace mirel {

/// The colours of single faces of a body, sorted by face, one for each. It is read as a `std::map` is, and never changes:
/// any number of threads may read one.
class MIREL_HOST_API FacePalette {
 public:
  /// A 0-based face and its colour: red, green, blue from 0 to 1.
  using value_type = std::pair<unsigned int, glm::vec3>;
  using const_iterator = const value_type*;

  FacePalette() = default;
  /// In any order; of two colours for one face the later one counts.
  explicit FacePalette(std::vector<value_type> colors);

  const_iterator begin() const { return colors_.data(); }
  const_iterator end() const { return colors_.data() + colors_.size(); }
  std::size_t size() const { return colors_.size(); }
  bool empty() const { return colors_.empty(); }

  /// The entry of a face, or `end()` when it has no colour.
  const_iterator find(unsigned int face) const;
  /// What it was made of, in the order in which it was given; nothing when there were two colours for a face. For whoever is
  /// given the same again.
  std::size_t CountGiven() const { return given_.size(); }
  /// Below `CountGiven`.
  const value_type& GetGiven(std::size_t i) const { return colors_[given_[i]]; }

  /// The colour of a face. Throws `std::out_of_range` when it has none.
  const glm::vec3& at(unsigned int face) const;

 private:
  std::vector<value_type> colors_;
  std::vector<unsigned int> given_;  // positions in colors_
};

}  // namespace mirel
