// The text of a STEP file. What our scanner takes, in one piece or in sections, OpenCASCADE's scans without an error to the
// same records.

#include <Fuzz/Support/FuzzCheck.h>
#include <Fuzz/Support/Mutate.h>
#include <Tests/Support/StepScan.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace mirel;
using namespace mirel::fuzz;

namespace {

constexpr const char* kSeparators = " \t\r\n,();=";

const std::vector<std::string>& Words() {
  static const std::vector<std::string> words = {"1",
                                                 "-1.",
                                                 "+.5",
                                                 "1.E5",
                                                 "12E5",
                                                 "1.5E-3",
                                                 "1.e5",
                                                 "'a'",
                                                 "''",
                                                 "'it''s'",
                                                 "'\n'",
                                                 "'x' \r\n",
                                                 "'x'\t",
                                                 "'x'\"",
                                                 "$",
                                                 "*",
                                                 "#1",
                                                 "#99999999999",
                                                 ".T.",
                                                 ".1.",
                                                 "..A.",
                                                 "\"0F\"",
                                                 "\"\"",
                                                 "()",
                                                 "((1),$)",
                                                 "A(1)",
                                                 "X(Y())",
                                                 "!U()",
                                                 "/**/",
                                                 "/*'*/",
                                                 "/* ;\n#1=A(1); */",
                                                 "&SCOPE",
                                                 "ENDSCOPE",
                                                 "ENDSEC;",
                                                 "DATA;",
                                                 "END-ISO;",
                                                 "STEP;",
                                                 " ",
                                                 "\t",
                                                 "\r\n",
                                                 "\n",
                                                 ",",
                                                 "(",
                                                 ")",
                                                 ";",
                                                 "=",
                                                 "'",
                                                 "/",
                                                 "#2=A();",
                                                 "(A()B())",
                                                 "#3=(A(1)B('x'));",
                                                 "\n#4=A('\n;\n#5=A(');",
                                                 "\xe5\xb7\xa5"};
  return words;
}

std::string PickWord(const std::string& text, const std::vector<Range>& tokens, Random& random) {
  if (!tokens.empty() && Pick(random, 4) == 0) return Cut(text, tokens[Pick(random, tokens.size())]);
  return Words()[Pick(random, Words().size())];
}

/// Puts a word in the place of a token, before it or behind it.
std::string MutateToken(std::string text, Random& random) {
  const std::vector<Range> tokens = FindTokens(text, kSeparators);
  if (tokens.empty()) return text;
  const std::string word = PickWord(text, tokens, random);
  const Range token = tokens[Pick(random, tokens.size())];
  switch (Pick(random, 4)) {
  case 0:
    return text.replace(token.begin, token.end - token.begin, word);
  case 1:
    return text.insert(token.begin, word);
  case 2:
    return text.insert(token.end, word);
  default:
    return text.insert(token.end, "," + word);
  }
}

/// Leaves out the text between two semicolons, or repeats it elsewhere.
std::string MutateEntities(std::string text, Random& random) {
  const std::vector<Range> entities = FindTokens(text, ";");
  if (entities.empty()) return text;
  const Range entity = entities[Pick(random, entities.size())];
  if (Pick(random, 3) == 0) return text.erase(entity.begin, entity.end - entity.begin);
  return text.insert(entities[Pick(random, entities.size())].begin, Cut(text, entity) + ";");
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
  Random random(seed);
  const std::size_t kind = Pick(random, 8);
  if (kind == 0) return LLVMFuzzerMutate(data, size, maxSize);
  const std::string text(reinterpret_cast<const char*>(data), size);
  return ReturnInput(kind == 1 ? MutateEntities(text, random) : MutateToken(text, random), data, size,
                     maxSize);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const StepScan whole = ScanByUs(text, text.size() + 1);
  const StepScan sections = ScanByUs(text, 1 + size / 8);
  MIREL_FUZZ_CHECK(!sections.isGood || (whole.isGood && whole.records == sections.records),
                   "In sections it is something else");
  if (whole.isGood) {
    const StepScan theirs = ScanByOpenCascade(text);
    MIREL_FUZZ_CHECK(theirs.isGood, "OpenCASCADE finds an error");
    MIREL_FUZZ_CHECK(theirs.records == whole.records, "OpenCASCADE finds other records");
  }
  return 0;
}
