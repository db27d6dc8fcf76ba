#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <functional>
#include <memory>
#include <string>

namespace mirel {

/// Makes a thing of an item's bytes; an empty pointer when it cannot.
using DecodeItem = std::function<std::shared_ptr<void>(const char* bytes, unsigned int size)>;
/// Takes what has been made of the item with this id; never an empty pointer.
using AddItem = std::function<void(const ObjectId& id, std::shared_ptr<void> decoded)>;

/// Takes the package container apart, which shape and GRep packages share: a count, a table of (id, offset, size) and
/// the items' bytes back to back.
///
/// Calls `decode` with each item's bytes, and `add` with what comes of it. For large packages
/// `decode` is called by several threads at once, in any order, and what it logs is kept back; `add` is called by the
/// calling thread, in table order, and the log has the messages of each item in that order too. Where nothing came of
/// the bytes, "Shape is null!" is logged with the item's place, id and size. Of an item that
/// claims more bytes than are left, these are decoded: they may hold all of it. One of which nothing is left is not decoded.
/// Nothing is allocated for what the table claims.
///
/// False, with nothing decoded, when the block is empty, its count is 0 or its table is cut short. `source` names the
/// package in messages, and `file` and `line` the caller. All threads have ended when this returns. An exception of
/// `decode` comes through, with an unknown part of the items added.
bool ReadPackage(const char* data, unsigned int size, const std::string& source, const char* file, int line,
                 const DecodeItem& decode, const AddItem& add);

}  // namespace mirel
