#include <Programs/mirel/Check/FolderCheck.h>

#include <Programs/mirel/Check/BodyAgreement.h>
#include <Programs/mirel/Check/GuardedLoop.h>
#include <Programs/mirel/Check/SealCheck.h>
#include <Programs/mirel/Extras/ExtrasReader.h>
#include <Programs/mirel/LogNotes.h>
#include <Programs/mirel/Open/ModelPath.h>
#include <Programs/mirel/ProgressBar.h>
#include <Programs/mirel/Text/Plural.h>

#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Model/FolderFiles.h>
#include <Viewer/Kernel/Reader/MemoryStream.h>

#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS_Shape.hxx>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace mirel {

namespace {

// What the process that looks at bodies says about one: findings, as code, line end, text; and its faces and the points
// that were compared.
constexpr char kFigures = '=';

std::string WithReason(const std::string& text, LogNotes& notes) {
  const std::string reason = notes.Take();
  return reason.empty() ? text : text + ": " + reason;
}

const char* WhyForeign(const std::string& name) {
  return FolderFiles::IsHidden(name)
             ? "was left by a save that was interrupted, or belongs to one that goes on"
             : "does not belong to a model folder";
}

std::string NameOfPath(const fs::path& path) {
  return path.filename().u8string();
}

CheckCode CodeOf(ExtrasReader::Fault fault) {
  switch (fault) {
  case ExtrasReader::Fault::kBadMember:
    return CheckCode::kExtrasMember;
  case ExtrasReader::Fault::kUnknownMember:
    return CheckCode::kExtrasUnknownMember;
  case ExtrasReader::Fault::kMemberTwice:
    return CheckCode::kExtrasMemberTwice;
  case ExtrasReader::Fault::kVersion:
    break;
  }
  return CheckCode::kExtrasVersion;
}

}  // namespace

FolderCheck::FolderCheck(const std::string& path)
    : index_(ModelPath::FindIndex(path)),
      indexName_(NameOfPath(fs::u8path(index_))),
      folder_(PathUtil::GetFolderPath(index_)),
      readBody_([](const std::string& text) { return TopoShape::Read(text); }),
      bodies_(folder_, FolderFiles::kShapes),
      greps_(folder_, FolderFiles::kGReps) {}

void FolderCheck::Run(Level level) {
  const auto begin = [this](const char* stage) {
    if (progress_ != nullptr) {
      progress_->Begin(stage);
    }
  };
  compares_ = level >= Level::kAgreement;
  begin("index");
  CheckIndex();
  if (level >= Level::kPackages) {
    begin("packages");
    CheckFiles();
  }
  if (level >= Level::kBodies) {
    begin("graphics");
    CheckRecords();
    begin("bodies");
    CheckBodies();
  }
  if (compares_ && contents_.opens) {
    CheckUses();
    for (std::size_t i = 0; i < extras_.items.size(); ++i) {
      CheckExtrasItem(extras_.items[i], "element " + std::to_string(i + 1) + " of Items");
    }
  }
  Summarise(level);
}

void FolderCheck::CheckIndex() {
  NoteLink(indexName_);
  std::string content;
  {
    // Only one of the two forms of the text stays.
    LogNotes notes;
    const std::shared_ptr<RawBuffer> buffer = GzBuffer::FromFile(index_);
    if (!buffer) {
      findings_.Add(CheckCode::kIndexUnreadable, indexName_, "cannot be read: " + notes.TakeReason(index_));
      return;
    }
    content.assign(buffer->GetData(), buffer->GetSize());
  }
  contents_.Run(std::move(content), indexName_, findings_);
}

