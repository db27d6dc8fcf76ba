#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <string>

namespace mirel {

/// Conversions between text encodings. Thread safe: no state.
class MIREL_HOST_API StringUtil {
 public:
  /// Wide text (UTF-16 where wchar_t has 16 bits, else UTF-32) as UTF-8, the narrow encoding of this host on every
  /// system. What is no character, a lone surrogate for one, becomes U+FFFD.
  static std::string WStr2AStr(const std::wstring& text);
};

}  // namespace mirel
