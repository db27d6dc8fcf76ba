#include <Viewer/Kernel/Host/Gzip/GzSections.h>

#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>

#include <gtest/gtest.h>
#include <libdeflate.h>
#include <zlib.h>

#include <cstdint>

namespace mirel {
namespace {

constexpr std::size_t kTableBegin = 16;

/// Numbers as text, of which some repeat those before them; seeds give different blocks, ending at different bits.
std::string MakeText(std::size_t size, unsigned int seed) {
  std::string text;
  std::uint32_t state = seed + 1;
  while (text.size() < size) {
    state = state * 1664525U + 1013904223U;
    text += state >> 30 ? std::to_string(state >> 16) + ' ' : text.substr(0, 20);
  }
  text.resize(size);
  return text;
}

/// What zlib makes of a file that is a single gzip member; "<none>" when it is not.
std::string Gunzip(const std::string& file, std::size_t size) {
  std::string content(size + 1, '\0');
  z_stream stream{};
  inflateInit2(&stream, 16 + MAX_WBITS);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(file.data()));
  stream.avail_in = static_cast<uInt>(file.size());
  stream.next_out = reinterpret_cast<Bytef*>(content.data());
  stream.avail_out = static_cast<uInt>(content.size());
  const bool sound = inflate(&stream, Z_FINISH) == Z_STREAM_END && stream.avail_in == 0;
  content.resize(stream.total_out);
  inflateEnd(&stream);
  return sound ? content : "<none>";
}

/// The content by its sections alone; "<none>" when they do not fit.
std::string InflateBySections(const std::string& file) {
  const std::vector<GzSection> sections = FindGzSections(file.data(), file.size());
  if (sections.empty()) return "<none>";
  std::string content(sections.back().begin + sections.back().size, '\0');
  return InflateGzSections(file.data(), file.size(), sections, content.data()) ? content : "<none>";
}

/// What the host reads; "<none>" when it refuses the file.
std::string Load(const std::string& file) {
  const std::shared_ptr<RawBuffer> buffer = GzBuffer::FromMemory(file.data(), file.size(), "memory");
  return buffer ? std::string(buffer->GetData(), buffer->GetSize()) : "<none>";
}

std::size_t CountSections(const std::string& file) {
  return FindGzSections(file.data(), file.size()).size();
}

std::string Integer(std::uint32_t value) {
  std::string bytes;
  for (int i = 0; i < 4; ++i)
    bytes += static_cast<char>(value >> (8 * i));
  return bytes;
}

/// The file with another table.
std::string WithTable(const std::string& file, const std::vector<std::uint32_t>& numbers) {
  const std::size_t oldSize = 4 + 4 * CountSections(file);
  std::string table;
  for (const std::uint32_t number : numbers)
    table += Integer(number);
  return file.substr(0, 10) + Integer(static_cast<std::uint32_t>(table.size() + 4)).substr(0, 2) + "MS" +
         Integer(static_cast<std::uint32_t>(table.size())).substr(0, 2) + table +
         file.substr(kTableBegin + oldSize);
}

class GzSectionsTest : public ::testing::Test {
 protected:
  LogCapture log_;
};

TEST_F(GzSectionsTest, SectionsAreOneMemberForOthers) {
  for (const auto& [size, count] :
       {std::pair(0, 0), std::pair(1999, 0), std::pair(2000, 2), std::pair(2001, 3), std::pair(3000, 3),
        std::pair(3001, 4), std::pair(100000, 100)}) {
    for (unsigned int seed = 0; seed < 50; ++seed) {
      const std::string content = MakeText(static_cast<std::size_t>(size), seed);
      const std::string file = CompressGzip(content, 1000);
      ASSERT_EQ(CountSections(file), count) << size;
      ASSERT_EQ(Gunzip(file, content.size()), content) << size << " " << seed;
      ASSERT_EQ(Load(file), content) << size << " " << seed;
      ASSERT_EQ(InflateBySections(file), count > 0 ? content : "<none>") << size << " " << seed;
    }
  }
  EXPECT_TRUE(log_.GetEntries().empty());
}

TEST_F(GzSectionsTest, LargeFilesAreWrittenInSections) {
  const TestFolder folder;
  const std::string text = MakeText((3 << 20) + 7, 1);
  std::string noise;  // which becomes stored blocks
  for (std::uint32_t state = 1; noise.size() < 3 << 20; state = state * 1664525U + 1013904223U)
    noise += static_cast<char>(state >> 24);
  for (const std::string& content : {text, std::string(5 << 20, '\0'), noise, text + noise}) {
    const std::string path = folder.GetPath() + "1.gz";
    WriteGzip(path, content);
    const std::string file = ReadFile(path);
    EXPECT_GE(CountSections(file), 6U);
    EXPECT_EQ(InflateBySections(file), content);
    EXPECT_EQ(Gunzip(file, content.size()), content);
    EXPECT_EQ(Inflate(path), content);
    WriteGzip(path, content);
    EXPECT_EQ(ReadFile(path), file) << "written again";
  }
  WriteGzip(folder.GetPath() + "2.gz", noise.substr(0, 1 << 19));
  EXPECT_EQ(CountSections(ReadFile(folder.GetPath() + "2.gz")), 0U);
}

TEST_F(GzSectionsTest, ATableThatDoesNotFitIsOverlooked) {
  const std::string content = MakeText(4000, 1);
  const std::string file = CompressGzip(content, 1000);
  std::uint32_t a = 0, b = 0, c = 0, d = 0;
  const std::vector<GzSection> sections = FindGzSections(file.data(), file.size());
  ASSERT_EQ(sections.size(), 4U);
  for (std::size_t i = 0; i < 4; ++i)
    (i == 0 ? a : i == 1 ? b : i == 2 ? c : d) = static_cast<std::uint32_t>(sections[i].deflatedSize);

  // Sections may be taken together.
  for (const std::vector<std::uint32_t>& numbers : {std::vector{1000U, a, b, c, d},
                                                    {2000U, a + b, c + d},
                                                    {3000U, a + b + c, d},
                                                    {4000U, a + b + c + d}}) {
    EXPECT_EQ(InflateBySections(WithTable(file, numbers)), content);
  }
  for (const std::vector<std::uint32_t>& numbers : {std::vector{999U, a, b, c, d},
                                                    {1001U, a, b, c, d},
                                                    {1334U, a, b, c, d},
                                                    {0U, a, b, c, d},
                                                    {0xffffffffU, a + b + c + d},
                                                    {4000U, a, b, c, d},
                                                    {1000U, a + 1, b - 1, c, d},
                                                    {1000U, a - 5, b + 5, c, d},
                                                    {1000U, a - 1, b, c, d},
                                                    {1000U, a + b, 0U, c, d},
                                                    {1000U, a, b, c + d},
                                                    {1000U, a, b, c, d, 0U},
                                                    {1000U, a, 0xffffffffU, b, c, d},
                                                    {1000U, 0xffffffffU - b - c - d, b, c, d},
                                                    {1000U},
                                                    {}}) {
    const std::string lying = WithTable(file, numbers);
    EXPECT_EQ(InflateBySections(lying), "<none>") << ::testing::PrintToString(numbers);
    EXPECT_EQ(Load(lying), content) << ::testing::PrintToString(numbers);
  }
  // Another subfield, or one more.
  std::string other = file;
  other[12] = 'm';
  EXPECT_EQ(CountSections(other), 0U);
  EXPECT_EQ(Load(other), content);
  other = file.substr(0, kTableBegin + 20) + std::string("AB\0\0", 4) + file.substr(kTableBegin + 20);
  other[10] = static_cast<char>(other[10] + 4);
  EXPECT_EQ(CountSections(other), 0U);
  EXPECT_EQ(Load(other), content);
  // Members in a row: what the header of the first says does not fit the file.
  EXPECT_EQ(Load(file + file), content + content);
  EXPECT_TRUE(log_.GetEntries().empty());
}

TEST_F(GzSectionsTest, SectionsThatRepeatOthersAreInflatedInOrder) {
  // What zlib writes with flushes that forget nothing.
  const std::string content = MakeText(1000, 1) + MakeText(1000, 1);
  std::string deflated(content.size() + 100, '\0');
  z_stream stream{};
  deflateInit2(&stream, 6, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
  stream.avail_in = 1000;
  stream.next_out = reinterpret_cast<Bytef*>(deflated.data());
  stream.avail_out = static_cast<uInt>(deflated.size());
  deflate(&stream, Z_SYNC_FLUSH);
  const std::uint32_t first = static_cast<std::uint32_t>(stream.total_out);
  stream.avail_in = 1000;
  ASSERT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  const std::uint32_t second = static_cast<std::uint32_t>(stream.total_out) - first;
  deflated.resize(stream.total_out);
  deflateEnd(&stream);

  const std::string sound = CompressGzip(content, 1000);
  const std::string file = WithTable(sound, {1000, first, second}).substr(0, kTableBegin + 12) + deflated +
                           sound.substr(sound.size() - 8);
  ASSERT_EQ(CountSections(file), 2U);
  EXPECT_EQ(InflateBySections(file), "<none>");
  EXPECT_EQ(Load(file), content);
}

TEST_F(GzSectionsTest, DamageIsFoundAsWithoutSections) {
  const std::string content = MakeText(600, 1);
  const std::string file = CompressGzip(content, 150);
  ASSERT_EQ(CountSections(file), 4U);
  for (std::size_t size = 0; size < file.size(); ++size)
    EXPECT_EQ(Load(file.substr(0, size)), "<none>") << size;
  libdeflate_decompressor* const decompressor = libdeflate_alloc_decompressor();
  std::string whole(content.size() + 1, '\0');
  for (std::size_t i = 0; i < file.size(); ++i) {
    for (int bit = 0; bit < 8; ++bit) {
      std::string damaged = file;
      damaged[i] = static_cast<char>(damaged[i] ^ (1 << bit));
      std::size_t taken = 0, size = 0;
      const bool sound =
          libdeflate_gzip_decompress_ex(decompressor, damaged.data(), damaged.size(), whole.data(),
                                        whole.size(), &taken, &size) == LIBDEFLATE_SUCCESS &&
          taken == damaged.size();
      ASSERT_EQ(Load(damaged), sound ? whole.substr(0, size) : "<none>") << "byte " << i << ", bit " << bit;
    }
  }
  libdeflate_free_decompressor(decompressor);
  // The reason is that of the whole file.
  log_.Clear();
  EXPECT_EQ(Load(file.substr(0, file.size() - 5) + "xxxxx"), "<none>");
  EXPECT_EQ(log_.GetTexts(1).size(), 1U);
  EXPECT_TRUE(log_.Contains("Cannot read memory: not a gzip file, or damaged"));
}

TEST_F(GzSectionsTest, DeclaredSizesAreNotBelieved) {
  // 4 GiB in a table that fits, which these bytes cannot hold; and what they could hold, but do not.
  for (const std::uint32_t each : {0x3fffffffU, 20000U}) {
    const std::string file = CompressGzip(MakeText(2000, 1), 1000);
    const std::vector<GzSection> sections = FindGzSections(file.data(), file.size());
    std::string lying = WithTable(file, {each, static_cast<std::uint32_t>(sections[0].deflatedSize),
                                         static_cast<std::uint32_t>(sections[1].deflatedSize)});
    lying.replace(lying.size() - 4, 4, Integer(2 * each));
    ASSERT_EQ(CountSections(lying), 2U);
    EXPECT_EQ(Load(lying), "<none>");
    EXPECT_TRUE(log_.Contains("damaged"));
  }
}

}  // namespace
}  // namespace mirel