void FolderCheck::CheckFiles() {
  if (contents_.opens) {
    const bool nothingUsed = contents_.uses.empty();
    greps_.CheckCounted(contents_.grepPackages, nothingUsed, findings_);
    bodies_.CheckCounted(contents_.shapePackages, nothingUsed, findings_);
  } else {
    greps_.CheckFound(findings_);
    bodies_.CheckFound(findings_);
  }
  std::error_code failure;
  const fs::path folder = folder_.empty() ? fs::path(".") : fs::u8path(folder_);
  fs::directory_iterator entry(folder, failure);
  for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
    const std::string name = NameOfPath(entry->path());
    if (name == FolderFiles::kShapes) {
      CheckFolder(name, contents_.shapePackages);
    } else if (name == FolderFiles::kGReps || name == FolderFiles::kDrawings) {
      CheckFolder(name, contents_.grepPackages);
    } else if (FolderFiles::IsBeside(name)) {
      NoteLink(name);
      if (name == FolderFiles::kExtras) {
        CheckExtras();
      }
    } else if (name != indexName_) {
      findings_.Add(CheckCode::kForeignFile, name, WhyForeign(name));
    }
  }
  SealCheck::Run(folder_, findings_);
}

void FolderCheck::CheckFolder(const std::string& name, std::uint32_t count) {
  NoteLink(name);
  std::error_code failure;
  fs::directory_iterator entry(fs::u8path(folder_ + name), failure);
  for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
    const std::string file = NameOfPath(entry->path());
    const std::string path = (fs::u8path(name) / fs::u8path(file)).generic_u8string();
    const std::uint32_t number = FolderFiles::GetPackageNumber(file, name);
    if (number == 0) {
      findings_.Add(CheckCode::kForeignFile, path, WhyForeign(file));
    } else if (contents_.opens && number > count) {
      findings_.Add(CheckCode::kPackageBeyondCount, path,
                    "is not opened: the index counts " + std::to_string(count));
    }
  }
  if (failure) {
    findings_.Add(CheckCode::kPackageUnreadable, name, "cannot be listed: " + failure.message());
  }
}

void FolderCheck::NoteLink(const std::string& name) {
  std::error_code ignored;
  if (fs::is_symlink(fs::symlink_status(fs::u8path(folder_ + name), ignored))) {
    findings_.Add(CheckCode::kPackageLink, name, "is a link");
  }
}

void FolderCheck::CheckRecords() {
  greps_.Visit([this](const std::string& file, const std::vector<PackageSet::Item>& items) {
    for (const PackageSet::Item& item : items) {
      LogNotes notes;
      MemoryStream stream(item.bytes, item.size);
      const std::shared_ptr<GRepShape> grep = GRepShape::FromStream(stream);
      if (!grep) {
        findings_.Add(CheckCode::kRecordRefused, file, WithReason(item.name, notes));
        continue;
      }
      const std::streamsize left = stream.rdbuf()->in_avail();
      if (left > 0) {
        findings_.Add(CheckCode::kRecordBehindEnd, file,
                      item.name + ": " +
                          Plural::Count(static_cast<std::uint64_t>(left),
                                        "byte|bytes behind the record is|are ignored"));
      }
      if (item.counts) {
        goodGReps_[item.id] = grep;
      }
      const std::size_t empty = grep->GetMesh().CountFacesWithoutTriangles();
      if (compares_ && empty > 0 && !grep->GetMesh().box.IsInfinite()) {
        findings_.Add(CheckCode::kFacesWithoutTriangles, file,
                      item.name + ": nothing is drawn of " + std::to_string(empty) + " of " +
                          Plural::Count(grep->GetMesh().faces.size(), "face|faces"));
      }
    }
  });
}

void FolderCheck::CheckBody(const PackageSet::Item& item, const std::string& file,
                            const std::function<void(const std::string&)>& say) const {
  const auto report = [&](CheckCode code, const std::string& text) {
    say(std::string(Describe(code).id) + "\n" + file + "\n" + item.name + ": " + text);
  };
  LogNotes notes;
  const std::shared_ptr<TopoShape> body = readBody_(std::string(item.bytes, item.size));
  if (!body) {
    report(CheckCode::kBodyRefused, notes.Take());
    return;
  }
  const TopoDS_Shape& shape = body->GetImpl();
  if (shape.IsNull()) {
    report(CheckCode::kBodyUndecoded, notes.Take());
    return;
  }
  TopTools_IndexedMapOfShape faces;
  TopExp::MapShapes(shape, TopAbs_FACE, faces);
  say(kFigures + std::to_string(faces.Extent()));
  const auto grep = goodGReps_.find(item.id);
  if (compares_ && item.counts && grep != goodGReps_.end()) {
    const std::uint64_t points =
        BodyAgreement::Compare(shape, grep->second->GetMesh(), BodyAgreement::Effort::kMuch, report);
    say(kFigures + std::string(1, kFigures) + std::to_string(points));
  }
}

