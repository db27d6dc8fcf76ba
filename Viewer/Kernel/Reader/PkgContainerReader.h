#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <functional>
#include <string>

namespace mirel {

/// Takes the package container apart, which shape and GRep packages share: a count, a table of (id, offset, size) and
/// the items' bytes back to back.
///
/// Calls `decode` with each item in table order; it says whether it could use the bytes, and when not, "Shape is null!"
/// is logged with the item's place, id and size. The bytes lie in `data`. An item that is not whole is not decoded and
/// logged the same way. Nothing is allocated for what the table claims.
///
/// False, with nothing decoded, when the block is empty, its count is 0 or its table is cut short. `source` names the
/// package in messages, and `file` and `line` the caller.
bool ReadPackage(const char* data, unsigned int size, const std::string& source, const char* file, int line,
                 const std::function<bool(const ObjectId& id, const char* bytes, unsigned int size)>& decode);

}  // namespace mirel
