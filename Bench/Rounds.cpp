#include <Bench/Rounds.h>

#include <Bench/ChildProcess.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace mirel::bench {

namespace {

Spread Summarise(const std::vector<double>& values, double value) {
  const auto [low, high] = std::minmax_element(values.begin(), values.end());
  return {value, *low, *high};
}

}  // namespace

double Median(std::vector<double> values) {
  if (values.empty()) return 0.0;
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2.0;
}

void Rounds::Add(const std::string& name, std::vector<std::string> arguments) {
  pending_.push_back({name, std::move(arguments)});
}

void Rounds::Run(int count) {
  for (int round = 1; round <= count; ++round) {
    for (const Thing& thing : pending_) {
      std::fprintf(stderr, "round %d of %d: %s\n", round, count, thing.name.c_str());
      figures_[thing.name].push_back(RunChild(thing.arguments));
    }
  }
  pending_.clear();
}

const std::vector<Figures>& Rounds::Find(const std::string& name) const {
  const auto found = figures_.find(name);
  if (found == figures_.end()) throw std::runtime_error("not measured: " + name);
  return found->second;
}

Spread Rounds::Get(const std::string& name, const std::string& figure) const {
  std::vector<double> values;
  for (const Figures& figures : Find(name))
    values.push_back(figures.Get(figure));
  return Summarise(values, Median(values));
}

Spread Rounds::Ratio(const std::string& name, const std::string& base, const std::string& figure) const {
  const std::vector<Figures>& ones = Find(name);
  const std::vector<Figures>& others = Find(base);
  std::vector<double> quotients;
  for (std::size_t i = 0; i < std::min(ones.size(), others.size()); ++i) {
    quotients.push_back(ones[i].Get(figure) / others[i].Get(figure));
  }
  return Summarise(quotients, Get(name, figure).value / Get(base, figure).value);
}

std::vector<std::string> Rounds::GetFigureNames(const std::string& name) const {
  std::vector<std::string> names;
  for (const auto& [figure, value] : Find(name).front().GetAll())
    names.push_back(figure);
  return names;
}

}  // namespace mirel::bench