void FolderCheck::CheckBodies() {
  std::size_t packages = 0;
  bodies_.Visit([&](const std::string& file, const std::vector<PackageSet::Item>& items) {
    if (progress_ != nullptr) {
      progress_->SetFraction(static_cast<double>(packages++) /
                             static_cast<double>(bodies_.GetPackageCount()));
    }
    GuardedLoop::Run(
        items.size(), GuardedLoop::Limits{bodySeconds_, 0},
        [&](std::size_t i, const GuardedLoop::Say& say) { CheckBody(items[i], file, say); },
        [&](std::size_t i, const std::string& said) {
          if (said.compare(0, 2, "==") == 0) {
            figures_.comparedPoints += std::stoull(said.substr(2));
          } else if (said[0] == kFigures) {
            const auto faces = static_cast<std::uint32_t>(std::stoul(said.substr(1)));
            figures_.faces += faces;
            if (items[i].counts) {
              goodBodies_[items[i].id] = faces;
            }
          } else {
            const std::size_t file_ends = said.find('\n', 5);
            CheckCode code{};
            if (FindCheckCode(said.substr(0, 4), code)) {
              findings_.Add(code, said.substr(5, file_ends - 5), said.substr(file_ends + 1));
            }
          }
        },
        [&](std::size_t i, GuardedLoop::End end) {
          if (end == GuardedLoop::End::kDone) {
            return;
          }
          const bool late = end == GuardedLoop::End::kTimedOut;
          findings_.Add(late ? CheckCode::kBodyTimeout : CheckCode::kBodyCrash, file,
                        items[i].name + (late
                                             ? ": given up after " + std::to_string(bodySeconds_) + " seconds"
                                             : std::string(": made OpenCASCADE fail")));
          goodBodies_.erase(items[i].id);
        });
  });
}

void FolderCheck::CheckExtras() {
  const std::string file = FolderFiles::kExtras;
  ExtrasReader reader;
  const bool good = reader.ReadFile(folder_ + file, [&](ExtrasReader::Fault fault, const std::string& text) {
    findings_.Add(CodeOf(fault), file, text);
  });
  if (good) {
    extras_ = reader.GetExtras();
  } else {
    findings_.Add(reader.IsNoJson() ? CheckCode::kExtrasNoJson : CheckCode::kExtrasUnreadable, file,
                  reader.GetError());
  }
}

void FolderCheck::CheckExtrasItem(const Extras::Item& item, const std::string& name) {
  const std::string file = FolderFiles::kExtras;
  const auto checkIds = [&](const Extras::Ids& ids) {
    for (const ObjectId& id : ids) {
      if (contents_.bodyOf.count(id) == 0) {
        findings_.Add(CheckCode::kExtrasItem, file,
                      name + ": the index has no item with the id " + id.toString());
      }
    }
  };
  checkIds(item.ids);
  std::for_each(item.within.begin(), item.within.end(), checkIds);
  for (const ObjectId& id : item.ids) {
    const auto body = contents_.bodyOf.find(id);
    const auto grep = body == contents_.bodyOf.end() ? goodGReps_.end() : goodGReps_.find(body->second);
    // Where the graphics are missing, something else is found.
    const bool isShape = body != contents_.bodyOf.end() && body->second != ObjectId();
    if (isShape && grep == goodGReps_.end()) {
      continue;
    }
    const std::size_t faces = isShape ? grep->second->GetMesh().faces.size() : 0;
    const std::size_t edges = isShape ? grep->second->GetMesh().edges.size() : 0;
    const auto check = [&](const char* kind, std::size_t count, std::uint32_t index) {
      if (index >= count) {
        findings_.Add(CheckCode::kExtrasPart, file,
                      name + ": item " + id.toString() + " has no " + kind + " " + std::to_string(index));
      }
    };
    for (const auto& face : item.faceAlphas) {
      check("face", faces, face.first);
    }
    for (const std::uint32_t face : item.hiddenFaces) {
      check("face", faces, face);
    }
    for (const auto& edge : item.edgeColors) {
      check("edge", edges, edge.first);
    }
    for (const std::uint32_t edge : item.hiddenEdges) {
      check("edge", edges, edge);
    }
    for (const Extras::Part& part : item.parts) {
      if (part.kind == "Face" || part.kind == "Edge") {
        check(part.kind == "Face" ? "face" : "edge", part.kind == "Face" ? faces : edges, part.index);
      }
    }
  }
}

