#pragma once

#include <Programs/mirel/Import/Part21/Part21Section.h>

#include <Viewer/Kernel/Host/Core/FileIO.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mirel {

/// The text of a STEP file (an exchange structure of ISO 10303-21), scanned into records. A large one is scanned in sections,
/// on all cores.
///
/// Whoever wants more of the text than the records should read it elsewhere: it is changed (`Part21Section`).
class ExchangeStructure {
 public:
  /// Nothing for text that OpenCASCADE reads with an error, and for some that it reads without one: then it is for that
  /// reader to say what the text holds. The text has `size` bytes and a zero byte behind them; `sectionBytes` is about how
  /// many of them are a section.
  static std::optional<ExchangeStructure> Scan(MallocBytes text, std::size_t size,
                                               std::size_t sectionBytes = kSectionBytes);

  /// In the order of the file. The first is the header.
  const std::vector<Part21Section>& GetSections() const { return sections_; }

  std::size_t CountRecords() const;
  std::size_t CountParameters() const;

  /// Frees the sections. Texts and the names of lists stay where they are.
  void ForgetRecords() { sections_ = {}; }

  /// The name of a list by its number, as "$1".
  const char* GetListName(std::uint32_t number) const { return listNames_[number].c_str(); }

 private:
  static constexpr std::size_t kSectionBytes = std::size_t{2} << 20;

  ExchangeStructure() = default;
  bool ScanText(std::size_t size, std::size_t sectionBytes);
  void MakeListNames();

  MallocBytes text_;
  std::vector<Part21Section> sections_;
  std::vector<std::string> listNames_;
};

}  // namespace mirel
