#include <Programs/mirel/Check/FolderCheck.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

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
class Folder {
 public:
  Folder() {
    LiteModel model;
    FillAssembly(model);
    LiteModelWriter(model).Save(GetPath());
  }

  const std::string& GetPath() const { return folder_.GetPath(); }

  // Replaces a part of the index, once.
  void Edit(const std::string& from, const std::string& to) {
    std::string index = Inflate(GetPath() + "index.gz");
    const std::size_t at = index.find(from);
    ASSERT_NE(at, std::string::npos) << from << " in " << index;
    WriteGzip(GetPath() + "index.gz", index.replace(at, from.size(), to));
  }
  // Changes the inflated content of a file.
  void Change(const std::string& file, const std::function<void(std::string&)>& change) {
    std::string content = Inflate(GetPath() + file);
    change(content);
    WriteGzip(GetPath() + file, content);
  }
  // Puts another package in the place of one.
  void Pack(const std::string& file, const std::vector<std::pair<unsigned long long, std::string>>& items) {
    WriteGzip(GetPath() + file, MakePackage(items));
  }
  void Remove(const std::string& file) { fs::remove_all(fs::u8path(GetPath() + file)); }

 private:
  TestFolder folder_;
};

std::string BodyText(double x, double y, double z) {
  return ToText(MakeBox(x, y, z));
}
std::string BodyText10() {
  return BodyText(1, 2, 3);
}
std::string BodyText11() {
  return BodyText(4, 4, 4);
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

// The record of a body of 6 faces and 12 edges of which nothing could be drawn.
std::string EmptyRecord() {
  std::string record = Record11().substr(0, 132);
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

std::set<std::string> Codes(const FindingList& findings) {
  std::set<std::string> codes;
  for (std::size_t i = 0; i < kCheckCodeCount; ++i) {
    if (findings.GetCount(static_cast<CheckCode>(i)) > 0) {
      codes.insert(Describe(static_cast<CheckCode>(i)).id);
    }
  }
  return codes;
}

std::string Join(const std::set<std::string>& codes) {
  std::string text;
  for (const std::string& code : codes) {
    text += (text.empty() ? "" : " ") + code;
  }
  return text;
}

struct Case {
  const char* codes;  // all that is found, in order
  std::function<void(Folder&)> damage;
  std::function<void(FolderCheck&)> prepare = nullptr;
};

std::shared_ptr<TopoShape> Unsafe(const std::string& text, const std::function<void()>& act) {
  if (text == BodyText10()) {
    act();
  }
  return TopoShape::Read(text);
}

const std::vector<Case>& Cases() {
  const auto bytes = [](const char* file, std::size_t at, const std::string& put) {
    return [=](Folder& f) {
      f.Change(file, [&](std::string& content) { content.replace(at, put.size(), put); });
    };
  };
  const auto edit = [](const char* from, const char* to) { return [=](Folder& f) { f.Edit(from, to); }; };
  static const std::vector<Case> cases = {
    {"", [](Folder&) {}},
    {"I001", [](Folder& f) { f.Remove("index.gz"); }},
    {"I001", [](Folder& f) { WriteFile(f.GetPath() + "index.gz", "no gzip"); }},
    {"I001",
     [](Folder& f) {
       f.Remove("index.gz");
       fs::create_directory(fs::u8path(f.GetPath() + "index.gz"));
     }},
    {"I002", edit("{\"Version\":1,", "{\"Version\":1")},
    {"I002",
     [](Folder& f) { f.Change("index.gz", [](std::string& text) { text = std::string(100000, '['); }); }},
    {"I003", [](Folder& f) { f.Change("index.gz", [](std::string& text) { text = "[]"; }); }},
    {"I003 I022", edit("\"Types\"", "\"types\"")},
    {"I003",
     [](Folder& f) {
       f.Change("index.gz",
                [](std::string& text) { text = R"({"Version":1,"Author":"Orvane","Types":[],"Items":{}})"; });
     }},
    {"I004", edit("\"Version\":1,", "\"Version\":2,")},
    {"A001 I005 P009", edit("\"PkgShape\":1", "\"PkgShape\":-1")},
    {"A001 A002 I008 P009", edit("{\"PkgShape\":1,\"PkgGRep\":1}", "[1,1]")},
    {"I006", edit("\"Items\":[", "\"Items\":[7,")},
    {"I006", edit("\"Type\":\"Instance\",\"Id\":\"2\"", "\"Type\":\"Copy\",\"Id\":\"2\"")},
    {"I007 I018 A003 A004",
     edit("\"Children\":[{\"Type\":\"Shape\"", "\"Children\":{},\"Child\":[{\"Type\":\"Shape\"")},
    {"I008", edit("\"Name\":\"Bolt\"", "\"Name\":7")},
    {"A003 A004 I009", edit("\"SId\":\"10\"", "\"SId\":\"ten\"")},
    {"I009 I022", edit("\"TId\":\"100\"", "\"Tag\":\"100\"")},
    {"I010", edit("\"Id\":\"5\",", "")},
    {"I011", edit(",2.0,1.0]", ",2.0]")},
    {"I011", edit(",2.0,1.0]", ",2.0,1.0,0]")},
    {"I011", edit(",2.0,1.0]", ",2.0,null]")},
    {"I012", edit(",2.0,1.0]", ",2.0,2.0]")},
    {"I012", edit(",2.0,1.0]", ",1e300,1.0]")},
    {"I012", edit("\"Transform\":[1.0,", "\"Transform\":[0.0,")},
    {"I013", edit("\"Color\":[1.0,", "\"Color\":[1.5,")},
    {"I014", edit("{\"FId\":0,", "{")},
    {"I015", edit("{\"FId\":0,", "{\"FId\":5,")},
    {"I016 I017",
     [](Folder& f) {
       f.Change("index.gz", [](std::string& text) {
         const std::size_t begin = text.find("\"Types\":[") + 9;
         text.insert(begin, text.substr(begin, text.find("],\"Items\"") - begin) + ",");
       });
     }},
    {"I017", edit("\"Id\":\"3\"", "\"Id\":\"2\"")},
    {"I018", edit("\"TId\":\"100\"", "\"TId\":\"101\"")},
    {"I019", edit("\"Children\":[{\"Type\":\"Shape\"", "\"Children\":[{\"Type\":\"Instance\",\"Id\":\"9\","
                                                       "\"Name\":\"\",\"TId\":\"100\"},{\"Type\":\"Shape\"")},
    {"I020",
     [](Folder& f) {
       f.Change("index.gz", [](std::string& text) {
         // Types in each other: the text is flat, what it unfolds into is not.
         std::string types;
         for (unsigned long long i = 1000; i < 1000 + kMaxNesting; ++i) {
           types += Json(MakeInstance(i, "", i == 1000 ? 100 : i - 1)) + ",";
         }
         text.insert(text.find("\"Types\":[") + 9, types);
         text.insert(text.find("\"Items\":[") + 9, Json(MakeInstance(9, "", 1000 + kMaxNesting - 1)) + ",");
       });
     }},
    {"I021",
     [](Folder& f) {
       f.Change("index.gz", [](std::string& text) {
         std::string types;
         for (unsigned long long i = 1000; i < 1070; ++i) {
           const unsigned long long inner = i == 1000 ? 100 : i - 1;
           types +=
               Json(MakeGroup(i, "", MakeInstance(2 * i, "", inner), MakeInstance(2 * i + 1, "", inner))) +
               ",";
         }
         text.insert(text.find("\"Types\":[") + 9, types);
         text.insert(text.find("\"Items\":[") + 9, Json(MakeInstance(9, "", 1069)) + ",");
       });
     }},
    {"I022", edit("\"Name\":\"Bolt\"", "\"Name\":\"Bolt\",\"Weight\":7")},
    {"I023", edit("\"Name\":\"Bolt\"", "\"Name\":\"Bolt\",\"Name\":\"Nut\"")},
    {"I024", edit("\"Types\":[", R"("Types":[{"Type":"Group","Id":"900","Name":"","Children":[]},)")},
    {"I025", edit("\"Name\":\"Bolt\"", "\"Name\":\"B\\u0000lt\"")},
    {"I025", edit("\"Name\":\"Bolt\"", "\"Name\":\"B\xFFlt\"")},
    {"I026",
     [](Folder& f) { f.Change("index.gz", [](std::string& text) { text += std::string("\0 more", 6); }); }},

    {"A002 P001", [](Folder& f) { f.Remove("grep/1.gz"); }},
    {"A001 P001", [](Folder& f) { f.Remove("model"); }},
    {"P001", edit("\"PkgShape\":1", "\"PkgShape\":2")},
    {"A001 P002",
     [](Folder& f) { WriteFile(f.GetPath() + "model/1.gz", ReadFile(f.GetPath() + "model/1.gz") + "x"); }},
    {"A001 P002",
     [](Folder& f) {
       f.Remove("model/1.gz");
       fs::create_directory(fs::u8path(f.GetPath() + "model/1.gz"));
     }},
    {"A001 P001 P002",
     [](Folder& f) {
       f.Remove("model");
       WriteFile(f.GetPath() + "model", "");
     }},
#if !defined(_WIN32)
    {"A001 P002 P003",
     [](Folder& f) {
       f.Remove("model/1.gz");
       fs::create_symlink("/dev/zero", fs::u8path(f.GetPath() + "model/1.gz"));
     }},
    {"P003 P010",
     [](Folder& f) {
       fs::rename(fs::u8path(f.GetPath() + "model"), fs::u8path(f.GetPath() + "moved"));
       fs::create_directory_symlink("moved", fs::u8path(f.GetPath() + "model"));
     }},
#endif
    {"A001 P004", [](Folder& f) { f.Pack("model/1.gz", {}); }},
    {"A002 P004", bytes("grep/1.gz", 0, "\xFF\xFF\xFF\xFF")},
    {"A002 P005", [](Folder& f) { f.Change("grep/1.gz", [](std::string& content) { content.pop_back(); }); }},
    {"P006", [](Folder& f) { f.Change("grep/1.gz", [](std::string& content) { content += "more"; }); }},
    {"P007", bytes("grep/1.gz", 4 + 16 + 8, "\x01")},
    {"P008",
     [](Folder& f) {
       f.Pack("grep/1.gz", {{10, Record11()}, {11, Record11()}, {10, Record10()}});
     }},
    {"P009",
     [](Folder& f) {
       f.Pack("grep/2.gz", {{10, Record10()}});
     }},
    {"P010",
     [](Folder& f) {
       WriteFile(f.GetPath() + "notes.txt", "");
       WriteFile(f.GetPath() + "model/01.gz", "");
     }},
    {"A003 P011",
     [](Folder& f) {
       f.Pack("model/1.gz", {{10, BodyText10()}, {11, BodyText11()}, {0, BodyText11()}});
     }},
    {"P001 P012", edit("\"PkgGRep\":1", "\"PkgGRep\":4294967295")},

    {"A001 B001",
     [](Folder& f) {
       f.Pack("model/1.gz", {{10, BodyText10() + "x"}, {11, BodyText11()}});
     }},
    {"A001 B002", [](Folder&) {},
     [](FolderCheck& check) {
       check.SetBodyReader([](const std::string&) { return std::make_shared<TopoShape>(TopoDS_Shape()); });
     }},
    {"A002 B003",
     [](Folder& f) {
       f.Pack("grep/1.gz", {{10, "GRep"}, {11, Record11()}});
     }},
    {"B004",
     [](Folder& f) {
       f.Pack("grep/1.gz", {{10, Record10() + "x"}, {11, Record11()}});
     }},
    {"A001 B005", [](Folder&) {},
     [](FolderCheck& check) {
       check.SetBodyReader(
           [](const std::string& text) { return Unsafe(text, [] { throw Standard_Failure("no"); }); });
     }},
#if !defined(_WIN32)
    {"A001 B005", [](Folder&) {},
     [](FolderCheck& check) {
       check.SetBodyReader([](const std::string& text) { return Unsafe(text, [] { std::abort(); }); });
     }},
    {"A001 B006", [](Folder&) {},
     [](FolderCheck& check) {
       check.SetBodySeconds(1);
       check.SetBodyReader([](const std::string& text) {
         return Unsafe(text, [] {
           for (volatile int i = 0;; i = i + 1) {
             i = 0;
           }
         });
       });
     }},
#endif

    {"A001",
     [](Folder& f) {
       f.Pack("model/1.gz", {{11, BodyText11()}});
     }},
    {"A002",
     [](Folder& f) {
       f.Pack("grep/1.gz", {{10, Record10()}});
     }},
    {"A003 A004", [](Folder& f) { f.Edit(R"("SId":"10")", R"("SId":"11")"); }},
    {"A005 A006 A008",
     [](Folder& f) {
       f.Pack("grep/1.gz", {{10, Record10()}, {11, Record(BRepPrimAPI_MakeCylinder(2, 4).Shape())}});
     }},
    {"A006",
     [](Folder& f) {
       f.Pack("grep/1.gz", {{10, Record(LooseFaces(1, 2, 3))}, {11, Record11()}});
     }},
    {"A007", edit("{\"FId\":5,", "{\"FId\":-1,")},
    {"A008 A009",
     [](Folder& f) {
       f.Pack("grep/1.gz", {{10, Record11()}, {11, Record10()}});
     }},
    {"A009",
     [](Folder& f) {
       f.Pack("grep/1.gz",
              {{10, Record(BRepPrimAPI_MakeWedge(1, 2, 3, 0.2, 0.2, 0.8, 2.5).Shape())}, {11, Record11()}});
     }},
    {"A010",
     [](Folder& f) {
       f.Pack("grep/1.gz", {{10, Record10()}, {11, EmptyRecord()}});
     }},
  };
  return cases;
}

TEST(FolderCheckTest, FindsEachKindOfDamageAndNothingElse) {
  std::set<std::string> all;
  for (std::size_t i = 0; i < Cases().size(); ++i) {
    const Case& damage = Cases()[i];
    SCOPED_TRACE("case " + std::to_string(i) + ": " + damage.codes);
    Folder folder;
    damage.damage(folder);
    FolderCheck check(folder.GetPath());
    if (damage.prepare) {
      damage.prepare(check);
    }
    check.Run(Level::kAgreement);
    const std::set<std::string> codes = Codes(check.GetFindings());
    std::istringstream words(damage.codes);
    std::set<std::string> expected;
    for (std::string word; words >> word;) {
      expected.insert(word);
    }
    EXPECT_EQ(Join(codes), Join(expected)) << check.GetFindings().ToText();
    all.insert(codes.begin(), codes.end());

    if (codes.count("I021") > 0) {
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
    EXPECT_TRUE(all.count(entry.id) > 0 || entry.id[0] == 'V') << "no case finds " << entry.id;
  }
  EXPECT_EQ(documented.size(), kCheckCodeCount);
}

TEST(FolderCheckTest, EachLevelGoesAsFarAsItSays) {
  Folder folder;
  WriteFile(folder.GetPath() + "notes.txt", "");
  folder.Pack("model/1.gz", {{10, "no text"}, {11, BodyText11()}});
  const auto codes = [&](Level level) {
    FolderCheck check(folder.GetPath());
    check.Run(level);
    return Join(Codes(check.GetFindings()));
  };
  EXPECT_EQ(codes(Level::kIndex), "");
  EXPECT_EQ(codes(Level::kPackages), "P010");
  EXPECT_EQ(codes(Level::kBodies), "B001 P010");
  EXPECT_EQ(codes(Level::kAgreement), "A001 B001 P010");
}

TEST(FolderCheckTest, TellsWhatIsLeft) {
  Folder folder;
  folder.Pack("model/1.gz", {{10, "no text"}, {11, BodyText11()}});
  folder.Pack("grep/1.gz", {{10, Record10()}, {11, "no record"}});
  FolderCheck damaged(folder.GetPath());
  damaged.Run(Level::kAgreement);
  EXPECT_EQ(damaged.GetFigures().shapeItems, 4u);
  EXPECT_EQ(damaged.GetFigures().drawnItems, 1u);
  EXPECT_EQ(damaged.GetFigures().exactItems, 3u);

  // Without an index the packages are looked for and checked all the same.
  folder.Remove("index.gz");
  FolderCheck lost(folder.GetPath());
  lost.Run(Level::kAgreement);
  EXPECT_EQ(Join(Codes(lost.GetFindings())), "B001 B003 I001");
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
  std::string index = Inflate(full.GetPath() + "index.gz");
  WriteGzip(full.GetPath() + "index.gz", index.replace(index.find("\"PkgShape\":1"), 12, "\"PkgShape\":2"));
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
