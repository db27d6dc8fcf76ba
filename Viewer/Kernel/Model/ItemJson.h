#pragma once

#include <Viewer/Kernel/Model/LiteModelItem.h>

#include <glm/vec3.hpp>

namespace mirel {

// What the kinds of items share in writing and reading JSON. The readers take any value and never rely on its type:
// rapidjson asserts on access to the wrong one.

/// The first member with this name, or null when there is none, or `object` is not an object.
rapidjson::Value* FindMember(rapidjson::Value& object, const char* name);

/// The same, and null too when the member is not a string (an array).
rapidjson::Value* FindString(rapidjson::Value& object, const char* name);
rapidjson::Value* FindArray(rapidjson::Value& object, const char* name);

/// Takes up to three components from an array; elements that are no numbers, or that no float can hold, change nothing.
void ReadColor(const rapidjson::Value& array, glm::vec3& color);

bool IsFinite(const glm::vec3& color);

/// An array of three doubles; the colour must be finite.
void WriteColor(LiteModelItem::JsonWriter& writer, const glm::vec3& color);

class ItemWalk;

/// The walk of the calling thread that writes items: `Write` has no argument that could carry it.
ItemWalk& WritingWalk();

/// Writes one item as a JSON object; an empty pointer is left out, with a message at level 3.
void WriteObject(const std::unique_ptr<LiteModelItem>& item, LiteModelItem::JsonWriter& writer,
                 const LiteModel& model);

}  // namespace mirel
