#pragma once

#include <Bench/Figures.h>

#include <map>
#include <string>
#include <vector>

namespace mirel::bench {

/// A number with the lowest and the highest that it was.
struct Spread {
  double value = 0.0;
  double low = 0.0;
  double high = 0.0;
};

/// Measures several things in turn, round by round (A B C, A B C, ...), each time in a process of its own, so
/// that what else the machine does at the time meets all of them alike.
class Rounds {
 public:
  /// Something to measure: the program's arguments. `name` is what the results are found by.
  void Add(const std::string& name, std::vector<std::string> arguments);

  /// Measures everything added since the last call `count` times, saying on stderr what it is at.
  void Run(int count);

  bool Has(const std::string& name) const { return figures_.count(name) > 0; }

  /// The median over the rounds of one figure of one thing, with the extremes.
  Spread Get(const std::string& name, const std::string& figure) const;

  /// How many times as much `name` takes as `base`: the quotient of the medians, and the extremes of the
  /// quotients within one round.
  Spread Ratio(const std::string& name, const std::string& base, const std::string& figure) const;

  /// The names of the figures that a thing gave.
  std::vector<std::string> GetFigureNames(const std::string& name) const;

 private:
  struct Thing {
    std::string name;
    std::vector<std::string> arguments;
  };

  const std::vector<Figures>& Find(const std::string& name) const;

  std::vector<Thing> pending_;
  std::map<std::string, std::vector<Figures>> figures_;  // of each round
};

/// The middle of some numbers, of an even count the mean of the two in the middle; 0 of none.
double Median(std::vector<double> values);

}  // namespace mirel::bench
