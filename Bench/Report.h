#pragma once

#include <Bench/Rounds.h>

#include <string>
#include <utility>
#include <vector>

namespace mirel::bench {

/// What a run found: tables of numbers and goals with what was reached. Prints itself as Markdown and as
/// JSON, which hold the same.
class Report {
 public:
  /// A line of a table: a name and one number for each column. A number may be missing: NaN.
  struct Row {
    std::string name;
    std::vector<Spread> values;
  };

  struct Column {
    std::string name;
    std::string unit;      ///< as printed: "ms", "MB", "us", "" for plain numbers
    double perUnit = 1.0;  ///< what is divided by for print: JSON keeps seconds and bytes
    int digits = 0;        ///< behind the decimal point
    bool showSpread = false;
  };

  struct Table {
    std::string title;
    std::vector<Column> columns;
    std::vector<Row> rows;
  };

  struct Goal {
    std::string what;
    bool atMost;  ///< else: at least
    double bound;
    Spread reached;

    bool IsMet() const { return atMost ? reached.value <= bound : reached.value >= bound; }
  };

  /// A fact about the run: the machine, the date, the command.
  void AddFact(const std::string& name, const std::string& value) { facts_.emplace_back(name, value); }
  void AddTable(Table table) { tables_.push_back(std::move(table)); }
  void AddGoal(Goal goal) { goals_.push_back(std::move(goal)); }

  std::string ToMarkdown() const;
  std::string ToJson() const;

 private:
  std::vector<std::pair<std::string, std::string>> facts_;
  std::vector<Table> tables_;
  std::vector<Goal> goals_;
};

}  // namespace mirel::bench
