#include <Programs/mirel/Open/IdSearch.h>

#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <algorithm>
#include <set>

namespace mirel {

namespace {

constexpr std::size_t kIdsNamed = 5;

}  // namespace

std::optional<unsigned long long> IdSearch::Find(const std::string& text, const std::vector<Called>& all,
                                                 std::string& error) {
  error.clear();
  const ObjectId id(text);
  const auto isIt = [&id](const Called& called) { return called.id == id.GetInteger(); };
  if (id.toString() == text && std::any_of(all.begin(), all.end(), isIt)) {
    return id.GetInteger();
  }
  std::set<unsigned long long> ids;
  for (const Called& called : all) {
    if (*called.name == text) {
      ids.insert(called.id);
    }
  }
  if (ids.size() == 1) {
    return *ids.begin();
  }
  const std::string quoted = "\"" + text + "\"";
  if (ids.empty()) {
    error = "nothing in the model has the id or the name " + quoted;
    return std::nullopt;
  }
  error = "several parts of the model have the name " + quoted + "; give the id of one:";
  std::size_t named = 0;
  for (const unsigned long long one : ids) {
    error += ++named > kIdsNamed ? "" : " " + std::to_string(one);
  }
  error += ids.size() > kIdsNamed ? " and " + std::to_string(ids.size() - kIdsNamed) + " more" : "";
  return std::nullopt;
}

}  // namespace mirel
