#pragma once

#include <cstddef>
#include <string_view>

namespace mirel {

/// What a check can find. Each finding has a code for scripts, documented in docs/check.md: never renumber, and never use
/// the number of one that is gone for another. The letter tells the level: index, packages, bodies, agreement; S is for
/// the seal, X for extras, V for what `mirel save --verify` finds when it compares a folder with the model that was saved.
enum class CheckCode {
  kIndexUnreadable,
  kIndexNoJson,
  kIndexNoItems,
  kIndexVersion,
  kIndexCounts,
  kNoItem,
  kGroupWithoutChildren,
  kWrongType,
  kBadId,
  kNoId,
  kNoTransform,
  kBadTransform,
  kBadColor,
  kBadFaceColor,
  kFaceColorTwice,
  kTypeTwice,
  kItemTwice,
  kTypeMissing,
  kTypeInItself,
  kTooDeep,
  kTooMany,
  kUnknownMember,
  kMemberTwice,
  kTypeUnused,
  kBadName,
  kIndexBehindEnd,
  kPackageMissing,
  kPackageUnreadable,
  kPackageLink,
  kNoPackage,
  kItemCutShort,
  kPackageBehindEnd,
  kBadOffset,
  kPackagedTwice,
  kPackageBeyondCount,
  kForeignFile,
  kIdZero,
  kManyPackagesMissing,
  kSealUnreadable,
  kFileChanged,
  kFileRemoved,
  kFileAdded,
  kBodyRefused,
  kBodyUndecoded,
  kRecordRefused,
  kRecordBehindEnd,
  kBodyCrash,
  kBodyTimeout,
  kExtrasUnreadable,
  kExtrasNoJson,
  kExtrasMember,
  kExtrasUnknownMember,
  kExtrasMemberTwice,
  kExtrasVersion,
  kExtrasItem,
  kExtrasPart,
  kItemWithoutBody,
  kItemWithoutGraphics,
  kBodyUnused,
  kGraphicsUnused,
  kFaceCount,
  kEdgeCount,
  kFaceColorBeyond,
  kBoxes,
  kDeviation,
  kFacesWithoutTriangles,
  kNormals,
  kItemDiffers,
  kTextDiffers,
  kRecordDiffers,
  kTableDiffers,
};

constexpr std::size_t kCheckCodeCount = static_cast<std::size_t>(CheckCode::kTableDiffers) + 1;

/// The entry of a code in the documentation.
struct CheckCodeEntry {
  const char* id;       ///< "I001"
  bool isError;         ///< else a warning: all that is there is shown as it was meant
  const char* meaning;  ///< a few words without a full stop
};

const CheckCodeEntry& Describe(CheckCode code);

/// The code with an id; false when there is none.
bool FindCheckCode(std::string_view id, CheckCode& code);

}  // namespace mirel
