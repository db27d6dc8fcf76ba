#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>
#include <libdeflate.h>

#include <BRepBuilderAPI_MakeFace.hxx>
#include <TopoDS_Shape.hxx>
#include <gp_Pln.hxx>

#include <algorithm>
#include <cstring>
#include <set>

namespace mirel {
namespace {

namespace fs = std::filesystem;

using Bytes = std::string;
using Items = std::vector<std::pair<unsigned long long, Bytes>>;

Bytes Number(std::uint64_t value, std::size_t size) {
  Bytes bytes;
  for (; bytes.size() < size; value >>= 8)
    bytes += static_cast<char>(value & 0xFF);
  return bytes;
}

Bytes Replaced(Bytes bytes, std::size_t offset, const Bytes& part) {
  return bytes.replace(offset, part.size(), part);
}

/// A new file each time: some file systems flush one that is overwritten to the disk at once.
void Put(const std::string& path, const Bytes& content) {
  fs::remove(fs::u8path(path));
  WriteFile(path, content);
}

/// As `WriteGzip`, but not flushed to the disk.
void PutGzip(const std::string& path, const Bytes& content) {
  const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
      libdeflate_alloc_compressor(1), &libdeflate_free_compressor);
  Bytes file(libdeflate_gzip_compress_bound(compressor.get(), content.size()), '\0');
  file.resize(
      libdeflate_gzip_compress(compressor.get(), content.data(), content.size(), file.data(), file.size()));
  Put(path, file);
}

/// A small model folder whose files are damaged one at a time, in every possible place.
class HostileFolder : public ::testing::Test {
 protected:
  /// What a node shows: its graphics record, and whether it has its body.
  using Shown = std::map<std::string, std::pair<Bytes, bool>>;

  static void SetUpTestSuite() {
    for (int i = 1; i <= 3; ++i) {
      const auto face = std::make_shared<TopoShape>(BRepBuilderAPI_MakeFace(gp_Pln(), 0, i, 0, 2).Shape());
      greps_.emplace_back(10 * i, ToRecord(MakeGRep(face)));
      bodies_.emplace_back(10 * i, ToText(face));
    }
  }
  void SetUp() override {
    for (const char* const kind : {"grep", "model"})
      fs::create_directories(folder_.GetFsPath() / kind);
    for (const std::string& name : names_)
      PutGzip(path_ + name, Content(name));
    whole_ = Open();
    ASSERT_EQ(whole_.size(), 4U);
    ASSERT_TRUE(log_.GetTexts(3).empty());
  }
  static Bytes Content(const std::string& name) {
    if (name == "index.gz")
      return Head() + Types() + R"(],"Items":[)" + Item(1) + "," + Item(2) + "," + Instance() + "]}";
    const Items& items = name[0] == 'g' ? greps_ : bodies_;
    return name.find('1') != std::string::npos ? MakePackage({items[0], items[1]}) : MakePackage({items[2]});
  }
  static std::string Head() { return R"({"Version":1,"Metadata":{"PkgShape":2,"PkgGRep":2},"Types":[)"; }
  static std::string Types() { return R"({"Type":"Shape","Id":"7","Name":"t","SId":"30","FColor":[]})"; }
  static std::string Item(int i) {
    return R"({"Type":"Group","Id":")" + std::to_string(i) +
           R"(","Name":"g","Children":[{"Type":"Shape","Id":")" + std::to_string(10 + i) +
           R"(","Name":"s","Color":[1.0,0.5,0.0],"SId":")" + std::to_string(10 * i) +
           R"(","FColor":[{"FId":0,"Color":[0.0,0.0,1.0]}]}]})";
  }
  static std::string Instance() {
    return R"({"Type":"Instance","Id":"3","Name":"i","Transform":[1.0,0,0,0,0,1,0,0,0,0,1,0,5,0,0,1],"TId":"7"})";
  }

  void Collect(const SceneNode& node, const std::string& path, Shown& shown) const {
    // With what the item says of itself, so that a node counts as the same only when nothing of it has changed.
    std::string text = DescribeNodes(node);
    const std::string name = path + text.substr(0, text.find('\n'));
    if (const auto* const body = dynamic_cast<const BrepSceneNode*>(&node)) {
      const std::shared_ptr<TopoShape> shape = body->GetGRep()->GetShape();
      shown[name] = {ToRecord(body->GetGRep()), shape != nullptr};
    } else {
      const auto& nodes = dynamic_cast<const GroupSceneNode&>(node).GetNodes();
      for (const std::shared_ptr<SceneNode>& child : nodes)
        Collect(*child, name + "/", shown);
      if (nodes.empty()) shown[name];
    }
  }
  /// What is shown of the folder, under paths of descriptions; one entry more, "root", for the root itself.
  Shown Open() {
    log_.Clear();
    Shown shown;
    if (const std::shared_ptr<SceneNode> root = LiteSceneReader().Load(path_ + "index.gz", nullptr)) {
      Collect(*root, "", shown);
      shown["root"];
    }
    return shown;
  }
  bool HasFailure3() const { return !log_.GetTexts(3).empty(); }
  /// Whether everything is shown that was shown of a sound item, bodies left aside if they are not asked for.
  bool ShowsAll(const Shown& now, const std::set<unsigned long long>& bodies, bool withBodies) const {
    return std::all_of(whole_.begin(), whole_.end(), [&](const auto& node) {
      if (node.first == "root") return now.count("root") > 0;
      const auto record = std::find_if(greps_.begin(), greps_.end(),
                                       [&](const auto& grep) { return grep.second == node.second.first; });
      if (bodies.count(record->first) == 0) return true;
      const auto found = now.find(node.first);
      return found != now.end() &&
             (withBodies ? found->second.second : found->second.first == node.second.first);
    });
  }

  static Items greps_;
  static Items bodies_;
  const TestFolder folder_;
  const std::string path_ = folder_.GetPath();
  const std::vector<std::string> names_{"index.gz", "grep/1.gz", "grep/2.gz", "model/1.gz", "model/2.gz"};
  LogCapture log_;
  Shown whole_;
};

