#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mirel::bench {

/// What one measurement found: numbers by name, in the order in which they were set.
///
/// Units are part of the name where it is not plain: "seconds", "peakBytes", "liveBytes"; the rest are
/// counts.
class Figures {
 public:
  /// Sets a number; one that has the name already is replaced.
  void Set(const std::string& name, double value);

  /// The number with this name, 0 when there is none.
  double Get(const std::string& name) const;
  bool Has(const std::string& name) const;

  const std::vector<std::pair<std::string, double>>& GetAll() const { return all_; }

  /// One line of JSON: an object whose members are the numbers.
  std::string ToJson() const;
  /// Reads what `ToJson` wrote; empty when the text is something else.
  static std::optional<Figures> FromJson(const std::string& line);

 private:
  std::vector<std::pair<std::string, double>> all_;
};

}  // namespace mirel::bench
