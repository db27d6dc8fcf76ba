#include <Viewer/Kernel/Host/Core/DialogUtil.h>
#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Core/MathUtil.h>
#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Host/Core/Path.h>
#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/Core/StringUtil.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/RunThreads.h>
#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <unordered_set>
#include <vector>

namespace mirel {
namespace {

TEST(ObjectId, TextFormIsTheDecimalInteger) {
  for (const unsigned long long value : {0ULL, 1ULL, 9007199254740993ULL, 18446744073709551615ULL}) {
    ObjectId id;
    id.SetInteger(value);
    EXPECT_EQ(id.toString(), std::to_string(value));
    EXPECT_EQ(ObjectId(id.toString()), id);
  }
  EXPECT_EQ(ObjectId("007").GetInteger(), 7U);
  for (const std::string& text : {std::string(), std::string(" 1"), std::string("1 "), std::string("+1"),
                                  std::string("-1"), std::string("1e3"), std::string("eins"),
                                  std::string("18446744073709551616"), std::string("12\0", 3)}) {
    EXPECT_EQ(ObjectId(text).GetInteger(), 0U) << text;
  }
}

TEST(ObjectId, NewIdsDifferAcrossThreads) {
  std::vector<std::vector<ObjectId>> drawn(8);
  RunThreads(8, [&](std::size_t t) {
    for (int i = 0; i < 20000; ++i)
      drawn[t].push_back(ObjectId::NewId());
  });
  std::unordered_set<unsigned long long> distinct{0};
  for (const std::vector<ObjectId>& ids : drawn) {
    for (const ObjectId& id : ids)
      distinct.insert(id.GetInteger());
  }
  EXPECT_EQ(distinct.size(), 160001U);
}

TEST(Logger, FormatsAndKeepsLongTextWhole) {
  LogCapture log;
  Logger::Instance().Message(1, "%s %d%%", "Größe", 5);
  const std::string longText(100000, 'x');
  Logger::Instance().Message(1, "<%s>", longText.c_str());
  Logger::Instance().Message(2, "%s", "");
  const std::vector<LogCapture::Entry> expected{{1, "Größe 5%"}, {1, "<" + longText + ">"}, {2, ""}};
  EXPECT_EQ(log.GetEntries(), expected);
  log.Clear();
  MIREL_HOST_FAILURE("Broken %d", 1);
  EXPECT_EQ(log.GetTexts(3), std::vector<std::string>{"Broken 1"});
  EXPECT_TRUE(log.Contains(", CoreTest.cpp"));
}

TEST(Logger, SinkCanBeTakenAwayAndPutBack) {
  LogCapture log;
  Logger::Instance().Message(1, "outer");
  Logger::Sink sink = Logger::Instance().SetSink(nullptr);
  Logger::Instance().Message(1, "nobody");
  Logger::Instance().SetSink(std::move(sink));
  Logger::Instance().Message(1, "again");
  EXPECT_EQ(log.GetTexts(1), (std::vector<std::string>{"outer", "again"}));
}

TEST(Logger, TakesMessagesFromManyThreads) {
  LogCapture log;
  RunThreads(8, [](std::size_t) {
    for (int i = 0; i < 500; ++i)
      Logger::Instance().Message(2, "message %d", i);
  });
  EXPECT_EQ(log.GetEntries().size(), 4000U);
  EXPECT_EQ(log.Count(2, "message 499"), 8);
}

TEST(Path, NamesAreCutAtTheLastSeparator) {
  EXPECT_STREQ(Logger::GetFileName("C:\\a/b\\File.cpp"), "File.cpp");
  EXPECT_STREQ(Logger::GetFileName("File.cpp"), "File.cpp");
  EXPECT_EQ(PathUtil::GetFolderPath("/data/设计/Größe.gz"), "/data/设计/");
  EXPECT_EQ(PathUtil::GetFolderPath("/index.gz"), "/");
  EXPECT_EQ(PathUtil::GetFolderPath("m/"), "m/");
  EXPECT_EQ(PathUtil::GetFolderPath("index.gz"), "");
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
  EXPECT_FALSE(PathUtil::CreateFolders(""));
  ASSERT_EQ(log.GetTexts(3).size(), 1U);
  EXPECT_EQ(log.GetTexts(3)[0].find("Cannot create folder : "), 0U);
}

TEST(StringUtil, WideTextBecomesUtf8) {
  EXPECT_FALSE(Path());
  EXPECT_EQ(Path(std::wstring(L"设计/Größe.gz")).GetText(), "设计/Größe.gz");
  EXPECT_EQ(StringUtil::WStr2AStr(L"aé设\U0001F600"), "aé设\U0001F600");
  EXPECT_EQ(StringUtil::WStr2AStr(std::wstring(L"a\0b", 3)), std::string("a\0b", 3));
  for (const wchar_t lone : {wchar_t(0xD800), wchar_t(0xDC00), wchar_t(0xDFFF)}) {
    EXPECT_EQ(StringUtil::WStr2AStr(std::wstring(1, lone) + L"x"), "\uFFFDx");
  }
  if constexpr (sizeof(wchar_t) == 4) {
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

TEST(DialogUtil, ADialogMayOpenAnotherOne) {
  DialogUtil::SetOpenFileFunction([](const std::string& name, const std::vector<std::string>&) {
    DialogUtil::SetOpenFileFunction(nullptr);
    EXPECT_FALSE(DialogUtil::OpenFileDialog(name, {})) << "nobody to ask";
    return Path(std::string("chosen.gz"));
  });
  EXPECT_EQ(DialogUtil::OpenFileDialog("index.gz", {}).GetText(), "chosen.gz");
}

}  // namespace
}  // namespace mirel
