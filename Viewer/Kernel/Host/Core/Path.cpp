#include <Viewer/Kernel/Host/Core/Path.h>

#include <Viewer/Kernel/Host/Core/StringUtil.h>

namespace mirel {

Path::Path(const std::wstring& text) : text_(StringUtil::WStr2AStr(text)) {}

}  // namespace mirel
