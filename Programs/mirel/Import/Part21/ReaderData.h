#pragma once

#include <Programs/mirel/Import/Part21/ExchangeStructure.h>

#include <Interface_ParamType.hxx>

namespace mirel {

inline Interface_ParamType GetParamType(Part21Parameter::Kind kind) {
  switch (kind) {
  case Part21Parameter::Kind::kInteger:
    return Interface_ParamInteger;
  case Part21Parameter::Kind::kReal:
    return Interface_ParamReal;
  case Part21Parameter::Kind::kString:
    return Interface_ParamText;
  case Part21Parameter::Kind::kEnumeration:
    return Interface_ParamEnum;
  case Part21Parameter::Kind::kBinary:
    return Interface_ParamHexa;
  case Part21Parameter::Kind::kReference:
    return Interface_ParamIdent;
  case Part21Parameter::Kind::kOmitted:
    return Interface_ParamVoid;
  case Part21Parameter::Kind::kList:
    return Interface_ParamSub;
  case Part21Parameter::Kind::kDerived:
    break;
  }
  return Interface_ParamMisc;
}

/// Fills `data`, a StepData_StepReaderData or what takes the same calls, with all records, in the words of OpenCASCADE's own
/// scanner. It refers to texts of the structure and of this function.
template <typename ReaderData>
void FillReaderData(const ExchangeStructure& structure, ReaderData& data) {
  int number = 0;
  for (const Part21Section& section : structure.GetSections()) {
    auto parameter = section.parameters.begin();
    for (const Part21Record& record : section.records) {
      ++number;
      const char* name = "#0";
      if (record.kind == Part21Record::Kind::kEntity) {
        name = section.text + record.name;
      } else if (record.kind == Part21Record::Kind::kList) {
        name = structure.GetListName(record.name);
      }
      const char* const keyword =
          record.keyword == Part21Record::kNoKeyword ? "/* (SUB) */" : section.text + record.keyword;
      const auto end = section.parameters.begin() + record.parametersEnd;
      data.SetRecord(number, name, keyword, parameter != end ? 1 : 0);
      for (; parameter != end; ++parameter) {
        const char* text = section.text + parameter->value;
        if (parameter->kind == Part21Parameter::Kind::kList) {
          text = structure.GetListName(parameter->value);
        } else if (parameter->kind == Part21Parameter::Kind::kOmitted) {
          text = "$";
        } else if (parameter->kind == Part21Parameter::Kind::kDerived) {
          text = "*";
        }
        data.AddStepParam(number, text, GetParamType(parameter->kind));
      }
      data.InitParams(number);
    }
  }
}

}  // namespace mirel
