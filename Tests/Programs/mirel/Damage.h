#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace mirel {

/// Changes a model folder, given by its path with a separator at the end. Files are named relative to it.
using Damage = std::function<void(const std::string& folder)>;

Damage NoDamage();
/// Changes the inflated content of a file.
Damage Change(const std::string& file, const std::function<void(std::string&)>& change);
/// Replaces the first such part of the inflated content; fails the test when there is none.
Damage Edit(const std::string& from, const std::string& to, const std::string& file = "index.gz");
/// Puts a package of these items there, or in the place of one.
Damage Pack(const std::string& file, const std::vector<std::pair<unsigned long long, std::string>>& items);
/// Puts a file with this content there, or in the place of a file or folder.
Damage Put(const std::string& file, const std::string& content);
Damage Remove(const std::string& file);

}  // namespace mirel
