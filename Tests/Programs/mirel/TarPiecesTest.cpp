#include <Programs/mirel/View/TarPieces.h>

#include <Viewer/Kernel/Host/Gzip/RawBuffer.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace mirel {
namespace {

struct Member {
  std::string path;
  std::string content;
  unsigned int kind = AE_IFREG;
  std::string link = "";
  std::uint64_t claimedSize = 0;  // instead of that of the content
};

class TarPiecesTest : public ::testing::Test {
 protected:
  std::string Gzip(const std::string& content) const {
    const std::string path = scratch_.GetPath() + "piece.gz";
    WriteGzip(path, content);
    return ReadFile(path);
  }

  // The bytes of an archive with these members.
  static std::string Tar(const std::vector<Member>& members, int format = ARCHIVE_FORMAT_TAR_USTAR,
                         int filter = ARCHIVE_FILTER_NONE) {
    std::string bytes(1 << 20, '\0');
    std::size_t used = 0;
    archive* const writer = archive_write_new();
    archive_write_set_format(writer, format);
    archive_write_add_filter(writer, filter);
    EXPECT_EQ(archive_write_open_memory(writer, &bytes[0], bytes.size(), &used), ARCHIVE_OK);
    for (const Member& member : members) {
      archive_entry* const entry = archive_entry_new();
      archive_entry_set_pathname(entry, member.path.c_str());
      archive_entry_set_filetype(entry, member.kind);
      archive_entry_set_perm(entry, 0644);
      if (member.kind == AE_IFLNK) {
        archive_entry_set_symlink(entry, member.link.c_str());
      } else if (!member.link.empty()) {
        archive_entry_set_hardlink(entry, member.link.c_str());
      } else {
        archive_entry_set_size(entry, static_cast<la_int64_t>(std::max<std::uint64_t>(
                                          member.claimedSize, member.content.size())));
      }
      EXPECT_GE(archive_write_header(writer, entry), ARCHIVE_WARN) << archive_error_string(writer);
      archive_write_data(writer, member.content.data(), member.content.size());
      archive_entry_free(entry);
    }
    archive_write_close(writer);
    archive_write_free(writer);
    bytes.resize(used);
    return bytes;
  }

  static bool Load(TarPieces& pieces, const std::string& bytes) {
    std::FILE* const file = std::tmpfile();
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::rewind(file);
    const bool good = pieces.Load(file);
    std::fclose(file);
    EXPECT_EQ(good, pieces.GetError().empty());
    return good;
  }

  static std::string Read(const TarPieces& pieces, const std::string& name) {
    const std::shared_ptr<RawBuffer> buffer = pieces.Read(name);
    return buffer ? std::string(buffer->GetData(), buffer->GetSize()) : "<none>";
  }

  void ExpectRefused(const std::string& bytes, const std::string& reason) {
    TarPieces pieces;
    EXPECT_FALSE(Load(pieces, bytes)) << reason;
    EXPECT_NE(pieces.GetError().find(reason), std::string::npos) << pieces.GetError();
  }

