#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <string>

namespace mirel {

/// A file path as its narrow text, UTF-8 on every system.
class MIREL_HOST_API Path {
 public:
  /// The empty path: "nothing chosen".
  Path() = default;
  explicit Path(std::string text) : text_(std::move(text)) {}
  explicit Path(const std::wstring& text);

  const std::string& GetText() const { return text_; }

  /// True when the path is not empty.
  explicit operator bool() const { return !text_.empty(); }

 private:
  std::string text_;
};

}  // namespace mirel
