#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Host/Gzip/ogzstream.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>
#include <libdeflate.h>

#include <filesystem>
#include <ios>

namespace mirel {
namespace {

constexpr int kOut = static_cast<int>(std::ios_base::out);

std::string Compress(const std::string& content) {
  libdeflate_compressor* const compressor = libdeflate_alloc_compressor(6);
  std::string file(libdeflate_gzip_compress_bound(compressor, content.size()), '\0');
  file.resize(libdeflate_gzip_compress(compressor, content.data(), content.size(), file.data(), file.size()));
  libdeflate_free_compressor(compressor);
  return file;
}

/// Bytes that do not compress.
std::string Noise(std::size_t size) {
  std::string bytes;
  std::uint32_t state = 1;
  while (bytes.size() < size) {
    state = state * 1664525U + 1013904223U;
    bytes += static_cast<char>(state >> 24);
  }
  return bytes;
}

class GzipTest : public ::testing::Test {
 protected:
  /// What `GzBuffer` makes of a file with these bytes.
  std::shared_ptr<RawBuffer> Load(const std::string& bytes) {
    // A new file each time: some file systems flush one that is overwritten to the disk at once.
    std::filesystem::remove(std::filesystem::u8path(path_));
    WriteFile(path_, bytes);
    return GzBuffer::FromFile(path_);
  }

  /// Expects the file to be refused, with exactly one notice that names it and contains the reason.
  void ExpectRefused(const std::string& bytes, const std::string& reason) {
    log_.Clear();
    EXPECT_EQ(Load(bytes), nullptr) << reason;
    ASSERT_EQ(log_.GetEntries().size(), 1U) << reason;
    EXPECT_EQ(log_.GetEntries()[0].first, 1);
    EXPECT_EQ(log_.GetEntries()[0].second.find("Cannot read " + path_ + ": "), 0U);
    EXPECT_TRUE(log_.Contains(reason)) << log_.GetEntries()[0].second;
  }

