#include <Programs/mirel/Export/Exact/ExactStructure.h>

#include <Programs/mirel/Export/PlacedBodies.h>
#include <Programs/mirel/Extras/Extras.h>
#include <Programs/mirel/Import/IdSequence.h>

#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <glm/glm.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

namespace mirel {

namespace {

using Id = ExactStructure::Id;
using Color = ExactStructure::Color;
using Component = ExactStructure::Component;
using Product = ExactStructure::Product;
using Numbers = std::array<double, 16>;

constexpr std::size_t kOpen = std::numeric_limits<std::size_t>::max();
constexpr double kRigid = 1e-9;

Numbers ToNumbers(const glm::dmat4& matrix) {
  Numbers numbers;
  for (int i = 0; i < 16; ++i) {
    numbers[static_cast<std::size_t>(i)] = matrix[i / 4][i % 4];
  }
  return numbers;
}

// Takes a placement apart into one that only turns and moves, and what it does to the body before: a matrix without
// translation. By Gram and Schmidt; a mirror is a reflection in the origin.
void TakeApart(const glm::dmat4& placement, glm::dmat4& move, glm::dmat4& shaping) {
  glm::dmat3 turn;
  for (int i = 0; i < 3; ++i) {
    turn[i] = glm::dvec3(placement[i]);
    for (int k = 0; k < i; ++k) {
      turn[i] -= glm::dot(turn[k], glm::dvec3(placement[i])) * turn[k];
    }
    turn[i] = glm::normalize(turn[i]);
  }
  if (glm::determinant(turn) < 0.0) {
    turn = -turn;
  }
  const glm::dmat3 rest = glm::transpose(turn) * glm::dmat3(placement);
  bool isRigid = true;
  for (int i = 0; i < 9; ++i) {
    isRigid &= std::abs(rest[i / 3][i % 3] - (i % 4 == 0 ? 1.0 : 0.0)) <= kRigid;
  }
  shaping = isRigid ? glm::dmat4(1.0) : glm::dmat4(rest);
  move = isRigid ? placement : glm::dmat4(turn);
  move[3] = placement[3];
}

class Maker {
 public:
  Maker(const LiteModel& model, const Extras* extras, const std::set<Id>& only) : model_(model), only_(only) {
    for (std::size_t i = 0; extras != nullptr && i < extras->items.size(); ++i) {
      const Extras::Item& item = extras->items[i];
      for (const ObjectId& id : item.within.empty() ? item.ids : Extras::Ids()) {
        if (item.alpha) {
          alphas_[id.GetInteger()] = *item.alpha;
        }
        if (!item.faceAlphas.empty()) {
          faceAlphas_[id.GetInteger()] = &item.faceAlphas;
        }
      }
    }
  }

  ExactStructure Make() {
    std::vector<Component> places;
    std::vector<Color> shown;
    std::set<std::size_t> seen;
    for (const auto& item : model_.GetItems()) {
      if (item && (only_.empty() || Holds(*item, 0))) {
        Color color;
        if (const std::optional<Component> place =
                MakeComponent(*item, glm::dmat4(1.0), only_.empty(), 0, color)) {
          made_.isWrapped |= place->item.has_value() || place->placement != glm::dmat4(1.0) ||
                             !seen.insert(place->product).second;
          places.push_back(*place);
          shown.push_back(color);
        }
      }
    }
    if (made_.isWrapped) {
      AddAssembly(std::move(places), std::move(shown));
      made_.roots = {made_.products.size() - 1};
    } else {
      for (std::size_t i = 0; i < places.size(); ++i) {
        made_.roots.push_back(places[i].product);
        if (!made_.products[places[i].product].isAssembly) {
          colors_[places[i].product].push_back(shown[i]);
        }
      }
    }
    ColorAll();
    return std::move(made_);
  }

 private:
  struct Assembly {
    std::size_t product;
    std::vector<Color> shown;  // of the parts among its components
  };

  Color ColorOf(const LiteModelItem& item) const {
    if (!(item.GetColor().r >= 0.0F)) {
      return std::nullopt;
    }
    const auto alpha = alphas_.find(item.GetId().GetInteger());
    return glm::vec4(item.GetColor(), alpha == alphas_.end() ? 1.0F : alpha->second);
  }

