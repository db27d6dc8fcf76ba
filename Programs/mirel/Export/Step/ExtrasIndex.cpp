#include <Programs/mirel/Export/Step/ExtrasIndex.h>

#include <set>
#include <utility>

namespace mirel {

ExtrasIndex::ExtrasIndex(const ExactStructure& structure, const Extras* extras) {
  std::unordered_multimap<ExactStructure::Id, Subject> subjects;
  for (std::size_t i = 0; i < structure.products.size(); ++i) {
    const ExactStructure::Product& product = structure.products[i];
    for (const ExactStructure::Id id : product.items) {
      subjects.insert({id, {i, std::nullopt}});
    }
    for (std::size_t k = 0; k < product.components.size(); ++k) {
      if (product.components[k].item) {
        subjects.insert({*product.components[k].item, {i, k}});
      }
    }
  }
  for (std::size_t i = 0; extras != nullptr && i < extras->items.size(); ++i) {
    const Extras::Item& item = extras->items[i];
    Saying saying = {&item, {}};
    std::set<std::pair<std::size_t, std::optional<std::size_t>>> seen;
    for (const ObjectId& id : item.ids) {
      const auto [first, last] = subjects.equal_range(id.GetInteger());
      for (auto found = first; found != last; ++found) {
        if (seen.emplace(found->second.product, found->second.component).second) {
          saying.subjects.push_back(found->second);
        }
      }
    }
    if (!item.within.empty()) {
      occurrences_ += saying.subjects.empty() ? 0 : 1;
    } else if (!saying.subjects.empty()) {
      sayings_.push_back(std::move(saying));
    }
  }
}

}  // namespace mirel
