#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace mirel {

/// Writes JSON into one growing string: objects and arrays are opened and closed by the caller, commas,
/// quotation marks and escapes are put here. Any bytes are accepted as text; numbers that JSON cannot hold
/// become null.
class JsonText {
 public:
  /// With `indent`, each member stands on a line of its own; without, the text is one line.
  explicit JsonText(bool indent) : indent_(indent) {}

  void BeginObject() { Open('{'); }
  void EndObject() { Close('}'); }
  void BeginArray() { Open('['); }
  void EndArray() { Close(']'); }

  /// The name of the member that the next value belongs to.
  void Key(std::string_view key);

  void Text(std::string_view value);
  /// With the fewest digits that read back to the same number.
  void Number(double value);
  void Number(float value);
  /// An array of so many numbers, such as those of a vector or a matrix, column by column.
  template <typename Real>
  void Numbers(const Real* values, std::size_t count) {
    BeginArray();
    for (std::size_t i = 0; i < count; ++i) {
      Number(values[i]);
    }
    EndArray();
  }
  void Integer(std::int64_t value);
  void Unsigned(std::uint64_t value);
  void Bool(bool value);

  const std::string& GetText() const { return text_; }
  /// The text, for one who writes it out piece by piece and empties it in between.
  std::string& GetText() { return text_; }

 private:
  void Open(char bracket);
  void Close(char bracket);
  template <typename Real>
  void AppendReal(Real value);
  void BeforeValue();
  void NewLine();

  std::string text_;
  bool indent_;
  bool first_ = true;  // nothing stands in the innermost object or array yet
  bool afterKey_ = false;
  int depth_ = 0;
};

}  // namespace mirel
