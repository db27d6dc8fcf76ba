#pragma once

#include <Programs/mirel/ExitCode.h>

#include <string>
#include <vector>

namespace mirel {

class Console;

/// A model folder as a web page shows it: opened as a viewer does, with the files that the page takes.
class WebModel {
 public:
  /// A file of the folder.
  struct File {
    std::string name;  ///< relative to the folder, "grep/1.gz"
    std::string path;
    std::string content;  ///< of one that is made for the page; it has no path
  };

  /// What goes along besides the index and the graphics.
  struct Contents {
    bool bodies;    ///< the exact bodies
    bool drawings;  ///< what pages fetch in the place of the graphics at first
  };

  explicit WebModel(const Contents& contents) : contents_(contents) {}

  /// Opens the folder at a path, or whose index file that is. False after a message when there is no model; of one that is
  /// damaged, messages tell what could not be read.
  bool Open(Console& console, const std::string& path);

  /// What the page takes, as far as it is there. The index is the first.
  const std::vector<File>& GetFiles() const { return files_; }
  /// The content of overview.json.
  const std::string& GetOverview() const { return overview_; }
  /// What the page is called: the only item at the top has the name, else the file or folder that a user calls `input`.
  std::string MakeTitle(const std::string& input) const;

  /// What a verb ends with that has made a page of the model, which a user calls `input`: whether all could be read and, if
  /// that is asked for, whether anything is to be seen. Says so when nothing is.
  ExitCode Conclude(Console& console, const std::string& input, bool isStrict) const;

  /// The bytes of a file as a page fetches them: packages as they are, the others packed tighter. False with the reason.
  static bool Read(const File& file, std::string& content, std::string& reason);

 private:
  Contents contents_;
  bool complete_ = false;
  bool visible_ = false;
  std::vector<File> files_;
  std::string overview_;
  std::string name_;
};

}  // namespace mirel