  const TestFolder scratch_;
  LogCapture log_;
};

TEST_F(TarPiecesTest, TakesAFolderHoweverItIsPacked) {
  for (const std::string folder : {"", "./", "trolley/", "./a/model/", "设计/Größe/"}) {
    const std::vector<Member> members = {
        {folder + "grep/", "", AE_IFDIR},     {folder + "grep/12.gz", Gzip("twelve")},
        {folder + "model/1.gz", Gzip("one")}, {folder + "readme.txt", "passed over"},
        {folder + "index.gz", Gzip("{}")},    {folder + "model/x.gz", "passed over"}};
    for (const int format :
         {ARCHIVE_FORMAT_TAR_USTAR, ARCHIVE_FORMAT_TAR_PAX_INTERCHANGE, ARCHIVE_FORMAT_TAR_GNUTAR}) {
      for (const int filter : {ARCHIVE_FILTER_NONE, ARCHIVE_FILTER_GZIP, ARCHIVE_FILTER_ZSTD}) {
        TarPieces pieces;
        ASSERT_TRUE(Load(pieces, Tar(members, format, filter)))
            << folder << " " << format << pieces.GetError();
        EXPECT_EQ(Read(pieces, "index.gz"), "{}");
        EXPECT_EQ(Read(pieces, "grep/12.gz"), "twelve");
        EXPECT_EQ(Read(pieces, "model/1.gz"), "one");
        EXPECT_FALSE(pieces.Has("grep/1.gz") || pieces.Has("model/x.gz") || pieces.Has("readme.txt"));
        EXPECT_EQ(Read(pieces, "grep/1.gz"), "<none>");
      }
    }
  }
  EXPECT_TRUE(log_.GetEntries().empty());
}

TEST_F(TarPiecesTest, UnpacksTheModelAndNothingElse) {
  const std::string one = Gzip("one");
  TarPieces pieces;
  ASSERT_TRUE(
      Load(pieces, Tar({{"a/model/1.gz", one}, {"a/../../readme.txt", "x"}, {"a/index.gz", Gzip("{}")}})));
  const std::string folder = scratch_.GetPath() + "new/folder";
  ASSERT_TRUE(pieces.Unpack(folder)) << pieces.GetError();
  EXPECT_EQ(ReadFile(folder + "/model/1.gz"), one);
  EXPECT_EQ(ReadFile(folder + "/index.gz"), Gzip("{}"));
  EXPECT_EQ(std::distance(fs::recursive_directory_iterator(fs::u8path(folder)), {}), 3);
  WriteFile(scratch_.GetPath() + "file", "x");
  EXPECT_FALSE(pieces.Unpack(scratch_.GetPath() + "file"));
  EXPECT_NE(pieces.GetError().find("/file/index.gz cannot be written: "), std::string::npos)
      << pieces.GetError();
}

TEST_F(TarPiecesTest, IsCalledOff) {
  const std::string bytes = Tar({{"index.gz", Gzip("{}")}, {"model/1.gz", "x"}, {"model/2.gz", "y"}});
  std::FILE* const file = std::tmpfile();
  std::fwrite(bytes.data(), 1, bytes.size(), file);
  std::rewind(file);
  TarPieces pieces;
  int asked = 0;
  EXPECT_FALSE(pieces.Load(file, [&] { return ++asked < 2; }));
  EXPECT_EQ(pieces.GetError(), "was called off");
  EXPECT_EQ(asked, 2);
  std::fclose(file);
}

TEST_F(TarPiecesTest, RefusesWhatIsNotOneModelFolder) {
  const Member index{"a/index.gz", Gzip("{}")};
  ExpectRefused("", "");
  ExpectRefused("no archive at all", "");
  ExpectRefused(Tar({}), "no index.gz");
  ExpectRefused(Tar({{"a/model/1.gz", "x"}}), "no index.gz");
  ExpectRefused(Tar({index, {"b/index.gz", "x"}}), "more than one model folder: a/ and b/");
  ExpectRefused(Tar({index, {"model/1.gz", "x"}}), "more than one model folder");
  ExpectRefused(Tar({index, index}), "a/index.gz is there twice");
  ExpectRefused(Tar({index, {"a/grep/1.gz", "", AE_IFLNK, "../index.gz"}}),
                "a/grep/1.gz is not a regular file");
  ExpectRefused(Tar({index, {"a/grep/1.gz", "", AE_IFREG, "a/index.gz"}}),
                "a/grep/1.gz is not a regular file");

  ExpectRefused(Tar({index, {"film", "", AE_IFREG, "", std::uint64_t{5} << 30}}), "more than 4 GiB");
}

TEST_F(TarPiecesTest, GivesNoHalfFiles) {
  const std::string whole =
      Tar({{"index.gz", Gzip("{}")}, {"model/1.gz", Gzip(std::string(2000, 'x') + "end")}});
  for (std::size_t length = 0; length < whole.size(); length += 7) {
    TarPieces pieces;
    if (Load(pieces, whole.substr(0, length))) {
      EXPECT_EQ(Read(pieces, "index.gz"), "{}") << length;
      EXPECT_EQ(pieces.Has("model/1.gz"), Read(pieces, "model/1.gz") != "<none>") << length;
    }
  }
}

}  // namespace
}  // namespace mirel
