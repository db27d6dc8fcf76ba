#include <Programs/mirel/Import/IdSequence.h>
#include <Programs/mirel/Import/SourceFile.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

namespace mirel {
namespace {

using Format = SourceFile::Format;

TEST(SourceFileTest, TellsTheFormat) {
  const TestFolder scratch;
  const std::string iges = std::string(72, ' ') + "S      1\n" + std::string(72, ' ') + "G      1\n";
  const struct {
    const char* name;
    std::string content;
    Format format;
  } cases[] = {
      {"a.STEP", "?", Format::kStep},
      {"b.Stp", "?", Format::kStep},
      {"c.igs", "?", Format::kIges},
      {"d.BREP", "?", Format::kBrep},
      {"Größe", "ISO-10303-21;\n", Format::kStep},
      {"e.txt", "\r\n ISO-10303-21;", Format::kStep},
      {"f", "DBRep_DrawableShape\n", Format::kBrep},
      {"f.bin", "\nOpen CASCADE Topology V4, (c) Open Cascade\n", Format::kBrep},
      {"g.dat", iges, Format::kIges},
      {"g0.dat", std::string(72, ' ') + "S0000001\n", Format::kIges},
      {"h.txt", "a letter", Format::kUnknown},
      {"i", "ISO-1030", Format::kUnknown},
  };
  for (const auto& one : cases) {
    WriteFile(scratch.GetPath() + one.name, one.content);
    const SourceFile file(scratch.GetPath() + one.name);
    EXPECT_EQ(file.GetFormat(), one.format) << one.name;
    EXPECT_EQ(file.GetError().empty(), one.format != Format::kUnknown) << one.name;
  }
  WriteFile(scratch.GetPath() + "empty.step", "");
  EXPECT_EQ(SourceFile(scratch.GetPath() + "empty.step").GetError(), "the file is empty");
  EXPECT_EQ(SourceFile(scratch.GetPath() + "none.step").GetError(), "no such file");
  EXPECT_EQ(SourceFile(scratch.GetPath()).GetError(), "is a folder, not a file");
  EXPECT_EQ(SourceFile(scratch.GetPath() + "a.STEP").GetStem(), "a");
  EXPECT_EQ(SourceFile(scratch.GetPath() + "Größe").GetStem(), "Größe");
}

// The copy lies in no folder, so nothing of it can stay, whatever ends the process.
TEST(SourceFileTest, WhatIsCompressedOrMarkedIsReadFromACopyWithoutAName) {
  const TestFolder scratch;
  const std::string content = "ISO-10303-21;\nDATA;\n";
  WriteFile(scratch.GetPath() + "plain.stp", content);
  WriteGzip(scratch.GetPath() + "设计.stp.gz", content);
  WriteGzip(scratch.GetPath() + "设计.stpz", content);
  WriteGzip(scratch.GetPath() + "设计", "\xEF\xBB\xBF" + content);
  WriteFile(scratch.GetPath() + "marked.step", "\xEF\xBB\xBF" + content);
  const std::uint64_t fingerprint = SourceFile(scratch.GetPath() + "plain.stp").GetFingerprint();
  for (const char* const name : {"设计.stp.gz", "设计.stpz", "设计", "marked.step"}) {
    SCOPED_TRACE(name);
    const std::string path = scratch.GetPath() + name;
    std::string readPath;
    {
      const SourceFile file(path);
      EXPECT_EQ(file.GetError(), "");
      EXPECT_EQ(file.GetFormat(), Format::kStep);
      EXPECT_EQ(file.GetFingerprint(), fingerprint);
      EXPECT_EQ(file.GetSize(), content.size());
      EXPECT_EQ(file.GetPath(), path);
      readPath = file.GetReadPath();
      EXPECT_EQ(ReadFile(readPath), content);
#if defined(__linux__)
      EXPECT_EQ(readPath.rfind("/proc/self/fd/", 0), 0U);
#endif
    }
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::u8path(readPath)));
  }
  EXPECT_EQ(SourceFile(scratch.GetPath() + "设计.stp.gz").GetStem(), "设计");

  WriteFile(scratch.GetPath() + "none.stp.gz", "no gzip");
  EXPECT_EQ(SourceFile(scratch.GetPath() + "none.stp.gz").GetError(), "cannot be inflated: not a gzip file");
  EXPECT_EQ(SourceFile("/dev/zero").GetError(), "not a regular file");
}

TEST(SourceFileTest, EveryByteCounts) {
  const TestFolder scratch;
  const std::string path = scratch.GetPath() + "x.step";
  std::set<std::uint64_t> seen;
  std::string content((1 << 20) + 13, 'a');  // longer than what is read at once
  std::size_t files = 0;
  const auto add = [&](const std::string& text) {
    WriteFile(path, text);
    seen.insert(SourceFile(path).GetFingerprint());
    ++files;
  };
  add(content);
  for (const std::size_t at :
       {std::size_t{0}, std::size_t{7}, std::size_t{8}, content.size() / 2, content.size() - 1}) {
    std::string changed = content;
    changed[at] ^= 1;
    add(changed);
  }
  add(content + std::string(1, '\0'));
  add(content + std::string(2, '\0'));
  add(content.substr(1));
  EXPECT_EQ(seen.size(), files);
}

TEST(IdSequenceTest, RepeatsItselfAndNothingElse) {
  IdSequence a(42);
  IdSequence b(42);
  IdSequence other(43);
  std::set<unsigned long long> seen;
  for (int i = 0; i < 10000; ++i) {
    const ObjectId id = a.Next();
    EXPECT_EQ(id, b.Next());
    seen.insert(id.GetInteger());
    seen.insert(other.Next().GetInteger());
  }
  EXPECT_EQ(seen.size(), 20000u);
  EXPECT_EQ(seen.count(0), 0u);
  // The one seed whose first value would be 0.
  EXPECT_NE(IdSequence(0 - 0x9E3779B97F4A7C15ull).Next(), ObjectId());
}

}  // namespace
}  // namespace mirel