  // Whether anything that is to be kept is the item or below it.
  bool Holds(const LiteModelItem& item, int depth) {
    if (only_.count(item.GetId().GetInteger()) > 0) {
      return true;
    }
    const auto [known, isNew] = holds_.emplace(&item, false);
    if (!isNew || depth > kMaxNesting) {
      return known->second;
    }
    bool holds = false;
    if (const auto* const group = dynamic_cast<const GroupItem*>(&item)) {
      holds = std::any_of(group->GetChildren().begin(), group->GetChildren().end(),
                          [&](const auto& child) { return child && Holds(*child, depth + 1); });
    } else if (const auto* const instance = dynamic_cast<const InstanceItem*>(&item)) {
      const LiteModelItem* const type = model_.FindType(instance->GetTypeId());
      holds = type != nullptr && Holds(*type, depth + 1);
    }
    holds_[&item] = holds;
    return holds;
  }

  // The one item in a group that the import has made to keep the name of a place beside that of its product: such a group
  // has a younger id than what is in it, any other an older one.
  static const LiteModelItem* FindWrapped(const LiteModelItem& item) {
    const auto* const group = dynamic_cast<const GroupItem*>(&item);
    if (group == nullptr || group->GetChildren().size() != 1 || !group->GetChildren().front()) {
      return nullptr;
    }
    const LiteModelItem& child = *group->GetChildren().front();
    const bool isWrapper = dynamic_cast<const InstanceItem*>(&child) == nullptr &&
                           IdSequence::CountBetween(child.GetId(), group->GetId()) > 0;
    return isWrapper ? &child : nullptr;
  }

  // What stands at a place that `around` moves, and the colour that is seen of it if it is a part.
  std::optional<Component> MakeComponent(const LiteModelItem& item, const glm::dmat4& around, bool whole,
                                         int depth, Color& shown) {
    Component component;
    component.name = item.GetName();
    glm::dmat4 placement = around * item.GetTransform();
    whole |= only_.count(item.GetId().GetInteger()) > 0;
    const LiteModelItem* used = &item;
    if (const auto* const instance = dynamic_cast<const InstanceItem*>(&item)) {
      used = model_.FindType(instance->GetTypeId());
    } else if (const LiteModelItem* const wrapped = FindWrapped(item)) {
      used = wrapped;
    }
    if (used == nullptr || dynamic_cast<const InstanceItem*>(used) != nullptr) {
      ++made_.broken;
      return std::nullopt;
    }
    if (used != &item) {
      component.item = item.GetId().GetInteger();
      component.color = ColorOf(item);
      placement *= used->GetTransform();
      whole |= only_.count(used->GetId().GetInteger()) > 0;
    }
    if (!PlacedBodies::CanPlace(placement)) {
      ++made_.leftOut;
      return std::nullopt;
    }
    glm::dmat4 shaping;
    TakeApart(placement, component.placement, shaping);
    const std::optional<std::size_t> product = MakeProduct(*used, shaping, whole, depth + 1);
    if (!product) {
      ++made_.broken;
      return std::nullopt;
    }
    component.product = *product;
    if (!made_.products[*product].isAssembly) {
      shown = ColorOf(*used);
    }
    return component;
  }

  // Nothing for one inside itself, or nested too deep.
  std::optional<std::size_t> MakeProduct(const LiteModelItem& item, const glm::dmat4& shaping, bool whole,
                                         int depth) {
    if (const auto* const shape = dynamic_cast<const ShapeItem*>(&item)) {
      return MakePart(*shape, shaping);
    }
    if (depth > kMaxNesting) {
      return std::nullopt;
    }
    const auto [place, isNew] = assemblyOf_.emplace(std::make_tuple(&item, whole, ToNumbers(shaping)), kOpen);
    if (!isNew) {
      return place->second == kOpen ? std::nullopt : std::optional<std::size_t>(place->second);
    }
    std::vector<Component> components;
    std::vector<Color> shown;
    for (const auto& child : static_cast<const GroupItem&>(item).GetChildren()) {
      if (!child || !(whole || Holds(*child, depth))) {
        continue;
      }
      Color color;
      if (const std::optional<Component> component = MakeComponent(*child, shaping, whole, depth, color)) {
        components.push_back(*component);
        shown.push_back(color);
      }
    }
    AddAssembly(std::move(components), std::move(shown));
    Product& product = made_.products.back();
    product.name = item.GetName();
    product.color = ColorOf(item);
    product.items.push_back(item.GetId().GetInteger());
    place->second = made_.products.size() - 1;
    return place->second;
  }

  void AddAssembly(std::vector<Component> components, std::vector<Color> shown) {
    Product product;
    product.isAssembly = true;
    product.components = std::move(components);
    assemblies_.push_back({made_.products.size(), std::move(shown)});
    made_.products.push_back(std::move(product));
  }

