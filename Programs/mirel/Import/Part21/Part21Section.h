#pragma once

#include <cstdint>
#include <vector>

namespace mirel {

/// A parameter of a record.
struct Part21Parameter {
  enum class Kind : std::uint32_t {
    kInteger,
    kReal,
    kString,
    kEnumeration,
    kBinary,
    kReference,  ///< to an entity, as #12
    kOmitted,    ///< $
    kDerived,    ///< *
    kList        ///< a record of its own, which comes before this one
  };

  Kind kind;
  /// Where its text begins in the section's; of a list, its number: the lists in the parameters of one keyword are
  /// counted from 1 in the order in which they begin.
  std::uint32_t value;
};

/// A keyword with its parameters, or a list within parameters.
struct Part21Record {
  enum class Kind : std::uint32_t {
    kEntity,  ///< an entity with its name, or with the first keyword of several
    kPart,    ///< an entity without a name: in the header, or a further keyword of the entity before
    kList
  };
  static constexpr std::uint32_t kNoKeyword = UINT32_MAX;

  Kind kind;
  /// Where the name, as #12, begins in the section's text; of a list its number.
  std::uint32_t name;
  /// Where the keyword begins in the section's text; a list has one if it is a typed parameter.
  std::uint32_t keyword;
  /// Its parameters are those of the section from the end of the record before.
  std::uint32_t parametersEnd;
};

/// A part of an exchange structure that is scanned by itself. Names, keywords and values stand in the text, and a zero
/// byte behind each.
struct Part21Section {
  const char* text = nullptr;
  std::vector<Part21Record> records;
  std::vector<Part21Parameter> parameters;
  /// The greatest number of a list.
  std::uint32_t listCount = 0;
};

}  // namespace mirel
