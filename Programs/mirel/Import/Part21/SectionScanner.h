#pragma once

#include <Programs/mirel/Import/Part21/Part21Section.h>

#include <cstddef>

namespace mirel {

/// Scans a part of the text of an exchange structure (ISO 10303-21) into records, as OpenCASCADE's own reader has them.
///
/// Takes only what that reader reads without an error. Where it reads something in a way of its own, this one does the
/// same (a string ends at the first apostrophe that is followed by a comma or a closing parenthesis) or gives up. Zero
/// bytes are written into the text behind what the records need of it.
class SectionScanner {
 public:
  /// No token or comment may be longer: flex, with which OpenCASCADE reads, fails where one does not fit in its buffer.
  static constexpr std::ptrdiff_t kMaxTokenBytes = 8192;

  /// The text from `begin` to `end`, without any zero byte. At `end` there must be one, or the # of the next section.
  SectionScanner(char* begin, char* end);

  /// Reads to behind the line that begins the data. False when it gives up.
  bool ScanHeader();

  /// Reads entities up to the end, or up to the end of the whole structure (`IsStructureEnd`). False when it gives up.
  bool ScanEntities();

  bool IsStructureEnd() const { return isStructureEnd_; }
  char* GetPosition() const { return at_; }
  Part21Section& GetSection() { return section_; }

 private:
  struct OpenList {
    std::uint32_t number;
    std::uint32_t keyword;
    std::size_t firstValue;
  };

  char Next();
  char NextBehind(char* tokenEnd);
  bool SkipComment();
  bool TakeWord(const char* rest);
  bool TakeWordWithNumbers(const char* rest);

  bool ScanEntity();
  bool ScanKeyword(char first, std::uint32_t& keyword);
  bool ScanParameters(const Part21Record& record);
  bool BeginList(char first);
  void EndList();
  char ScanValue(char first);
  char ScanNumber();
  char ScanString();
  char ScanEnumeration();
  char ScanBinary();
  char ScanReference();
  char AddValue(Part21Parameter::Kind kind, char* tokenEnd);
  void AddRecord(Part21Record record, std::size_t firstValue);

  std::uint32_t OffsetOf(const char* token) const;

  Part21Section section_;
  char* at_;  // behind the character that was read last
  char* end_;
  char* token_ = nullptr;
  bool isStructureEnd_ = false;

  // Of the entity that is being read.
  std::uint32_t listCount_ = 0;
  std::vector<OpenList> openLists_;
  std::vector<Part21Parameter> values_;  // of all lists that are open
};

}  // namespace mirel