  std::size_t MakePart(const ShapeItem& item, const glm::dmat4& shaping) {
    Product product;
    product.name = item.GetName();
    product.body = item.GetShapeId().GetInteger();
    product.shaping = shaping;
    const auto alphas = faceAlphas_.find(item.GetId().GetInteger());
    std::vector<std::array<double, 5>> colors;
    for (const auto& [face, color] : item.GetFaceColor()) {
      float alpha = 1.0F;
      if (alphas != faceAlphas_.end()) {
        const auto own = alphas->second->find(face);
        alpha = own == alphas->second->end() ? 1.0F : own->second;
      }
      product.faceColors[face] = glm::vec4(color, alpha);
    }
    for (const auto& [face, color] : product.faceColors) {
      colors.push_back({static_cast<double>(face), color.r, color.g, color.b, color.a});
    }
    const auto [place, isNew] = partOf_.emplace(
        std::make_tuple(product.name, product.body, colors, ToNumbers(shaping)), made_.products.size());
    if (isNew) {
      made_.products.push_back(std::move(product));
    }
    std::vector<Id>& items = made_.products[place->second].items;
    if (std::find(items.begin(), items.end(), item.GetId().GetInteger()) == items.end()) {
      items.push_back(item.GetId().GetInteger());
    }
    return place->second;
  }

  // A part has the colour in which it was first met, if it is never seen without one; places where it is seen in another
  // have that.
  void ColorAll() {
    for (const Assembly& assembly : assemblies_) {
      for (std::size_t i = 0; i < assembly.shown.size(); ++i) {
        const std::size_t used = made_.products[assembly.product].components[i].product;
        if (!made_.products[used].isAssembly) {
          colors_[used].push_back(assembly.shown[i]);
        }
      }
    }
    for (const auto& [part, colors] : colors_) {
      const bool hasAlways =
          std::all_of(colors.begin(), colors.end(), [](const Color& color) { return color.has_value(); });
      made_.products[part].color = hasAlways ? colors.front() : std::nullopt;
    }
    std::set<std::size_t>
        uncolored;  // assemblies in which something has no colour, and would take that of a place
    for (const Assembly& assembly : assemblies_) {
      for (std::size_t i = 0; i < assembly.shown.size(); ++i) {
        Component& component = made_.products[assembly.product].components[i];
        const Product& used = made_.products[component.product];
        const Color own = std::exchange(component.color, std::nullopt);
        const bool isUncolored =
            used.isAssembly ? uncolored.count(component.product) > 0 : !assembly.shown[i];
        if (isUncolored) {
          uncolored.insert(assembly.product);
        }
        if (!used.isAssembly && assembly.shown[i] != used.color) {
          component.color = assembly.shown[i];
        } else if (own && (used.isAssembly ? !isUncolored : own == assembly.shown[i])) {
          component.color = own;
        } else {
          made_.hiddenColors += own ? 1 : 0;
        }
      }
    }
  }

  const LiteModel& model_;
  const std::set<Id>& only_;
  std::map<Id, float> alphas_;
  std::map<Id, const std::map<std::uint32_t, float>*> faceAlphas_;
  ExactStructure made_;
  std::map<const LiteModelItem*, bool> holds_;
  std::map<std::tuple<const LiteModelItem*, bool, Numbers>, std::size_t> assemblyOf_;
  std::map<std::tuple<std::string, Id, std::vector<std::array<double, 5>>, Numbers>, std::size_t> partOf_;
  std::vector<Assembly> assemblies_;                  // in the order of the products
  std::map<std::size_t, std::vector<Color>> colors_;  // in which each part is seen
};

}  // namespace

ExactStructure ExactStructureMaker::Make(const LiteModel& model, const Extras* extras,
                                         const std::set<Id>& only) {
  return Maker(model, extras, only).Make();
}

std::uint64_t ExactStructureMaker::CountPlaced(const ExactStructure& structure) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  std::vector<std::uint64_t> counts;
  for (const Product& product : structure.products) {
    std::uint64_t count = 1;
    for (const Component& component : product.components) {
      count = counts[component.product] > kMost - count ? kMost : count + counts[component.product];
    }
    counts.push_back(count);
  }
  std::uint64_t all = 0;
  for (const std::size_t root : structure.roots) {
    all = counts[root] > kMost - all ? kMost : all + counts[root];
  }
  return all;
}

}  // namespace mirel
