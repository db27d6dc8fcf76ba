#include <Tests/Support/StepScan.h>

#include <Programs/mirel/Import/Part21/ReaderData.h>

#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Standard_Failure.hxx>
#include <StepFile_ReadData.hxx>
#include <step.tab.hxx>

#include <cstring>
#include <sstream>
#include <utility>

namespace mirel {

namespace {

// Takes the calls that fill OpenCASCADE's reader data.
class RecordLines {
 public:
  void SetRecord(int, const char* name, const char* keyword, int) {
    lines_.append(name).append(" ").append(keyword).append("\n");
  }
  void AddStepParam(int, const char* text, Interface_ParamType type) {
    lines_.append("  ").append(std::to_string(type)).append(" ").append(text).append("\n");
  }
  void InitParams(int) {}
  std::string Take(std::size_t headRecords) { return std::to_string(headRecords) + "\n" + lines_; }

 private:
  std::string lines_;
};

bool Parse(const std::string& text, StepFile_ReadData& data) {
  std::istringstream stream(text);
  try {
    step::scanner scanner(&data, &stream);
    scanner.yyrestart(&stream);
    return step::parser(&scanner).parse() == 0;
  } catch (const Standard_Failure&) {
    return false;
  }
}

}  // namespace

StepScan ScanByOpenCascade(const std::string& text) {
  Message::DefaultMessenger()->ChangePrinters().Clear();
  StepFile_ReadData data;
  StepScan scan;
  scan.isGood = Parse(text, data) && data.GetLastError() == nullptr;
  if (scan.isGood) {
    int headRecords = 0;
    int records = 0;
    int parameters = 0;
    data.GetFileNbR(&headRecords, &records, &parameters);
    RecordLines lines;
    for (int i = 1; i <= records; ++i, data.NextRecord()) {
      char* name = nullptr;
      char* keyword = nullptr;
      int hasParameters = 0;
      data.GetRecordDescription(&name, &keyword, &hasParameters);
      lines.SetRecord(i, name, keyword, hasParameters);
      Interface_ParamType type = Interface_ParamMisc;
      for (char* value = nullptr; data.GetArgDescription(&type, &value);)
        lines.AddStepParam(i, value, type);
    }
    scan.records = lines.Take(static_cast<std::size_t>(headRecords));
  }
  data.ClearRecorder(3);
  return scan;
}

StepScan ScanByUs(const std::string& text, std::size_t sectionBytes) {
  MallocBytes copy(static_cast<char*>(std::malloc(text.size() + 1)));
  std::memcpy(copy.get(), text.c_str(), text.size() + 1);
  const std::optional<ExchangeStructure> structure =
      ExchangeStructure::Scan(std::move(copy), text.size(), sectionBytes);
  StepScan scan;
  scan.isGood = structure.has_value();
  if (scan.isGood) {
    RecordLines lines;
    FillReaderData(*structure, lines);
    scan.records = lines.Take(structure->GetSections().front().records.size());
  }
  return scan;
}

}  // namespace mirel
