#pragma once

#include <Programs/mirel/Import/Part21/ExchangeStructure.h>

#include <Interface_ParamType.hxx>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

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

/// New names of entities, by the number of their record, for those whose name an entity before them has.
using Part21NewNames = std::map<int, std::string>;

/// Finds them. OpenCASCADE's reader data does not come to an end with two entities of one name, or takes either for the other, as
/// the memory happens to be.
inline Part21NewNames RenameDoubles(const ExchangeStructure& structure) {
  std::vector<std::pair<int, int>> names;  // and the record
  int number = 0;
  for (const Part21Section& section : structure.GetSections()) {
    for (const Part21Record& record : section.records) {
      ++number;
      if (record.kind == Part21Record::Kind::kEntity) {
        names.emplace_back(std::atoi(section.text + record.name + 1), number);
      }
    }
  }
  if (!std::is_sorted(names.begin(), names.end())) {
    std::sort(names.begin(), names.end());
  }
  Part21NewNames renamed;
  long long last = names.empty() ? 0 : names.back().first;
  for (std::size_t i = 1; i < names.size(); ++i) {
    if (names[i].first == names[i - 1].first && last < std::numeric_limits<int>::max()) {
      renamed.emplace(names[i].second, "#" + std::to_string(++last));
    }
  }
  return renamed;
}

/// Fills `data`, a StepData_StepReaderData or what takes the same calls, with all records, in the words of OpenCASCADE's own
/// scanner. It refers to texts of the structure and of this function.
template <typename ReaderData>
void FillReaderData(const ExchangeStructure& structure, ReaderData& data,
                    const Part21NewNames& renamed = {}) {
  auto other = renamed.begin();
  int number = 0;
  for (const Part21Section& section : structure.GetSections()) {
    auto parameter = section.parameters.begin();
    for (const Part21Record& record : section.records) {
      ++number;
      const char* name = "#0";
      if (record.kind == Part21Record::Kind::kEntity) {
        const bool isRenamed = other != renamed.end() && other->first == number;
        name = isRenamed ? (other++)->second.c_str() : section.text + record.name;
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
