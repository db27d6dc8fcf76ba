#include <Viewer/Draw/PlacementList.h>

#include <cstring>
#include <functional>
#include <string_view>

namespace mirel {

std::size_t PlacementTurns::Hash::operator()(std::uint32_t number) const {
  return std::hash<std::string_view>()(
      {reinterpret_cast<const char*>(&(*turns)[number]), sizeof(glm::dmat3)});
}

bool PlacementTurns::Equal::operator()(std::uint32_t a, std::uint32_t b) const {
  return std::memcmp(&(*turns)[a], &(*turns)[b], sizeof(glm::dmat3)) == 0;
}

PlacementTurns::PlacementTurns() : known_(0, Hash{&turns_}, Equal{&turns_}) {}

std::uint32_t PlacementTurns::Add(const glm::dmat3& turn) {
  // It has a number before it is known whether it keeps it.
  turns_.push_back(turn);
  const std::uint32_t number = *known_.insert(static_cast<std::uint32_t>(turns_.size() - 1)).first;
  if (number + 1 < turns_.size()) turns_.pop_back();
  return number;
}

void PlacementTurns::Finish() {
  turns_.shrink_to_fit();
  Known(0, Hash{&turns_}, Equal{&turns_}).swap(known_);
}

void PlacementList::push_back(const glm::dmat4x3& placement) {
  const glm::dmat3 turn(placement[0], placement[1], placement[2]);
  // Bodies that follow each other are mostly turned in the same way.
  const bool isLast = !turnOf_.empty() && std::memcmp(&turns_->Get(turnOf_.back()), &turn, sizeof turn) == 0;
  turnOf_.push_back(isLast ? turnOf_.back() : turns_->Add(turn));
  origins_.push_back(placement[3]);
}

void PlacementList::shrink_to_fit() {
  turnOf_.shrink_to_fit();
  origins_.shrink_to_fit();
}

glm::dmat4x3 PlacementList::operator[](std::size_t i) const {
  const glm::dmat3& turn = GetTurn(i);
  return {turn[0], turn[1], turn[2], origins_[i]};
}

}  // namespace mirel
