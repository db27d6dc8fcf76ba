#include <Programs/mirel/Export/Step/StepText.h>

#include <Programs/mirel/StageProgress.h>

#include <Viewer/Kernel/Host/Core/ShareOut.h>

#include <Interface_FloatWriter.hxx>
#include <StepData_Protocol.hxx>
#include <StepData_ReadWriteModule.hxx>
#include <StepData_StepWriter.hxx>
#include <StepData_WriterLib.hxx>
#include <TCollection_HAsciiString.hxx>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace mirel {

namespace {

// Fits into the 24 bytes that the writer has for a number.
constexpr char kNumberFormat[] = "%.15E";
constexpr std::size_t kDigits = 15;
constexpr int kEntitiesAtOnce = 20000;

std::string LinesOf(const StepData_StepWriter& writer) {
  std::string lines;
  for (int i = 1; i <= writer.NbLines(); ++i) {
    const Handle(TCollection_HAsciiString) line = writer.Line(i);
    lines.append(line->ToCString(), static_cast<std::size_t>(line->Length()));
    lines.push_back('\n');
  }
  return lines;
}

// Appends the number that begins there, in the shortest form that STEP has for it.
const char* AppendNumber(const char* at, const char* end, std::string& text) {
  double number = 0.0;
  const char* const behind = std::from_chars(at, end, number).ptr;
  char digits[40];
  const char* const last = std::to_chars(digits, digits + sizeof digits, number).ptr;
  bool hasPoint = false;
  for (const char* digit = digits; digit != last; ++digit) {
    hasPoint |= *digit == '.';
    if (*digit == 'e' && !hasPoint) {
      text.push_back('.');
      hasPoint = true;
    }
    text.push_back(*digit == 'e' ? 'E' : *digit);
  }
  if (!hasPoint) {
    text.push_back('.');
  }
  return behind;
}

// Whether what begins there has the form of numbers: a digit, a point, fifteen digits and an E.
bool IsNumber(const char* at, const char* end) {
  return static_cast<std::size_t>(end - at) > kDigits + 3 && at[1] == '.' && at[kDigits + 2] == 'E';
}

// Reads a character of UTF-8 that line ends may cut; a byte that is none stands for itself.
std::uint32_t ReadCharacter(const char*& at, const char* end) {
  const auto first = static_cast<unsigned char>(*at++);
  const int more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : first >= 0xC0 ? 1 : 0;
  std::uint32_t code = more == 0 ? first : first & (0x3FU >> more);
  const char* next = at;
  for (int i = 0; i < more; ++i) {
    while (next != end && *next == '\n') {
      ++next;
    }
    if (next == end || (static_cast<unsigned char>(*next) & 0xC0) != 0x80) {
      return first;
    }
    code = code << 6 | (static_cast<unsigned char>(*next++) & 0x3F);
  }
  at = next;
  return code;
}

void AppendHexadecimal(std::uint32_t number, int digits, std::string& text) {
  for (int i = digits - 1; i >= 0; --i) {
    text.push_back("0123456789ABCDEF"[number >> (4 * i) & 0xF]);
  }
}

// Characters that are not ASCII, in the words that STEP has for them.
const char* AppendCharacters(const char* at, const char* end, std::string& text) {
  int digits = 0;  // of each in the word
  while (at != end && static_cast<unsigned char>(*at) >= 0x80) {
    const std::uint32_t code = ReadCharacter(at, end);
    const int needed = code > 0xFFFF ? 8 : 4;
    if (needed != digits) {
      text += digits == 0 ? "" : "\\X0\\";
      text += needed == 4 ? "\\X2\\" : "\\X4\\";
      digits = needed;
    }
    AppendHexadecimal(code, digits, text);
  }
  text += "\\X0\\";
  return at;
}

}  // namespace

void StepText::AppendPolished(const std::string& written, std::string& text) {
  const char* at = written.data();
  const char* const end = at + written.size();
  bool isText = false;
  while (at != end) {
    if (isText ? static_cast<unsigned char>(*at) >= 0x80 : *at >= '0' && *at <= '9' && IsNumber(at, end)) {
      at = isText ? AppendCharacters(at, end, text) : AppendNumber(at, end, text);
      continue;
    }
    isText ^= *at == '\'';
    text.push_back(*at++);
  }
}

std::string StepText::Of(const Handle(StepData_StepModel) & model,
                         const Handle(Interface_Protocol) & protocol, StageProgress& progress) {
  progress.Begin("writing");
  const auto stepProtocol = Handle(StepData_Protocol)::DownCast(protocol);
  StepData_StepWriter header(model);
  header.SendModel(stepProtocol, Standard_True);

  // What the library keeps for all of its kind is made before there are threads.
  const int count = model->NbEntities();
  const std::size_t parts = static_cast<std::size_t>(count / kEntitiesAtOnce + 1);
  std::vector<std::unique_ptr<StepData_WriterLib>> libraries;
  for (std::size_t i = 0; i < parts; ++i) {
    libraries.push_back(std::make_unique<StepData_WriterLib>(stepProtocol));
    Handle(StepData_ReadWriteModule) module;
    Standard_Integer kind = 0;
    libraries.back()->Select(model->Value(1), module, kind);
  }
  std::vector<std::string> texts(parts);
  ShareOut(parts, std::numeric_limits<std::size_t>::max(), [&](std::size_t part) {
    StepData_StepWriter writer(model);
    writer.FloatWriter().SetFormat(kNumberFormat);
    const int first = static_cast<int>(part) * kEntitiesAtOnce;
    for (int i = first + 1; i <= std::min(first + kEntitiesAtOnce, count); ++i) {
      writer.SendEntity(i, *libraries[part]);
    }
    AppendPolished(LinesOf(writer), texts[part]);
  });
  std::string text = "ISO-10303-21;\n";
  AppendPolished(LinesOf(header), text);
  text += "DATA;\n";
  for (std::string& part : texts) {
    text += part;
    std::string().swap(part);
  }
  text += "ENDSEC;\nEND-ISO-10303-21;\n";
  return text;
}

}  // namespace mirel
