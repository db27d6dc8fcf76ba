#pragma once

#include <Programs/mirel/Check/FindingList.h>
#include <Programs/mirel/Check/IndexCheck.h>
#include <Programs/mirel/Check/PackageSet.h>
#include <Programs/mirel/Extras/Extras.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace mirel {

class GRepShape;
class ProgressBar;
class TopoShape;

/// Checks a model folder and tells what of it can be used.
///
/// It takes no more of a folder for granted than a reader does, in the same limits. Whatever OpenCASCADE makes of the
/// bodies happens apart, so that one body that makes it crash or run for ever is a finding about this body.
class FolderCheck {
 public:
  /// How much is checked; each level includes the ones before.
  enum class Level {
    kIndex,      ///< the index
    kPackages,   ///< that all files are there, and the tables in them
    kBodies,     ///< that every body and every graphics record can be decoded
    kAgreement,  ///< that items, bodies and graphics fit together
  };

  /// What a check has met.
  struct Figures {
    bool opens = false;       ///< whether a viewer can open the folder at all
    std::uint64_t items = 0;  ///< stored, not unfolded
    std::uint64_t types = 0;
    std::uint64_t packages = 0;
    std::uint64_t bodies = 0;    ///< in packages, each id once; from level "bodies" on only those that decode
    std::uint64_t graphics = 0;  ///< likewise
    std::uint64_t shapeItems = 0;  ///< items that place a body
    std::uint64_t drawnItems = 0;  ///< those of them whose graphics are there
    std::uint64_t exactItems = 0;  ///< those whose exact body is there
    std::uint64_t faces = 0;       ///< of the bodies
    std::uint64_t comparedPoints = 0;
  };

  /// `path` is the folder or its index file.
  explicit FolderCheck(const std::string& path);

  /// Has a progress line told of the stages.
  void SetProgress(ProgressBar* progress) { progress_ = progress; }
  /// How long one body may take.
  void SetBodySeconds(unsigned int seconds) { bodySeconds_ = seconds; }
  /// Replaces what makes bodies of text, so that tests can have it fail in ways that no known text does.
  void SetBodyReader(std::function<std::shared_ptr<TopoShape>(const std::string& text)> reader) {
    readBody_ = std::move(reader);
  }

  /// To be called once.
  void Run(Level level);

  const FindingList& GetFindings() const { return findings_; }
  const Figures& GetFigures() const { return figures_; }

 private:
  using IdSet = std::unordered_set<ObjectId, SecretIdHash>;

  void CheckIndex();
  void CheckFiles();
  void CheckFolder(const std::string& name, std::uint32_t count);
  void NoteLink(const std::string& name);
  void CheckRecords();
  void CheckBodies();
  void CheckBody(const PackageSet::Item& item, const std::string& file,
                 const std::function<void(const std::string&)>& say) const;
  void CheckExtras();
  void CheckExtrasItem(const Extras::Item& item, const std::string& name);
  void CheckUses();
  void CheckUnused(const PackageSet& packages, CheckCode code, const char* what);
  void Summarise(Level level);

  std::string index_;      // the path
  std::string indexName_;  // relative to the folder
  std::string folder_;     // with a separator at its end
  ProgressBar* progress_ = nullptr;
  unsigned int bodySeconds_ = 60;
  std::function<std::shared_ptr<TopoShape>(const std::string& text)> readBody_;

  FindingList findings_;
  Figures figures_;
  IndexCheck contents_;
  Extras extras_;
  PackageSet bodies_;
  PackageSet greps_;
  bool compares_ = false;
  std::unordered_map<ObjectId, std::shared_ptr<GRepShape>, SecretIdHash> goodGReps_;
  std::unordered_map<ObjectId, std::uint32_t, SecretIdHash> goodBodies_;  // and the number of their faces
};

}  // namespace mirel
