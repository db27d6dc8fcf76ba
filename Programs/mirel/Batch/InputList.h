#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace mirel {

/// The files that are to be converted, in order, and the folder of each. All paths are narrow (UTF-8).
///
/// A file's folder lies below the folder that all go into where the file lies below the current one: "a/b.step" becomes
/// "INTO/a/b.step". Of a path that is absolute or leads upwards it is the whole way from the root. So the name depends on the
/// file alone, and parts of a list can be converted apart.
class InputList {
 public:
  struct Input {
    std::string file;  ///< as it was given
    std::string name;  ///< the same for all paths that obviously lead to one file
    std::string folder;
    std::uint64_t bytes = 0;  ///< of the file; 0 when that is not known
    std::string error;        ///< why it cannot be read, where that is known already
  };

  /// `recursive`: folders stand for the files in them that have the name of a STEP, IGES or BRep file, sorted, and those in the
  /// folders in them. Links to folders are not followed, and what is hidden is passed over.
  InputList(const std::string& into, bool recursive);

  /// Adds a file, or what is in a folder. One that is there already is not added again.
  void Add(const std::string& path);

  /// Adds what a list names, one path a line, or each ended by NUL (`find -print0`). False with a reason when the list cannot
  /// be read. "-" is standard input.
  bool AddFrom(const std::string& list, std::string& reason);

  const std::vector<Input>& GetInputs() const { return inputs_; }

  /// Two files that would go into one folder, in words; empty when there are none.
  const std::string& GetClash() const { return clash_; }

 private:
  void AddFile(const std::string& path, const std::string& error);
  void AddFolder(const std::string& path);
  void AddText(const std::string& text);

  const std::string into_;
  const bool recursive_;
  std::vector<Input> inputs_;
  std::set<std::pair<std::string, std::string>> places_;  // and the file that has it
  std::string clash_;
};

}  // namespace mirel