Items HostileFolder::greps_;
Items HostileFolder::bodies_;

// A gzip file is whole or it is missing: its checksum sees to that.
TEST_F(HostileFolder, DamagedFilesCountAsMissing) {
  for (const std::string& name : names_) {
    const std::string file = path_ + name;
    const Bytes good = ReadFile(file);
    fs::remove(fs::u8path(file));
    const Shown without = Open();
    int refused = 0;
    const auto expect = [&](const Bytes& bytes, const char* what, std::size_t place) {
      Put(file, bytes);
      const Shown now = Open();
      const bool missing = log_.Contains("Cannot read " + file + ": ");
      refused += missing;
      ASSERT_TRUE(now == (missing ? without : whole_)) << name << ": " << what << " " << place;
      ASSERT_EQ(HasFailure3(), missing) << name << ": " << what << " " << place;
      ASSERT_EQ(log_.Count(3, "Buffer is null!"), missing) << name << ": " << what << " " << place;
    };
    for (std::size_t i = 0; i < good.size(); ++i) {
      expect(good.substr(0, i), "cut at", i);
      for (const char byte : {'\0', '\xff', static_cast<char>(good[i] ^ 1), static_cast<char>(~good[i])})
        expect(Replaced(good, i, Bytes(1, byte)), "byte", i);
    }
    expect(good + '\0', "longer by", 1);
    EXPECT_GE(refused, static_cast<int>(4 * good.size()) - 60)
        << "all but a few bytes of the header, and no changes";
    WriteFile(file, good);
  }
}

/// What the entries of a package say, read by its description and not by the reader.
struct Entries {
  std::set<unsigned long long> whole;  // ids whose last item is what was saved under it
  bool isPackage = false;
};

Entries Decode(const Bytes& content, const Items& saved) {
  const auto number = [&](std::size_t offset, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t i = size; i-- > 0;)
      value = value << 8 | static_cast<unsigned char>(content[offset + i]);
    return value;
  };
  Entries entries;
  const std::uint64_t count = content.size() < 4 ? 0 : number(0, 4);
  if (count == 0 || 4 + 16 * count > content.size()) return entries;
  entries.isPackage = true;
  std::size_t at = 4 + 16 * static_cast<std::size_t>(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint64_t id = number(4 + 16 * i, 8);
    const std::size_t size = static_cast<std::size_t>(number(16 + 16 * i, 4));
    const std::size_t present = std::min(size, content.size() - at);
    const auto item = std::find_if(saved.begin(), saved.end(), [&](const auto& s) { return s.first == id; });
    if (present == size && item != saved.end() && content.compare(at, size, item->second) == 0)
      entries.whole.insert(id);
    at += present;
  }
  return entries;
}

