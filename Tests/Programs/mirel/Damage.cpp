#include <Tests/Programs/mirel/Damage.h>

#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <filesystem>

namespace mirel {

Damage NoDamage() {
  return [](const std::string&) {};
}

Damage Change(const std::string& file, const std::function<void(std::string&)>& change) {
  return [=](const std::string& folder) {
    std::string content = Inflate(folder + file);
    change(content);
    WriteGzip(folder + file, content);
  };
}

Damage Edit(const std::string& from, const std::string& to, const std::string& file) {
  return Change(file, [=](std::string& content) {
    const std::size_t at = content.find(from);
    ASSERT_NE(at, std::string::npos) << from << " in " << content;
    content.replace(at, from.size(), to);
  });
}

Damage Pack(const std::string& file, const std::vector<std::pair<unsigned long long, std::string>>& items) {
  return [=](const std::string& folder) { WriteGzip(folder + file, MakePackage(items)); };
}

Damage Put(const std::string& file, const std::string& content) {
  return [=](const std::string& folder) {
    Remove(file)(folder);
    WriteFile(folder + file, content);
  };
}

Damage Remove(const std::string& file) {
  return
      [=](const std::string& folder) { std::filesystem::remove_all(std::filesystem::u8path(folder + file)); };
}

}  // namespace mirel
