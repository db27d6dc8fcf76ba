#include <Programs/mirel/Check/FolderCheck.h>
#include <Programs/mirel/Seal/FolderSeal.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <Tests/Programs/mirel/Damage.h>
#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <BRepBuilderAPI_Copy.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeWedge.hxx>
#include <BRep_Builder.hxx>
#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Shape.hxx>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace mirel {
namespace {

using Level = FolderCheck::Level;

// A sound folder, to be damaged.
struct Folder : TestFolder {
  Folder() {
    LiteModel model;
    FillAssembly(model);
    LiteModelWriter(model).Save(GetPath());
  }
};

std::string BodyText10() {
  return ToText(MakeBox(1, 2, 3));
}
std::string BodyText11() {
  return ToText(MakeBox(4, 4, 4));
}
std::string Record(const TopoDS_Shape& shape) {
  return ToRecord(MakeGRep(std::make_shared<TopoShape>(shape)));
}
std::string Record10() {
  return ToRecord(MakeGRep(MakeBox(1, 2, 3)));
}
std::string Record11() {
  return ToRecord(MakeGRep(MakeBox(4, 4, 4)));
}

std::string Json(const std::unique_ptr<LiteModelItem>& item) {
  return WriteItem(*item, LiteModel());
}

// The record, of version 1, of a body of 6 faces and 12 edges of which nothing could be drawn.
std::string EmptyRecord() {
  std::string record = Record11().substr(0, 132);
  record[4] = 1;
  record[7] = 0;  // the box
  for (int i = 8; i < 84; ++i)
    record[static_cast<std::size_t>(i)] = 0;  // sizes and counts, and the corners of the box
  record[8] = 24;
  record[24] = 6;
  record[32] = 12;
  return record + std::string(24, '\0');
}

// The same faces as a box has, none of them joined to another.
TopoDS_Shape LooseFaces(double x, double y, double z) {
  TopoDS_Compound compound;
  BRep_Builder().MakeCompound(compound);
  for (TopExp_Explorer faces(MakeBox(x, y, z)->GetImpl(), TopAbs_FACE); faces.More(); faces.Next()) {
    BRep_Builder().Add(compound, BRepBuilderAPI_Copy(faces.Current()).Shape());
  }
  return compound;
}

// The codes of all that was found, in order.
std::string Codes(const FindingList& findings) {
  std::string codes;
  for (std::size_t i = 0; i < kCheckCodeCount; ++i) {
    if (findings.GetCount(static_cast<CheckCode>(i)) > 0) {
      codes += (codes.empty() ? "" : " ") + std::string(Describe(static_cast<CheckCode>(i)).id);
    }
  }
  return codes;
}

struct Case {
  const char* codes;  // all that is found, in order
  Damage damage;
  std::function<void(FolderCheck&)> prepare = nullptr;
};

// A seal, and then some other damage.
Damage Sealed(const Damage& damage) {
  return [=](const std::string& folder) {
    FolderSeal::Sums sums;
    std::string reason;
    EXPECT_TRUE(FolderSeal::Make(folder, sums, reason) && FolderSeal::Write(folder, sums, reason)) << reason;
    damage(folder);
  };
}

// A type of so many groups in each other, with a shape in the innermost.
std::string DeepType(int groups) {
  std::string text = R"({"Type":"Shape","Id":"70000","Name":"","SId":"10","FColor":[]})";
  for (int i = 1; i <= groups; ++i)
    text =
        R"({"Type":"Group","Id":")" + std::to_string(70000 + i) + R"(","Name":"","Children":[)" + text + "]}";
  return text;
}

// Adds types, and an item that is an instance of the last of them.
Damage Types(unsigned long long count,
             const std::function<std::unique_ptr<LiteModelItem>(unsigned long long)>& make) {
  return Change("index.gz", [=](std::string& text) {
    std::string types;
    for (unsigned long long id = 1000; id < 1000 + count; ++id)
      types += Json(make(id)) + ",";
    text.insert(text.find("\"Types\":[") + 9, types);
    text.insert(text.find("\"Items\":[") + 9, Json(MakeInstance(9, "", 999 + count)) + ",");
  });
}
std::function<void(FolderCheck&)> Reading(const std::function<void()>& act, unsigned int seconds = 60) {
  return [=](FolderCheck& check) {
    check.SetBodySeconds(seconds);
    check.SetBodyReader([=](const std::string& text) {
      if (text == BodyText10()) act();
      return TopoShape::Read(text);
    });
  };
}

const std::vector<Case>& Cases() {
  static const auto before = [](unsigned long long id) { return id == 1000 ? 100 : id - 1; };
  static const std::vector<Case> cases = {
    {"", NoDamage()},
    {"I001", Remove("index.gz")},
    {"I001", Put("index.gz", "no gzip")},
    {"I002", Edit("{\"Version\":1,", "{\"Version\":1")},
    {"I002", Change("index.gz", [](std::string& text) { text = std::string(100000, '['); })},
    {"I003", Change("index.gz", [](std::string& text) { text = "[]"; })},
    {"I003 I022", Edit("\"Types\"", "\"types\"")},
    {"I003", Change("index.gz",
                    [](std::string& text) {
                      text = R"({"Version":1,"Author":"Orvane","Types":[],"Items":{}})";
                    })},
    {"I004", Edit("\"Version\":1,", "\"Version\":2,")},
    {"I005 P009 A001", Edit("\"PkgShape\":1", "\"PkgShape\":-1")},
    {"I008 P009 A001 A002", Edit("{\"PkgShape\":1,\"PkgGRep\":1}", "[1,1]")},
    {"I006", Edit("\"Items\":[", "\"Items\":[7,")},
    {"I006", Edit("\"Type\":\"Instance\",\"Id\":\"2\"", "\"Type\":\"Copy\",\"Id\":\"2\"")},
    {"I007 I018 A003 A004",
     Edit("\"Children\":[{\"Type\":\"Shape\"", "\"Children\":{},\"Child\":[{\"Type\":\"Shape\"")},
    {"I008", Edit("\"Name\":\"Bolt\"", "\"Name\":7")},
    {"I009 A003 A004", Edit("\"SId\":\"10\"", "\"SId\":\"ten\"")},
    {"I009 I022", Edit("\"TId\":\"100\"", "\"Tag\":\"100\"")},
    {"I010", Edit("\"Id\":\"5\",", "")},
    {"I011", Edit(",2.0,1.0]", ",2.0]")},
    {"I011", Edit(",2.0,1.0]", ",2.0,1.0,0]")},
    {"I011", Edit(",2.0,1.0]", ",2.0,null]")},
    {"I012", Edit(",2.0,1.0]", ",2.0,2.0]")},
    {"I012", Edit(",2.0,1.0]", ",1e300,1.0]")},
    {"I012", Edit("\"Transform\":[1.0,", "\"Transform\":[0.0,")},
    {"I013", Edit("\"Color\":[1.0,", "\"Color\":[1.5,")},
    {"I014", Edit("{\"FId\":0,", "{")},
    {"I015", Edit("{\"FId\":0,", "{\"FId\":5,")},
    {"I016 I017", Change("index.gz",
                         [](std::string& text) {
                           const std::size_t begin = text.find("\"Types\":[") + 9;
                           const std::size_t end = text.find("],\"Items\"");
                           text.insert(begin, text.substr(begin, end - begin) + ",");
                         })},
    {"I017", Edit("\"Id\":\"3\"", "\"Id\":\"2\"")},
    {"I018", Edit("\"TId\":\"100\"", "\"TId\":\"101\"")},
    {"I019", Edit("\"Children\":[{\"Type\":\"Shape\"", "\"Children\":[{\"Type\":\"Instance\",\"Id\":\"9\","
                                                       "\"Name\":\"\",\"TId\":\"100\"},{\"Type\":\"Shape\"")},
    // Types in each other: the text is flat, what it unfolds into is not.
    {"I020", Types(kMaxNesting, [](unsigned long long id) { return MakeInstance(id, "", before(id)); })},
    {"I020 I024", Edit("\"Types\":[", "\"Types\":[" + DeepType(kMaxNesting) + ",")},
    {"I011", Edit(",2.0,1.0]", ",1.8e308,1.0]")},
    {"I021", Types(70,
                   [](unsigned long long id) {
                     return MakeGroup(id, "", MakeInstance(2 * id, "", before(id)),
                                      MakeInstance(2 * id + 1, "", before(id)));
                   })},
    {"I022", Edit("\"Name\":\"Bolt\"", "\"Name\":\"Bolt\",\"Weight\":7")},
    {"I023", Edit("\"Name\":\"Bolt\"", "\"Name\":\"Bolt\",\"Name\":\"Nut\"")},
    {"I024", Edit("\"Types\":[", R"("Types":[{"Type":"Group","Id":"900","Name":"","Children":[]},)")},
    {"I025", Edit("\"Name\":\"Bolt\"", "\"Name\":\"B\\u0000lt\"")},
    {"I025", Edit("\"Name\":\"Bolt\"", "\"Name\":\"B\xFFlt\"")},
    {"I026", Change("index.gz", [](std::string& text) { text += std::string("\0 more", 6); })},

    {"P001 A002", Remove("grep/1.gz")},
    {"P001 A001", Remove("model")},
    {"P001", Edit("\"PkgShape\":1", "\"PkgShape\":2")},
    {"P002 A001", Put("model/1.gz", "no gzip")},
    {"P001 P002 A001", Put("model", "")},
#if !defined(_WIN32)
    {"P002 P003 A001",
     [](const std::string& folder) {
       Remove("model/1.gz")(folder);
       fs::create_symlink("/dev/zero", fs::u8path(folder + "model/1.gz"));
     }},
    {"P003 P010",
     [](const std::string& folder) {
       fs::rename(fs::u8path(folder + "model"), fs::u8path(folder + "moved"));
       fs::create_directory_symlink("moved", fs::u8path(folder + "model"));
     }},
#endif
    {"P004 A001", Pack("model/1.gz", {})},
    {"P004 A002", Change("grep/1.gz", [](std::string& bytes) { bytes.replace(0, 4, "\xFF\xFF\xFF\xFF"); })},
    {"P005 B003 A002", Change("grep/1.gz", [](std::string& bytes) { bytes.pop_back(); })},
    {"P006", Change("grep/1.gz", [](std::string& bytes) { bytes += "more"; })},
    {"P007", Change("grep/1.gz", [](std::string& bytes) { bytes[4 + 16 + 8] = 1; })},
    {"P008", Pack("grep/1.gz", {{10, Record11()}, {11, Record11()}, {10, Record10()}})},
    {"P009", Pack("grep/2.gz", {{10, Record10()}})},
    {"P010", Put("notes.txt", "")},
    {"P010", Put("model/01.gz", "")},
    {"P011 A003", Pack("model/1.gz", {{10, BodyText10()}, {11, BodyText11()}, {0, BodyText11()}})},
    {"P001 P012", Edit("\"PkgGRep\":1", "\"PkgGRep\":4294967295")},

    {"", Sealed(NoDamage())},
    {"P001 S001 A001", [](const std::string& folder) {
       Sealed(Remove("model"))(folder);
       WriteFile(folder + "SHA256SUMS", ReadFile(folder + "SHA256SUMS") + "no checksum\n");
     }},
    {"S001", Put("SHA256SUMS", std::string(64, '0') + "  ../index.gz\n")},
#if !defined(_WIN32)
    {"P003 S001",
     [](const std::string& folder) { fs::create_symlink("/dev/zero", fs::u8path(folder + "SHA256SUMS")); }},
#endif
    {"S002", Sealed(Edit("\"Name\":\"Bolt\"", "\"Name\":\"Nut\""))},
    {"P001 S003 A002", Sealed(Remove("grep/1.gz"))},
    {"P009 S004", Sealed(Pack("grep/2.gz", {{10, Record10()}}))},

    {"B001 A001", Pack("model/1.gz", {{10, BodyText10() + "x"}, {11, BodyText11()}})},
    {"B002 A001", NoDamage(),
     [](FolderCheck& check) {
       check.SetBodyReader([](const std::string&) { return std::make_shared<TopoShape>(TopoDS_Shape()); });
     }},
    {"B003 A002", Pack("grep/1.gz", {{10, "GRep"}, {11, Record11()}})},
    {"B004", Pack("grep/1.gz", {{10, Record10() + "x"}, {11, Record11()}})},
    {"B005 A001", NoDamage(), Reading([] { throw Standard_Failure("no"); })},
#if !defined(_WIN32)
    {"B005 A001", NoDamage(), Reading([] { std::abort(); })},
    {"B006 A001", NoDamage(), Reading(
                                [] {
                                  for (volatile int i = 0; i == 0;) {
                                  }
                                },
                                1)},
#endif

    {"A001", Pack("model/1.gz", {{11, BodyText11()}})},
    {"A002", Pack("grep/1.gz", {{10, Record10()}})},
    {"A003 A004", Edit(R"("SId":"10")", R"("SId":"11")")},
    {"A005 A006 A008",
     Pack("grep/1.gz", {{10, Record10()}, {11, Record(BRepPrimAPI_MakeCylinder(2, 4).Shape())}})},
    {"A006", Pack("grep/1.gz", {{10, Record(LooseFaces(1, 2, 3))}, {11, Record11()}})},
    {"A007", Edit("{\"FId\":5,", "{\"FId\":-1,")},
    {"A008 A009", Pack("grep/1.gz", {{10, Record11()}, {11, Record10()}})},
    {"A009", Pack("grep/1.gz", {{10, Record(BRepPrimAPI_MakeWedge(1, 2, 3, 0.2, 0.2, 0.8, 2.5).Shape())},
                                {11, Record11()}})},
    {"A010", Pack("grep/1.gz", {{10, Record10()}, {11, EmptyRecord()}})},
    {"A011", Pack("grep/1.gz", {{10, Record(MakeBox(1, 2, 3)->GetImpl().Reversed())}, {11, Record11()}})},
  };
  return cases;
}

TEST(FolderCheckTest, FindsEachKindOfDamageAndNothingElse) {
  std::string all;
  for (std::size_t i = 0; i < Cases().size(); ++i) {
    const Case& damage = Cases()[i];
    SCOPED_TRACE("case " + std::to_string(i) + ": " + damage.codes);
    Folder folder;
    damage.damage(folder.GetPath());
    FolderCheck check(folder.GetPath());
    if (damage.prepare) {
      damage.prepare(check);
    }
    check.Run(Level::kAgreement);
    const std::string codes = Codes(check.GetFindings());
    EXPECT_EQ(codes, damage.codes) << check.GetFindings().ToText();
    all += codes + " ";

    if (codes.find("I021") != std::string::npos) {
      continue;  // ten million nodes
    }
    // A reader agrees on whether the folder opens, and complains about nothing that is no error here.
    const LogCapture log;
    const auto root = LiteSceneReader().Load(folder.GetPath() + "index.gz", nullptr);
    EXPECT_EQ(root != nullptr, check.GetFigures().opens);
    if (check.GetFindings().GetErrorCount() == 0) {
      EXPECT_TRUE(log.GetTexts(3).empty()) << log.GetTexts(3)[0];
    }
  }

  // What is documented is what there is, and all of it has been found here.
  std::istringstream document(ReadFile(MIREL_SOURCE_DIR "/docs/check.md"));
  std::set<std::string> documented;
  for (std::string line; std::getline(document, line);) {
    CheckCode code{};
    if (line.size() < 6 || !FindCheckCode(line.substr(2, 4), code)) {
      EXPECT_FALSE(line.size() > 6 && line[0] == '|' && line[3] == '0') << "unknown code: " << line;
      continue;
    }
    const CheckCodeEntry& entry = Describe(code);
    const std::string row = std::string("| ") + entry.id + " | " + (entry.isError ? "error" : "warning") +
                            " | " + entry.meaning + " | ";
    EXPECT_EQ(line.substr(0, row.size()), row);
    documented.insert(entry.id);
    EXPECT_TRUE(all.find(entry.id) != std::string::npos || entry.id[0] == 'V' || entry.id[0] == 'X')
        << "no case finds " << entry.id;
  }
  EXPECT_EQ(documented.size(), kCheckCodeCount);
}

TEST(FolderCheckTest, EachLevelGoesAsFarAsItSays) {
  Folder folder;
  WriteFile(folder.GetPath() + "notes.txt", "");
  Pack("model/1.gz", {{10, "no text"}, {11, BodyText11()}})(folder.GetPath());
  const auto codes = [&](Level level) {
    FolderCheck check(folder.GetPath());
    check.Run(level);
    return Codes(check.GetFindings());
  };
  EXPECT_EQ(codes(Level::kIndex), "");
  EXPECT_EQ(codes(Level::kPackages), "P010");
  EXPECT_EQ(codes(Level::kBodies), "P010 B001");
  EXPECT_EQ(codes(Level::kAgreement), "P010 B001 A001");
}

TEST(FolderCheckTest, TellsWhatIsLeft) {
  Folder folder;
  Pack("model/1.gz", {{10, "no text"}, {11, BodyText11()}})(folder.GetPath());
  Pack("grep/1.gz", {{10, Record10()}, {11, "no record"}})(folder.GetPath());
  FolderCheck damaged(folder.GetPath());
  damaged.Run(Level::kAgreement);
  EXPECT_EQ(damaged.GetFigures().shapeItems, 4u);
  EXPECT_EQ(damaged.GetFigures().drawnItems, 1u);
  EXPECT_EQ(damaged.GetFigures().exactItems, 3u);

  // Without an index the packages are looked for and checked all the same.
  Remove("index.gz")(folder.GetPath());
  FolderCheck lost(folder.GetPath());
  lost.Run(Level::kAgreement);
  EXPECT_EQ(Codes(lost.GetFindings()), "I001 B001 B003");
  EXPECT_EQ(lost.GetFigures().bodies, 1u);
  EXPECT_EQ(lost.GetFigures().graphics, 1u);
  EXPECT_FALSE(lost.GetFigures().opens);
}

// A writer may count a package that it began and put nothing into.
TEST(FolderCheckTest, AllowsForACountThatIsOneTooMany) {
  const auto errors = [](const std::string& path) {
    FolderCheck check(path);
    check.Run(Level::kAgreement);
    return check.GetFindings().ToText();
  };
  const TestFolder full;
  LiteModel model;
  const std::shared_ptr<TopoShape> points = MakePoints(100000);
  ASSERT_GT(ToText(points).size(), static_cast<std::size_t>(kPkgSizeLimit));
  model.AddShape(Id(10), points);
  model.AddItem(MakeShape(1, "", 10));
  LiteModelWriter(model).Save(full.GetPath());
  Edit("\"PkgShape\":1", "\"PkgShape\":2")(full.GetPath());
  EXPECT_EQ(errors(full.GetPath()), "");

  const TestFolder empty;
  WriteGzip(empty.GetPath() + "index.gz",
            R"({"Version":1,"Author":"Orvane","Metadata":{"PkgShape":1,"PkgGRep":1},"Types":[],"Items":[]})");
  EXPECT_EQ(errors(empty.GetPath()), "");
}

// Whatever is done to the bytes: the check ends, agrees with the reader on whether the folder opens, and finds an error
// wherever the reader complains.
TEST(FolderCheckTest, MissesNothingThatAReaderComplainsAbout) {
  Folder sound;
  int damaged = 0;
  for (const std::string file : {"index.gz", "grep/1.gz", "model/1.gz"}) {
    const std::string packed = ReadFile(sound.GetPath() + file);
    const std::string content = Inflate(sound.GetPath() + file);
    Folder folder;
    const auto look = [&](const std::string& what) {
      FolderCheck check(folder.GetPath());
      check.Run(Level::kAgreement);
      const LogCapture log;
      const bool opens = LiteSceneReader().Load(folder.GetPath() + "index.gz", nullptr) != nullptr;
      EXPECT_EQ(opens, check.GetFigures().opens) << file << " " << what;
      EXPECT_TRUE(log.GetTexts(3).empty() || check.GetFindings().GetErrorCount() > 0)
          << file << " " << what << ": " << log.GetTexts(3)[0];
      damaged += check.GetFindings().GetErrorCount() > 0;
    };
    for (std::size_t cut = 0; cut < packed.size(); cut += 1 + packed.size() / 8) {
      WriteFile(folder.GetPath() + file, packed.substr(0, cut));
      look("cut at " + std::to_string(cut));
    }
    for (std::size_t cut = 0; cut < content.size(); cut += 1 + content.size() / 12) {
      WriteGzip(folder.GetPath() + file, content.substr(0, cut));
      look("content cut at " + std::to_string(cut));
    }
    for (std::size_t at = 0; at < content.size(); at += 1 + content.size() / 60) {
      std::string changed = content;
      changed[at] = static_cast<char>(changed[at] ^ (at % 2 == 0 ? 0x01 : 0xFF));
      WriteGzip(folder.GetPath() + file, changed);
      look("changed at " + std::to_string(at));
    }
  }
  EXPECT_GT(damaged, 100);
}

TEST(FindingListTest, PrintsSomeAndCountsAll) {
  FindingList findings;
  for (int i = 0; i < 5000; ++i) {
    findings.Add(CheckCode::kNoItem, "index.gz", "element " + std::to_string(i) + "\n\x1b");
  }
  findings.Add(CheckCode::kForeignFile, "notes.txt", "does not belong");
  EXPECT_EQ(findings.GetErrorCount(), 5000u);
  EXPECT_EQ(findings.GetWarningCount(), 1u);
  EXPECT_EQ(findings.GetFindings(CheckCode::kNoItem).size(), 1000u);
  const std::string text = findings.ToText();
  EXPECT_NE(
      text.find(
          "I006 error index.gz: element 19\\n\\u{1b}\nI006 ... and 4980 more\nP010 warning notes.txt: does"),
      std::string::npos)
      << text;
}

}  // namespace
}  // namespace mirel