void FolderCheck::CheckUses() {
  for (const IndexCheck::Use& use : contents_.uses) {
    const std::string id = use.body.toString();
    const auto body = goodBodies_.find(use.body);
    const auto grep = goodGReps_.find(use.body);
    const auto missing = [&](const PackageSet& packages) {
      return packages.GetPlaces().count(use.body) > 0 ? id + " is damaged"
                                                      : "no package that can be read holds " + id;
    };
    if (body == goodBodies_.end()) {
      findings_.Add(CheckCode::kItemWithoutBody, indexName_,
                    use.item + " has no exact body: " + missing(bodies_));
    }
    if (grep == goodGReps_.end()) {
      findings_.Add(CheckCode::kItemWithoutGraphics, indexName_,
                    use.item + " is not drawn, for want of graphics: " + missing(greps_));
    }
    if (body == goodBodies_.end() && grep == goodGReps_.end()) {
      continue;
    }
    const std::size_t faces = body != goodBodies_.end() ? body->second : grep->second->GetMesh().faces.size();
    const auto isBeyond = [&](std::uint32_t face) { return face >= faces; };
    const auto beyond = std::count_if(use.faces.begin(), use.faces.end(), isBeyond);
    if (beyond > 0) {
      findings_.Add(CheckCode::kFaceColorBeyond, indexName_,
                    use.item + " has " + Plural::Count(faces, "face|faces") + " and " +
                        Plural::Count(static_cast<std::uint64_t>(beyond), "colour|colours for others") +
                        ": the first is for face " +
                        std::to_string(*std::find_if(use.faces.begin(), use.faces.end(), isBeyond)));
    }
  }
  CheckUnused(bodies_, CheckCode::kBodyUnused, "body");
  CheckUnused(greps_, CheckCode::kGraphicsUnused, "graphics record");
}

void FolderCheck::CheckUnused(const PackageSet& packages, CheckCode code, const char* what) {
  IdSet used;
  for (const IndexCheck::Use& use : contents_.uses) {
    used.insert(use.body);
  }
  std::vector<std::pair<ObjectId, PackageSet::Place>> unused;
  for (const auto& place : packages.GetPlaces()) {
    if (used.count(place.first) == 0) {
      unused.emplace_back(place);
    }
  }
  std::sort(unused.begin(), unused.end(), [](const auto& a, const auto& b) {
    return std::pair(a.second.package, a.second.item) < std::pair(b.second.package, b.second.item);
  });
  for (const auto& [id, place] : unused) {
    findings_.Add(code, packages.GetFile(place.package),
                  "item " + std::to_string(place.item) + ", id " + id.toString() + ": no item uses this " +
                      what);
  }
}

void FolderCheck::Summarise(Level level) {
  figures_.opens = contents_.opens;
  figures_.items = contents_.items;
  figures_.types = contents_.types;
  figures_.packages = bodies_.GetPackageCount() + greps_.GetPackageCount();
  const bool decoded = level >= Level::kBodies;
  const auto isBody = [&](const ObjectId& id) {
    return decoded ? goodBodies_.count(id) > 0 : bodies_.GetPlaces().count(id) > 0;
  };
  const auto isGRep = [&](const ObjectId& id) {
    return decoded ? goodGReps_.count(id) > 0 : greps_.GetPlaces().count(id) > 0;
  };
  figures_.bodies = decoded ? goodBodies_.size() : bodies_.GetPlaces().size();
  figures_.graphics = decoded ? goodGReps_.size() : greps_.GetPlaces().size();
  figures_.shapeItems = contents_.uses.size();
  for (const IndexCheck::Use& use : contents_.uses) {
    figures_.exactItems += isBody(use.body) ? 1 : 0;
    figures_.drawnItems += isGRep(use.body) ? 1 : 0;
  }
}

}  // namespace mirel
