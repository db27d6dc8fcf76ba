#include <Programs/mirel/Console.h>

#include <Programs/mirel/Text/Utf8.h>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace mirel {

Console::Console(const Options& options) : options_(options) {}

bool Console::IsTerminal(std::FILE* stream) {
#if defined(_WIN32)
  return _isatty(_fileno(stream)) != 0;
#else
  return isatty(fileno(stream)) != 0;
#endif
}

bool Console::Data(std::string_view text) {
  const std::string safe = Utf8::ForTerminal(text, true);
  const bool written = std::fwrite(safe.data(), 1, safe.size(), stdout) == safe.size();
  return std::fflush(stdout) == 0 && written;
}

void Console::Print(const std::string& line) {
  if (bar_ != nullptr) {
    bar_->Clear();
  }
  std::fputs((Utf8::ForTerminal(line, false) + "\n").c_str(), stderr);
}

void Console::Error(const std::string& file, const std::string& reason) {
  Print(file.empty() ? "mirel: " + reason : "mirel: " + file + ": " + reason);
}

void Console::ErrorDetail(const std::string& text) {
  Print("    " + text);
}

void Console::Relay(const std::string& line) {
  Print(line);
}

void Console::Note(const std::string& text) {
  if (!options_.quiet) {
    Print(text);
  }
}

void Console::Detail(const std::string& text) {
  if (options_.verbose) {
    Print(text);
  }
}

Console::Progress::Progress(Console& console, ProgressBar::Redraw redraw)
    : console_(console),
      bar_(console.options_.progressLines                  ? ProgressBar::Form::kLines
           : !console.options_.quiet && IsTerminal(stderr) ? ProgressBar::Form::kBar
                                                           : ProgressBar::Form::kNone,
           redraw) {
  console_.bar_ = &bar_;
}

Console::Progress::~Progress() {
  console_.bar_ = nullptr;
}

}  // namespace mirel