  TestFolder folder_;
  std::string path_ = folder_.GetPath() + "Größe.gz";
  LogCapture log_;
};

TEST_F(GzipTest, ContentComesBackWithAZeroByteBehindIt) {
  WriteFile(path_, "something older and longer than the new file");
  for (const std::string& content :
       {std::string(), std::string("{}"), std::string("a\0b", 3), std::string(1 << 20, 'x'), Noise(200000)}) {
    WriteGzip(path_, content);
    const std::shared_ptr<RawBuffer> buffer = GzBuffer::FromFile(path_);
    ASSERT_TRUE(buffer) << content.size();
    EXPECT_EQ(std::string(buffer->GetData(), buffer->GetSize()), content);
    EXPECT_EQ(buffer->GetData()[buffer->GetSize()], '\0');
  }
  EXPECT_EQ(folder_.ListFiles(), "Größe.gz");
  EXPECT_TRUE(log_.GetEntries().empty());
}

TEST_F(GzipTest, SeveralMembersAreOneContent) {
  // The declared size is that of the last member: too small for the whole in one case, more than enough in
  // the other.
  const std::string large(100000, 'x');
  for (const auto& [first, second] : {std::pair(large, std::string("y")), std::pair(std::string("y"), large),
                                      std::pair(std::string(), std::string()), std::pair(large, large)}) {
    const std::shared_ptr<RawBuffer> buffer = Load(Compress(first) + Compress(second) + Compress("end"));
    ASSERT_TRUE(buffer);
    EXPECT_EQ(std::string(buffer->GetData(), buffer->GetSize()), first + second + "end");
  }
}

TEST_F(GzipTest, AMemberThatIsCutOffSpoilsTheWholeFile) {
  const std::string file = Compress("{\"Version\":1,\"Author\":\"Orvane\"}" + Noise(50));
  ASSERT_TRUE(Load(file + file));
  for (std::size_t length = 1; length < file.size(); ++length)
    ExpectRefused(file + file.substr(0, length), "gzip");
}

TEST_F(GzipTest, DamageIsNoContent) {
  const std::string file = Compress(std::string(5000, 'x') + Noise(100));
  std::string wrongCrc = file;
  wrongCrc[wrongCrc.size() - 8] = static_cast<char>(wrongCrc[wrongCrc.size() - 8] ^ 1);
  ExpectRefused(wrongCrc, "damaged");
  // Declared sizes too small, too large, and as large as the field allows.
  for (const std::string& size :
       {std::string(4, '\0'), std::string("\xff\xff\x00\x00", 4), std::string(4, '\xff')}) {
    ExpectRefused(file.substr(0, file.size() - 4) + size, "damaged");
  }
  ExpectRefused(file + std::string(512, '\0'), "behind the gzip data");
}

TEST_F(GzipTest, WhatIsNoGzipFileIsNoContent) {
  ExpectRefused("{\"Types\":[],\"Items\":[]}", "not a gzip file");
  ExpectRefused(std::string(100, '\0'), "not a gzip file");

  log_.Clear();
  EXPECT_EQ(GzBuffer::FromFile(path_ + "/below.gz"), nullptr) << "below a file";
  EXPECT_EQ(GzBuffer::FromFile(""), nullptr);
  EXPECT_EQ(GzBuffer::FromFile("\xff\xfe.gz"), nullptr) << "not UTF-8";
  EXPECT_EQ(log_.GetTexts(1).size(), 3U);
}

TEST_F(GzipTest, MemoryIsReadAsAFileIs) {
  WriteGzip(path_, "content");
  const std::string file = ReadFile(path_);
  const std::shared_ptr<RawBuffer> buffer = GzBuffer::FromMemory(file.data(), file.size(), "a/1.gz");
  ASSERT_TRUE(buffer);
  EXPECT_STREQ(buffer->GetData(), "content");
  EXPECT_EQ(GzBuffer::FromMemory(file.data(), file.size() - 1, "a/2.gz"), nullptr);
  EXPECT_EQ(GzBuffer::FromMemory(nullptr, 0, "a/3.gz"), nullptr);
  EXPECT_EQ(log_.GetTexts(1).size(), 2U);
  EXPECT_TRUE(log_.Contains("Cannot read a/2.gz: not a gzip file"));
}

TEST_F(GzipTest, StreamWritesTheSameBytesForTheSameContent) {
  const std::string content = "Größe" + std::string(10000, 'x') + Noise(1000);
  WriteGzip(path_, content);
  const std::string first = ReadFile(path_);
  {
    ogzstream stream((folder_.GetPath() + "2.gz").c_str(), kOut);
    for (const char c : content)
      stream.put(c);
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(folder_.ListFiles(), "Größe.gz") << "a file appears when it is complete";
  }
  EXPECT_EQ(ReadFile(folder_.GetPath() + "2.gz"), first);
  ASSERT_GE(first.size(), 10U);
  EXPECT_EQ(first.substr(3, 5), std::string(5, '\0')) << "no name, no comment, no time";
}

TEST_F(GzipTest, StreamSaysWhyAFileCannotBeWritten) {
  WriteFile(folder_.GetPath() + "file", "x");
  std::filesystem::create_directories(std::filesystem::u8path(folder_.GetPath() + "folder.gz/content"));
  for (const std::string name : {"file/1.gz", "missing/1.gz", "folder.gz"}) {
    log_.Clear();
    WriteGzip(folder_.GetPath() + name, "content");
    ASSERT_EQ(log_.GetTexts(3).size(), 1U) << name;
    EXPECT_EQ(log_.GetTexts(3)[0].find("Cannot write " + folder_.GetPath() + name + ": "), 0U);
  }
  // Nor in another mode than for writing.
  ogzstream stream((folder_.GetPath() + "file").c_str(), static_cast<int>(std::ios_base::in));
  EXPECT_TRUE(stream.bad());
  stream.write_str("new");
  EXPECT_EQ(folder_.ListFiles(), "file");
  EXPECT_EQ(ReadFile(folder_.GetPath() + "file"), "x");
}

}  // namespace
}  // namespace mirel
