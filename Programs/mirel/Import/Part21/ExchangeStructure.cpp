#include <Programs/mirel/Import/Part21/ExchangeStructure.h>

#include <Programs/mirel/Import/Part21/SectionScanner.h>

#include <Viewer/Kernel/Host/Core/ShareOut.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace mirel {

namespace {

// The next # that begins a line's first name, or looks like that within a string or a comment; the end if there is none.
char* FindEntity(char* from, char* end) {
  while (from < end) {
    char* const semicolon = static_cast<char*>(std::memchr(from, ';', static_cast<std::size_t>(end - from)));
    if (semicolon == nullptr) {
      break;
    }
    from = semicolon + 1;
    while (*from == '\n' || *from == '\r') {
      ++from;
    }
    if (*from == '#') {
      return from;
    }
  }
  return end;
}

// Within a section positions have 32 bits.
constexpr std::size_t kMaxSectionBytes = UINT32_MAX;

struct SectionResult {
  Part21Section section;
  bool isGood = false;
  bool isStructureEnd = false;
};

SectionResult ScanSection(char* begin, char* end) {
  SectionScanner scanner(begin, end);
  SectionResult result;
  result.isGood = scanner.ScanEntities();
  result.isStructureEnd = scanner.IsStructureEnd();
  result.section = std::move(scanner.GetSection());
  return result;
}

}  // namespace

std::optional<ExchangeStructure> ExchangeStructure::Scan(MallocBytes text, std::size_t size,
                                                         std::size_t sectionBytes) {
  ExchangeStructure structure;
  structure.text_ = std::move(text);
  std::optional<ExchangeStructure> result;
  if (structure.ScanText(size, sectionBytes)) {
    structure.MakeListNames();
    result = std::move(structure);
  }
  return result;
}

bool ExchangeStructure::ScanText(std::size_t size, std::size_t sectionBytes) {
  char* const begin = text_.get();
  char* const end = begin + size;
  if (std::memchr(begin, '\0', size) != nullptr) {
    return false;
  }
  SectionScanner header(begin, end);
  if (!header.ScanHeader()) {
    return false;
  }
  sections_.push_back(std::move(header.GetSection()));

  std::vector<char*> borders = {begin, header.GetPosition()};
  while (borders.back() != end) {
    char* const last = borders.back();
    const std::size_t left = static_cast<std::size_t>(end - last);
    borders.push_back(left <= sectionBytes ? end : FindEntity(last + sectionBytes, end));
  }
  for (std::size_t i = 1; i < borders.size(); ++i) {
    if (static_cast<std::size_t>(borders[i] - borders[i - 1]) > kMaxSectionBytes) {
      return false;
    }
  }
  std::vector<SectionResult> results(borders.size() - 2);
  ShareOut(results.size(), size,
           [&](std::size_t i) { results[i] = ScanSection(borders[i + 1], borders[i + 2]); });

  // A section is what it was taken for if the one before ends where it begins. What follows the end is never read.
  for (SectionResult& result : results) {
    if (!result.isGood) {
      return false;
    }
    sections_.push_back(std::move(result.section));
    if (result.isStructureEnd) {
      return CountRecords() > sections_.front().records.size();
    }
  }
  return false;
}

void ExchangeStructure::MakeListNames() {
  std::uint32_t last = 0;
  for (const Part21Section& section : sections_) {
    last = std::max(last, section.listCount);
  }
  for (std::uint32_t number = 0; number <= last; ++number) {
    listNames_.push_back("$" + std::to_string(number));
  }
}

std::size_t ExchangeStructure::CountRecords() const {
  std::size_t count = 0;
  for (const Part21Section& section : sections_) {
    count += section.records.size();
  }
  return count;
}

std::size_t ExchangeStructure::CountParameters() const {
  std::size_t count = 0;
  for (const Part21Section& section : sections_) {
    count += section.parameters.size();
  }
  return count;
}

}  // namespace mirel
