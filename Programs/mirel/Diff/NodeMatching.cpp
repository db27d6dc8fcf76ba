#include <Programs/mirel/Diff/NodeMatching.h>

#include <Programs/mirel/Diff/KeyHash.h>

#include <glm/glm.hpp>

#include <algorithm>
#include <map>
#include <unordered_map>
#include <utility>

namespace mirel {

namespace {

std::vector<std::uint32_t> FindDepths(const ComparedModel& model) {
  std::vector<std::uint32_t> depths(model.GetNodes().size(), 0);
  for (std::size_t i = 1; i < depths.size(); ++i) {
    depths[i] = depths[model.GetNodes()[i].parent] + 1;
  }
  return depths;
}

}  // namespace

NodeMatching::NodeMatching(const ComparedModel& older, const ComparedModel& newer, const PartMatching& parts)
    : models_{&older, &newer},
      partners_{parts.GetPartners(BodyClasses::kOld), parts.GetPartners(BodyClasses::kNew)},
      motions_(older.GetNodes().size(), glm::dmat4(1.0)) {
  partners_[BodyClasses::kOld][0] = partners_[BodyClasses::kNew][0] = kNothing;
  Join(0, 0);
  MatchGroups();
  MatchEmptyGroups();
  FindMotions();
}

void NodeMatching::Join(std::uint32_t older, std::uint32_t newer) {
  partners_[BodyClasses::kOld][older] = newer;
  partners_[BodyClasses::kNew][newer] = older;
}

void NodeMatching::MatchGroups() {
  const std::vector<ComparedNode>& olds = models_[0]->GetNodes();
  const std::vector<ComparedNode>& news = models_[1]->GetNodes();
  std::unordered_map<std::uint64_t, std::uint32_t> oldPaths, newPaths;
  for (std::uint32_t i = 0; i < olds.size(); ++i) {
    oldPaths.try_emplace(olds[i].path, i);
  }
  for (std::uint32_t i = 0; i < news.size(); ++i) {
    newPaths.try_emplace(news[i].path, i);
  }
  // From the deepest level upwards: what is in a group is matched before it is.
  const std::vector<std::uint32_t> depths = FindDepths(*models_[0]);
  std::vector<std::vector<std::uint32_t>> levels;
  for (std::uint32_t i = 1; i < olds.size(); ++i) {
    levels.resize(std::max<std::size_t>(levels.size(), depths[i] + std::size_t{1}));
    levels[depths[i]].push_back(i);
  }
  std::vector<std::uint64_t> weights(olds.size(), 0);
  std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint64_t> votes;  // of the level above
  for (std::size_t level = levels.size(); level-- > 1;) {
    struct Candidate {
      std::uint64_t votes;
      bool hasSameName;
      std::uint32_t older, newer;
    };
    std::vector<Candidate> candidates;
    for (const auto& [pair, count] : votes) {
      candidates.push_back({count, olds[pair.first].name == news[pair.second].name, pair.first, pair.second});
    }
    votes.clear();
    std::stable_sort(candidates.begin(), candidates.end(), [](const Candidate& a, const Candidate& b) {
      return a.votes != b.votes ? a.votes > b.votes : a.hasSameName && !b.hasSameName;
    });
    for (const Candidate& candidate : candidates) {
      std::uint32_t newer = candidate.newer;
      // A new level between a group and what is in it: the group is still the one with its name.
      const auto named = newPaths.find(olds[candidate.older].path);
      if (!candidate.hasSameName && named != newPaths.end() && news[named->second].body == nullptr &&
          oldPaths.count(news[newer].path) == 0) {
        newer = named->second;
      }
      if (partners_[0][candidate.older] == kNothing && partners_[1][newer] == kNothing) {
        Join(candidate.older, newer);
      }
    }
    for (const std::uint32_t node : levels[level]) {
      weights[node] += olds[node].body != nullptr ? 1 : 0;
      weights[olds[node].parent] += weights[node];
      const std::uint32_t partner = partners_[0][node];
      if (partner != kNothing && partner != 0 && level > 1 && news[partner].parent != 0) {
        votes[{olds[node].parent, news[partner].parent}] += std::max<std::uint64_t>(1, weights[node]);
      }
    }
  }
}

// Those in which nothing was found again, by their names.
void NodeMatching::MatchEmptyGroups() {
  const std::vector<ComparedNode>& olds = models_[0]->GetNodes();
  const std::vector<ComparedNode>& news = models_[1]->GetNodes();
  std::map<std::pair<std::uint32_t, std::uint64_t>, std::vector<std::uint32_t>> open;
  for (std::uint32_t i = static_cast<std::uint32_t>(news.size()); i-- > 1;) {
    if (news[i].body == nullptr && partners_[1][i] == kNothing) {
      open[{news[i].parent, news[i].name}].push_back(i);
    }
  }
  for (std::uint32_t i = 1; i < olds.size() && !open.empty(); ++i) {
    if (olds[i].body != nullptr || partners_[0][i] != kNothing || partners_[0][olds[i].parent] == kNothing) {
      continue;
    }
    const auto found = open.find({partners_[0][olds[i].parent], olds[i].name});
    if (found != open.end() && !found->second.empty()) {
      Join(i, found->second.back());
      found->second.pop_back();
    }
  }
}

void NodeMatching::FindMotions() {
  const std::vector<ComparedNode>& olds = models_[0]->GetNodes();
  const std::vector<ComparedNode>& news = models_[1]->GetNodes();
  // By motion: how many parts have moved so, and one node that has.
  using Votes = std::unordered_map<std::uint64_t, std::pair<std::uint64_t, std::uint32_t>>;
  std::unordered_map<std::uint32_t, Votes> votes;
  std::vector<std::uint64_t> weights(olds.size(), 0);
  for (std::uint32_t i = static_cast<std::uint32_t>(olds.size()); i-- > 1;) {
    const std::uint32_t partner = partners_[0][i];
    Votes own;
    if (const auto found = votes.find(i); found != votes.end()) {
      own = std::move(found->second);
      votes.erase(found);
    }
    if (partner == kNothing) {
      continue;
    }
    motions_[i] = news[partner].placement * glm::inverse(olds[i].placement);
    std::uint64_t key = KeyHash().Add(motions_[i]).Get();
    const auto same = own.find(key);
    std::uint64_t most = same == own.end() ? 0 : same->second.first;
    for (const auto& [other, count] : own) {
      if (count.first > most) {
        most = count.first;
        key = other;
        motions_[i] = motions_[count.second];
      }
    }
    weights[i] += olds[i].body != nullptr ? 1 : 0;
    const std::uint32_t parent = olds[i].parent;
    weights[parent] += weights[i];
    if (partners_[0][parent] != kNothing && partners_[0][parent] == news[partner].parent) {
      auto& vote = votes[parent][key];
      vote.first += weights[i];
      vote.second = i;
    }
  }
  motions_[0] = glm::dmat4(1.0);
}

}  // namespace mirel
