#pragma once

#include <Programs/mirel/Check/CheckCode.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace mirel {

class JsonText;

/// Collects what a check finds. A damage may repeat a million times: of each code a limited number of findings is kept,
/// and the others are counted.
class FindingList {
 public:
  struct Finding {
    std::string file;  ///< relative to the folder: "index.gz", "model/1.gz"
    std::string text;  ///< as it came, controls and all; one sentence without a full stop
  };

  void Add(CheckCode code, const std::string& file, const std::string& text);

  std::uint64_t GetErrorCount() const { return errors_; }
  std::uint64_t GetWarningCount() const { return warnings_; }
  std::uint64_t GetCount(CheckCode code) const { return Of(code).count; }

  /// Findings that are kept, in the order in which they came.
  const std::vector<Finding>& GetFindings(CheckCode code) const { return Of(code).kept; }

  /// One line for each, safe for a terminal, in the order of the codes:
  ///
  ///     I011 error index.gz: shape 1234 "bolt": ...
  ///     I011 ... and 980 more
  std::string ToText() const;

  /// Adds the members "errors", "warnings", "counts" (by code) and "findings" to an object.
  void ToJson(JsonText& json) const;

 private:
  struct Entry {
    std::uint64_t count = 0;
    std::vector<Finding> kept;
  };

  const Entry& Of(CheckCode code) const { return entries_[static_cast<std::size_t>(code)]; }

  std::array<Entry, kCheckCodeCount> entries_;
  std::uint64_t errors_ = 0;
  std::uint64_t warnings_ = 0;
};

}  // namespace mirel
