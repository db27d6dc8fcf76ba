#include <Programs/mirel/FailureWords.h>

#include <cctype>
#include <string_view>

namespace mirel {

namespace {

constexpr const char* kMending = "; to mend it, save the model again";
constexpr std::string_view kCannotRead = "Cannot read ";
constexpr std::string_view kIsMissing = " is missing";
constexpr std::string_view kItem = ": item ";

bool StartsWith(std::string_view text, std::string_view begin) {
  return text.substr(0, begin.size()) == begin;
}

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// What is lost with a file, told by the folder that it lies in, or with a package that comes without a path.
std::string WhatIsLost(std::string_view source) {
  const std::size_t slash = source.find_last_of("/\\");
  const std::string_view folder = source.substr(0, slash == std::string_view::npos ? 0 : slash);
  if (EndsWith(folder, "grep") || source == "GRep package") {
    return std::string("the shapes that it draws are not shown") + kMending;
  }
  if ((EndsWith(folder, "model") && !EndsWith(source, "index.gz")) || source == "shape package") {
    return std::string("what is drawn of its shapes is shown, but they have no exact body") + kMending;
  }
  return "there is no model without it; give a folder that `mirel save` has made";
}

// "Cannot read PATH: reason"; a path that ends as packages do may hold a colon.
std::optional<FailureWords::Line> ExplainFile(std::string_view notice) {
  if (!StartsWith(notice, kCannotRead)) {
    return std::nullopt;
  }
  notice.remove_prefix(kCannotRead.size());
  const std::size_t ending = notice.find(".gz: ");
  const std::size_t colon = ending != std::string_view::npos ? ending + 3 : notice.find(": ");
  if (colon == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string path(notice.substr(0, colon));
  return FailureWords::Line{
      path, "cannot be read (" + std::string(notice.substr(colon + 2)) + "): " + WhatIsLost(path), 1};
}

// "SOURCE: item 1 of 2, id 3, 4 bytes", with the reason in the notice before it or behind it.
std::optional<FailureWords::Line> ExplainItem(const std::vector<std::string>& notices,
                                              const std::string& subject) {
  const std::string_view notice = notices.back();
  const std::size_t item = notice.rfind(kItem);
  const std::size_t bytes = notice.find(" bytes", item);
  if (item == std::string_view::npos || bytes == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string source(notice.substr(0, item));
  const std::string what(notice.substr(item + 2, notice.rfind(", ", bytes) - item - 2));
  std::string reason = "it does not decode";
  if (EndsWith(notice, ", is cut short")) {
    reason = "it is cut short";
  } else if (notices.size() > 1) {
    reason = notices[notices.size() - 2];
  }
  while (EndsWith(reason, ".")) {
    reason.pop_back();
  }
  const bool isPath = EndsWith(source, ".gz");
  const std::string place = isPath ? "" : source + ", ";
  return FailureWords::Line{isPath ? source : subject,
                            place + what + ", cannot be read (" + reason + "): " + WhatIsLost(source), 2,
                            place.size() + what.size()};
}

// "Shape 1 "NAME" has no graphics: ...", of an item of the model.
std::optional<FailureWords::Line> ExplainMissing(const std::string& notice, const std::string& subject) {
  const std::size_t end = notice.rfind("\" has no ");
  if (end == std::string::npos || notice.find(": the model holds none with id ", end) == std::string::npos) {
    return std::nullopt;
  }
  std::string text = notice;
  text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  return FailureWords::Line{subject, text + "; it is not shown" + kMending, 1, end + 1};
}

}  // namespace

std::optional<FailureWords::Line> FailureWords::Explain(const std::string& failure,
                                                        const std::vector<std::string>& notices,
                                                        const std::string& subject) {
  if (EndsWith(failure, kIsMissing)) {  // said of a package that comes in pieces
    return Line{subject, failure + ": " + WhatIsLost(failure.substr(0, failure.size() - kIsMissing.size())),
                0};
  }
  if (notices.empty()) {
    return std::nullopt;
  }
  std::optional<Line> line = ExplainFile(notices.back());
  line = line ? line : ExplainItem(notices, subject);
  return line ? line : ExplainMissing(notices.back(), subject);
}

}  // namespace mirel
