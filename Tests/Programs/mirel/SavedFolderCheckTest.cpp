#include <Programs/mirel/Check/FindingList.h>
#include <Programs/mirel/Save/SavedFolderCheck.h>

#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <Tests/Programs/mirel/Damage.h>
#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

namespace mirel {
namespace {

struct Case {
  const char* what;
  const char* code;  // the one kind of finding; empty for none
  Damage change;
};

TEST(SavedFolderCheckTest, FindsWhatWasNotSavedAsItIs) {
  const std::string box10 = ToText(MakeBox(1, 2, 3));
  const std::string box11 = ToText(MakeBox(4, 4, 4));
  const std::string record11 = ToRecord(MakeGRep(MakeBox(4, 4, 4)));
  const std::vector<Case> cases = {
      {"nothing", "", NoDamage()},
      {"white space", "", Edit(",\"Items\"", ", \n\"Items\"")},
      {"a name", "V001", Edit("Bolt", "Bold")},
      {"a colour", "V001", Edit("\"Color\":[0.5,", "\"Color\":[0.50000006,")},
      {"a placement", "V001", Edit("20.0,0.0,0.0,1.0]", "20.000000000000004,0.0,0.0,1.0]")},
      {"a composed placement", "V001", Edit("0.0,33.0,0.0,1.0]", "0.0,30.0,0.0,1.0]")},
      {"the id of an item", "V001", Edit("\"Id\":\"102\"", "\"Id\":\"103\"")},
      {"the id of a type", "V001", Edit("\"TId\":\"100\"", "\"TId\":\"200\"")},
      {"the id of a body", "V001", Edit("\"SId\":\"10\"", "\"SId\":\"11\"")},
      {"the colour of a face", "V001", Edit("\"FId\":5", "\"FId\":4")},
      {"a kind", "V001", Edit("\"Type\":\"Instance\"", "\"Children\":[],\"Type\":\"Group\"")},
      {"an item less", "V004", Edit("{\"Type\":\"Shape\",\"Id\":\"5\"", "{\"Type\":\"None\",\"Id\":\"5\"")},
      {"a type more", "V004", Edit("\"Types\":[", R"("Types":[{"Type":"Group","Id":"7","Children":[]},)")},
      {"another type", "V004", Edit("\"Id\":\"100\"", "\"Id\":\"7\"")},
      {"a coordinate", "V002", Edit("\n1 0 0 0 ", "\n1 0 0 1 ", "model/1.gz")},
      {"two bodies swapped", "V002", Pack("model/1.gz", {{10, box11}, {11, box10}})},
      {"a body less", "V004", Pack("model/1.gz", {{10, box10}})},
      {"a body more", "V004", Pack("model/2.gz", {{12, box10}})},
      {"all bodies less", "V004", Remove("model")},
      {"graphics", "V003", Pack("grep/1.gz", {{10, record11}, {11, record11}})},
      {"graphics less", "V004", Pack("grep/1.gz", {{11, record11}})},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.what);
    const TestFolder folder;
    LiteModel model;
    FillAssembly(model);
    LiteModelWriter writer(model);
    writer.Save(folder.GetPath());
    each.change(folder.GetPath());
    LiteModel readBack;
    const LogCapture quiet;
    LiteModelReader(readBack).Load(Inflate(folder.GetPath() + "index.gz"));

    FindingList findings;
    SavedFolderCheck::Compare(model, writer.GetGRepBuilder(), folder.GetPath(), readBack, findings);
    CheckCode code{};
    const bool expected = FindCheckCode(each.code, code);
    EXPECT_EQ(findings.GetErrorCount() > 0, expected) << findings.ToText();
    EXPECT_TRUE(!expected || findings.GetCount(code) == findings.GetErrorCount()) << findings.ToText();
  }
}

// A face that is half a millimetre off its own boundary: it can be saved, but what is drawn of it is not where the
// face is.
TEST(SavedFolderCheckTest, KeepsAFolderFromItsPlace) {
  const TestFolder scratch;
  const std::string source = scratch.GetPath() + "box.brep";
  const std::string target = scratch.GetPath() + "box";
  std::string out;
  std::string err;
  const auto save = [&](std::vector<std::string> options) {
    options.insert(options.begin(), {"save", source, target});
    return Mirel(options, out, &err);
  };
  std::string text = ToText(MakeBox(1, 2, 3));
  WriteFile(source, text);
  EXPECT_EQ(save({"--verify"}), 0) << err;
  const std::string before = ReadFile(target + "/model/1.gz");

  const std::string plane = "Surfaces 6\n1 0 0 0 ";
  const std::size_t at = text.find(plane);
  ASSERT_NE(at, std::string::npos) << text;
  WriteFile(source, text.replace(at, plane.size(), "Surfaces 6\n1 0.5 0 0 "));
  EXPECT_EQ(save({"--verify", "--force"}), 3);
  EXPECT_TRUE(std::regex_search(
      err, std::regex("A009 error model/1.gz: .*\n(.|\n)*not written; nothing has been changed")))
      << err;
  EXPECT_EQ(ReadFile(target + "/model/1.gz"), before);
  EXPECT_EQ(save({"--force"}), 0) << err;
  EXPECT_NE(ReadFile(target + "/model/1.gz"), before);
}

}  // namespace
}  // namespace mirel