// Every byte of a package's table and of its items' headers, and every length; then numbers at their limits.
TEST_F(HostileFolder, DamagedPackagesCostOnlyTheItemsThatAreDamaged) {
  for (const std::string name : {"grep/1.gz", "grep/2.gz", "model/1.gz"}) {
    const bool isGRep = name[0] == 'g';
    const Items& saved = isGRep ? greps_ : bodies_;
    const Bytes good = Content(name);
    const std::size_t items = name.find('1') != std::string::npos ? 2 : 1;
    const std::size_t table = 4 + 16 * items;
    const auto expect = [&](const Bytes& content, const char* what, std::size_t place, bool isId) {
      PutGzip(path_ + name, content);
      const Shown now = Open();
      const Entries entries = Decode(content, saved);
      std::set<unsigned long long> sound = entries.whole;
      for (const auto& item : saved) {
        if (good.find(item.second) == Bytes::npos) sound.insert(item.first);  // those of the other package
      }
      const std::string where = name + ": " + what + " " + std::to_string(place);
      ASSERT_TRUE(ShowsAll(now, sound, !isGRep)) << where;
      if (!isGRep) {
        ASSERT_TRUE(ShowsAll(now, {10, 20, 30}, false))
            << where << ": what is drawn does not depend on bodies";
      }
      // A body under another id is one that nobody asks for.
      const bool complains = HasFailure3();
      if (now != whole_ && (isGRep || !isId)) {
        ASSERT_TRUE(complains) << where;
      }
      if (!entries.isPackage) {
        ASSERT_TRUE(log_.Contains(name + ": not a package")) << where;
      }
      if (sound.size() == saved.size()) {
        ASSERT_TRUE(now == whole_) << where;
      }
    };
    for (std::size_t length = 0; length < good.size(); length += length < table + 140 ? 1 : 7)
      expect(good.substr(0, length), "cut at", length, false);
    const std::size_t second = table + saved[0].second.size();
    for (std::size_t i = 0; i < good.size(); ++i) {
      const bool isHeader = i < table + 132 || (items == 2 && i >= second && i < second + 132);
      if (!isHeader) continue;
      for (const char byte : {'\0', '\xff', static_cast<char>(good[i] ^ 1), static_cast<char>(~good[i])}) {
        const Bytes content = Replaced(good, i, Bytes(1, byte));
        if (i < table) {
          expect(content, "byte", i, i >= 4 && (i - 4) % 16 < 8);
          continue;
        }
        // The item is refused, or is another one that is as good: box, grid and deflections are numbers like others,
        // and byte 6 says in how many bits coordinates are kept.
        PutGzip(path_ + name, content);
        const Shown now = Open();
        const std::size_t offset = i < second ? i - table : i - second;
        const unsigned long long hit = items == 1 ? 30 : i < second ? 10 : 20;
        std::set<unsigned long long> others{10, 20, 30};
        others.erase(hit);
        ASSERT_TRUE(ShowsAll(now, others, !isGRep)) << name << " byte " << i;
        if (isGRep && !HasFailure3()) {
          ASSERT_TRUE(now == whole_ || offset == 6 || offset >= 36) << name << " byte " << i;
        }
        if (!isGRep && !HasFailure3()) {
          ASSERT_TRUE(ShowsAll(now, {10, 20, 30}, true)) << name << " byte " << i;
        }
      }
    }
    for (const std::uint64_t limit : {0ULL, 1ULL, 2ULL, 3ULL, 0xFFFFULL, 0x10000ULL, 0x0FFFFFFFULL,
                                      0x10000000ULL, 0x7FFFFFFFULL, 0x80000000ULL, 0xFFFFFFFFULL}) {
      expect(Replaced(good, 0, Number(limit, 4)), "count", limit, false);
      for (std::size_t i = 0; i < items; ++i) {
        expect(Replaced(good, 12 + 16 * i, Number(limit, 4)), "offset", limit, false);
        for (const std::uint64_t size :
             {limit, saved[i].second.size() - limit, saved[i].second.size() + limit})
          expect(Replaced(good, 16 + 16 * i, Number(size, 4)), "size", size, false);
      }
      for (std::size_t field = 8; isGRep && field < 36; field += 4) {
        PutGzip(path_ + name, Replaced(good, table + field, Number(limit, 4)));
        const Shown now = Open();
        ASSERT_TRUE(HasFailure3() || now == whole_)
            << name << " field " << field << " of the record: " << limit;
      }
    }
    PutGzip(path_ + name, good);
  }
}

