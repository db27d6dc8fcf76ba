#pragma once

#include <Programs/mirel/ProgressBar.h>

#include <cstdio>
#include <string>
#include <string_view>

namespace mirel {

/// Where the program speaks: data on stdout, everything else on stderr.
///
/// The one door to the terminal: whatever the text comes from, control characters and invalid UTF-8 in it go out as
/// escapes (`Utf8::ForTerminal`), and a message is one line.
///
/// Thread safety: messages may come from any thread.
class Console {
 public:
  /// How much is said.
  struct Options {
    bool quiet = false;          ///< no notes and no progress; errors are still printed
    bool verbose = false;        ///< details too: notices, and where in the source a failure arose
    bool progressLines = false;  ///< progress as lines for a program that reads them, terminal or not
  };

  explicit Console(const Options& options);

  /// Whether a stream of the process is a terminal.
  static bool IsTerminal(std::FILE* stream);

  bool IsQuiet() const { return options_.quiet; }
  bool IsVerbose() const { return options_.verbose; }

  /// The result of a verb, in lines. False when stdout took not all of it (a full disk, a reader that went away).
  bool Data(std::string_view text);

  /// "mirel: FILE: reason"; without a file "mirel: reason". Always printed.
  void Error(const std::string& file, const std::string& reason);

  /// A line that belongs to the error before it.
  void ErrorDetail(const std::string& text);

  /// A line that another process has printed to stderr as a console of its own; always printed.
  void Relay(const std::string& line);

  /// A message that the user may do without; not under --quiet.
  void Note(const std::string& text);

  /// A message for someone who looks for a cause; only under --verbose.
  void Detail(const std::string& text);

  /// Progress on stderr while the guard lives; at most one at a time. Shown when stderr is a terminal
  /// and the program is not to be quiet, or as lines if those are asked for.
  class Progress {
   public:
    explicit Progress(Console& console, ProgressBar::Redraw redraw = ProgressBar::Redraw::kByThread);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ProgressBar& GetBar() { return bar_; }

   private:
    Console& console_;
    ProgressBar bar_;
  };

 private:
  void Print(const std::string& line);

  Options options_;
  ProgressBar* bar_ = nullptr;
};

}  // namespace mirel
