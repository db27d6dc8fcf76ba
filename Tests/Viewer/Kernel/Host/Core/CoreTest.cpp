#include <Viewer/Kernel/Host/Core/DialogUtil.h>
#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Core/MathUtil.h>
#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Host/Core/Path.h>
#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/Core/StringUtil.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <thread>
#include <unordered_set>
#include <vector>

namespace mirel {
namespace {

unsigned long long IntegerOf(const std::string& text) {
  return ObjectId(text).GetInteger();
}

TEST(ObjectId, TextFormIsTheDecimalInteger) {
  EXPECT_EQ(ObjectId().GetInteger(), 0U);
  for (const unsigned long long value : {0ULL, 1ULL, 9007199254740993ULL, 18446744073709551615ULL}) {
    ObjectId id;
    id.SetInteger(value);
    EXPECT_EQ(id.toString(), std::to_string(value));
    EXPECT_EQ(ObjectId(id.toString()), id);
  }
  EXPECT_EQ(IntegerOf("007"), 7U);
}

TEST(ObjectId, TextThatIsNoIdGivesTheDefaultId) {
  for (const std::string text : {"", " 1", "1 ", "+1", "-1", "0x10", "1.0", "1e3", "eins",
                                 "18446744073709551616", "99999999999999999999999999", "\xEF\xBC\x91"}) {
    EXPECT_EQ(IntegerOf(text), 0U) << text;
  }
  EXPECT_EQ(IntegerOf(std::string("12\0", 3)), 0U);
}

TEST(ObjectId, NewIdsDifferAcrossThreads) {
  constexpr std::size_t kThreads = 8;
  constexpr std::size_t kIds = 20000;
  std::vector<std::vector<ObjectId>> drawn(kThreads);
  std::vector<std::thread> threads;
  for (std::vector<ObjectId>& ids : drawn) {
    threads.emplace_back([&ids] {
      for (std::size_t i = 0; i < kIds; ++i)
        ids.push_back(ObjectId::NewId());
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  std::unordered_set<unsigned long long> distinct;
  for (const std::vector<ObjectId>& ids : drawn) {
    for (const ObjectId& id : ids)
      distinct.insert(id.GetInteger());
  }
  EXPECT_EQ(distinct.size(), kThreads * kIds);
  EXPECT_EQ(distinct.count(0), 0U);
}

TEST(Logger, FormatsAndKeepsLongTextWhole) {
  LogCapture log;
  Logger::Instance().Message(1, "%s %d%%", "Größe", 5);
  const std::string longText(100000, 'x');
  Logger::Instance().Message(3, "<%s>", longText.c_str());
  Logger::Instance().Message(2, "%s", "");
  const std::vector<LogCapture::Entry> expected{{1, "Größe 5%"}, {3, "<" + longText + ">"}, {2, ""}};
  EXPECT_EQ(log.GetEntries(), expected);
  EXPECT_FALSE(log.HasLocations());
}

TEST(Logger, FailureMacroAddsTheLocationLine) {
  LogCapture log;
  MIREL_HOST_FAILURE("Broken %d", 1);
  ASSERT_EQ(log.GetEntries().size(), 2U);
  EXPECT_EQ(log.GetEntries()[0], LogCapture::Entry(3, "Broken 1"));
  EXPECT_EQ(log.GetEntries()[1].first, 1);
  EXPECT_EQ(log.GetEntries()[1].second.find("\t#"), 0U);
  EXPECT_NE(log.GetEntries()[1].second.find(", CoreTest.cpp"), std::string::npos);
  EXPECT_TRUE(log.HasLocations());
}

TEST(Logger, SinkCanBeReplacedPutBackAndTakenAway) {
  LogCapture outer;
  {
    LogCapture inner;
    Logger::Instance().Message(1, "inner");
    EXPECT_EQ(inner.Count(1, "inner"), 1);
  }
  Logger::Instance().Message(1, "outer");
  Logger::Sink sink = Logger::Instance().SetSink(nullptr);
  Logger::Instance().Message(1, "nobody");
  Logger::Instance().SetSink(std::move(sink));
  Logger::Instance().Message(1, "again");
  EXPECT_EQ(outer.GetTexts(1), (std::vector<std::string>{"outer", "again"}));
}

TEST(Logger, TakesMessagesFromManyThreads) {
  LogCapture log;
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 500; ++i)
        Logger::Instance().Message(2, "message %d", i);
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(log.GetEntries().size(), 4000U);
  EXPECT_EQ(log.Count(2, "message 499"), 8);
}

TEST(Logger, FileNameIsWhatFollowsTheLastSeparator) {
  EXPECT_STREQ(Logger::GetFileName("/a/b/File.cpp"), "File.cpp");
  EXPECT_STREQ(Logger::GetFileName("C:\\a/b\\File.cpp"), "File.cpp");
  EXPECT_STREQ(Logger::GetFileName("File.cpp"), "File.cpp");
  EXPECT_STREQ(Logger::GetFileName("a/"), "");
  EXPECT_STREQ(Logger::GetFileName(""), "");
}

TEST(PathUtil, FolderPathEndsWithItsSeparator) {
  EXPECT_EQ(PathUtil::GetFolderPath("/data/m/index.gz"), "/data/m/");
  EXPECT_EQ(PathUtil::GetFolderPath("设计/Größe.gz"), "设计/");
  EXPECT_EQ(PathUtil::GetFolderPath("/index.gz"), "/");
  EXPECT_EQ(PathUtil::GetFolderPath("m/"), "m/");
  EXPECT_EQ(PathUtil::GetFolderPath("index.gz"), "");
  EXPECT_EQ(PathUtil::GetFolderPath(""), "");
#if defined(_WIN32)
  EXPECT_EQ(PathUtil::GetFolderPath("C:\\m\\index.gz"), "C:\\m\\");
#else
  EXPECT_EQ(PathUtil::GetFolderPath("m/a\\b.gz"), "m/");
#endif
}

TEST(PathUtil, CreatesFoldersWithTheirParents) {
  const TestFolder folder;
  LogCapture log;
  const std::string path = folder.GetPath() + "Größe/设计/";
  EXPECT_TRUE(PathUtil::CreateFolders(path));
  EXPECT_TRUE(std::filesystem::is_directory(std::filesystem::u8path(path)));
  EXPECT_TRUE(PathUtil::CreateFolders(path)) << "a folder that is there already";
  EXPECT_TRUE(PathUtil::CreateFolders(folder.GetPath() + "plain")) << "no separator at the end";
  EXPECT_TRUE(log.GetEntries().empty());
}

TEST(PathUtil, SaysWhyAFolderCannotBeMade) {
  const TestFolder folder;
  WriteFile(folder.GetPath() + "file", "x");
  for (const std::string name : {"file", "file/below/", ""}) {
    LogCapture log;
    const std::string path = name.empty() ? name : folder.GetPath() + name;
    EXPECT_FALSE(PathUtil::CreateFolders(path)) << name;
    ASSERT_EQ(log.GetTexts(3).size(), 1U) << name;
    EXPECT_EQ(log.GetTexts(3)[0].find("Cannot create folder " + path + ": "), 0U);
    EXPECT_TRUE(log.HasLocations());
  }
  EXPECT_EQ(ReadFile(folder.GetPath() + "file"), "x");
}

TEST(Path, HoldsNarrowTextAndIsFalseWhenEmpty) {
  EXPECT_FALSE(Path());
  EXPECT_FALSE(Path(std::string()));
  EXPECT_TRUE(Path(std::string("a")));
  EXPECT_EQ(Path(std::wstring(L"设计/Größe.gz")).GetText(), "设计/Größe.gz");
}

TEST(StringUtil, WideTextBecomesUtf8) {
  EXPECT_EQ(StringUtil::WStr2AStr(L""), "");
  EXPECT_EQ(StringUtil::WStr2AStr(L"aé设\U0001F600"), "aé设\U0001F600");
  EXPECT_EQ(StringUtil::WStr2AStr(std::wstring(L"a\0b", 3)), std::string("a\0b", 3));
  for (const wchar_t lone : {wchar_t(0xD800), wchar_t(0xDC00), wchar_t(0xDFFF)}) {
    EXPECT_EQ(StringUtil::WStr2AStr(std::wstring(1, lone) + L"x"), "\uFFFDx");
  }
  if constexpr (sizeof(wchar_t) == 4) {
    EXPECT_EQ(StringUtil::WStr2AStr(std::wstring(1, static_cast<wchar_t>(0x110000))), "\uFFFD");
    EXPECT_EQ(StringUtil::WStr2AStr(std::wstring(1, static_cast<wchar_t>(-1))), "\uFFFD");
  }
}

TEST(MathUtil, IdentityIsExact) {
  EXPECT_TRUE(MathUtil::IsIdentity(glm::dmat4(1.0)));
  for (int column = 0; column < 4; ++column) {
    for (int row = 0; row < 4; ++row) {
      glm::dmat4 matrix(1.0);
      matrix[column][row] = std::nextafter(matrix[column][row], 2.0);
      EXPECT_FALSE(MathUtil::IsIdentity(matrix)) << column << ", " << row;
      matrix[column][row] = std::numeric_limits<double>::quiet_NaN();
      EXPECT_FALSE(MathUtil::IsIdentity(matrix)) << column << ", " << row;
    }
  }
}

TEST(DialogUtil, AsksTheInstalledFunction) {
  DialogUtil::SetOpenFileFunction(nullptr);
  EXPECT_FALSE(DialogUtil::OpenFileDialog("index.gz", {"Any", "*"}));
  std::string asked;
  DialogUtil::SetOpenFileFunction([&](const std::string& name, const std::vector<std::string>& filters) {
    asked = name;
    for (const std::string& filter : filters)
      asked += "|" + filter;
    // A dialog may well open another one.
    DialogUtil::SetOpenFileFunction(nullptr);
    return Path(std::string("chosen.gz"));
  });
  EXPECT_EQ(DialogUtil::OpenFileDialog("index.gz", {"Any", "*"}).GetText(), "chosen.gz");
  EXPECT_EQ(asked, "index.gz|Any|*");
  EXPECT_FALSE(DialogUtil::OpenFileDialog("index.gz", {}));
}

}  // namespace
}  // namespace mirel