// A change inside an item costs that item at most; one between items, or a cut, costs all.
TEST_F(HostileFolder, ADamagedIndexIsRefusedOrCostsOnlyTheItemsThatAreDamaged) {
  const Bytes good = Content("index.gz");
  std::map<std::string, std::pair<std::size_t, std::size_t>>
      ranges;  // node: where its item stands in the text
  for (const auto& node : whole_) {
    if (node.first == "root") continue;
    const std::string item = node.first.find("\"i\"") != std::string::npos  ? Instance()
                             : node.first.find("G 1 ") != std::string::npos ? Item(1)
                                                                            : Item(2);
    ranges[node.first] = {good.find(item), good.find(item) + item.size()};
  }
  const std::size_t items = good.find("\"Items\":[") + 9;
  const std::size_t types = Head().size();
  int opened = 0;
  for (std::size_t i = 0; i < good.size(); ++i) {
    PutGzip(path_ + "index.gz", good.substr(0, i));
    ASSERT_TRUE(Open().empty()) << i;
    ASSERT_EQ(log_.GetTexts(3), std::vector<std::string>{"Failed to parse json content!"}) << i;
    for (const char byte :
         {'\0', '\xff', static_cast<char>(good[i] ^ 1), static_cast<char>(~good[i]), '9', '"'}) {
      PutGzip(path_ + "index.gz", Replaced(good, i, Bytes(1, byte)));
      const Shown now = Open();
      if (now.empty()) {
        const bool isName = i < types || i >= items - 9;
        ASSERT_TRUE(HasFailure3() || isName) << i;  // "Types" under another name is no failure to read
        continue;
      }
      ++opened;
      for (const auto& [node, range] : ranges) {
        const bool usesType = node.find("\"i\"") != std::string::npos;
        const bool isHit = (i >= range.first && i < range.second) || (usesType && i < items) || i < types;
        if (!isHit) {
          ASSERT_TRUE(now.count(node) > 0 && now.at(node) == whole_.at(node)) << i << " " << node;
        }
      }
    }
  }
  EXPECT_GE(opened, 500);
}

TEST_F(HostileFolder, CountsInTheIndexMayBeAnything) {
  for (const char* const count : {"0", "1", "3", "100", "2147483648", "4294967295", "4294967296", "-1", "1.5",
                                  "1e300", "\"2\"", "[2]", "{}", "null", "true"}) {
    for (const char* const key : {"\"PkgShape\":", "\"PkgGRep\":"}) {
      Bytes index = Content("index.gz");
      index.replace(index.find(key) + std::strlen(key), 1, count);
      PutGzip(path_ + "index.gz", index);
      const Shown now = Open();
      const unsigned long value = count[0] >= '0' && count[0] <= '9' ? std::strtoul(count, nullptr, 10) : 0;
      const bool isCount = value <= 0xFFFFFFFFUL && std::strpbrk(count, ".e") == nullptr;
      const unsigned long packages = isCount ? value : 0;
      const bool isGRep = std::strcmp(key, "\"PkgGRep\":") == 0;
      std::set<unsigned long long> sound;
      if (packages >= 1) sound = {10, 20};
      if (packages >= 2) sound.insert(30);
      EXPECT_TRUE(ShowsAll(now, sound, !isGRep)) << key << count;
      EXPECT_EQ(now == whole_, packages >= 2) << key << count;
      EXPECT_EQ(HasFailure3(), isGRep ? packages != 2 : packages > 2) << key << count;
    }
  }
}

}  // namespace
}  // namespace mirel
