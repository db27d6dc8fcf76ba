#include <Programs/mirel/Web/SiteWriter.h>

#include <Programs/mirel/Seal/FileBytes.h>
#include <Programs/mirel/Web/PageTemplate.h>
#include <Programs/mirel/Web/PageText.h>
#include <Programs/mirel/Web/SiteFiles.h>
#include <Programs/mirel/Web/WebModel.h>

#include <Viewer/Kernel/Model/FolderFiles.h>

#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace mirel {

namespace {

constexpr const char* kReadme =
    R"(This folder is a web page that shows a model. Put it on any web server that gives out files; the page
is index.html. To look at it on this machine: mirel site FOLDER OUT --preview. A browser does not let a
page fetch files when it is opened from the disk; "mirel page" makes one file that opens by double click.

What the server has to send:

  index.html   text/html; charset=utf-8
  page.js      text/javascript, or the browser will not run it
  *.json       any type, application/json is right
  *.gz         any type, application/gzip is right. With or without "Content-Encoding: gzip": both work.
  *.lz         any type, application/lzip is right

  CORS         not needed as long as the page and the model lie on one host. For a page elsewhere that shows
               this model, send *.gz, *.lz and *.json with "Access-Control-Allow-Origin: *".
  Ranges       not needed; files are fetched whole.
  Caching      as for any file that may change. All files of a model belong together: let browsers ask
               again (Cache-Control: no-cache, with ETag or Last-Modified) when models are replaced.

What is here:

  index.html, page.js     the page, and the viewer that it runs
  index.gz, grep/*.gz     the model as it was saved: the item tree, and what is drawn
  index.lz, draw/*.lz     index.gz once more, and of grep/*.gz what a picture needs: fetched in their place, and
                          grep/*.gz when somebody measures
  overview.json           what the page wants to know first: boxes, sizes, which package holds which body.
                          It works without, and then without draw/.
  extras.gz               what the source said beside, if anything
  model/*.gz              the exact bodies, if the folder was made with --with-bodies

Nothing here is run on the server, and the page sends nothing anywhere.
)";

bool IsIn(const fs::path& path, const fs::path& folder) {
  std::error_code failure;
  for (fs::path at = fs::weakly_canonical(path, failure); !failure; at = at.parent_path()) {
    std::error_code unequal;
    if (fs::equivalent(at, folder, unequal) && !unequal) {
      return true;
    }
    if (!at.has_relative_path()) {
      break;
    }
  }
  return false;
}

bool Place(const std::string& path, const std::string& content, std::string& reason) {
  std::error_code failure;
  fs::create_directories(fs::u8path(path).parent_path(), failure);
  return FileBytes::Write(path, content, reason);
}

}  // namespace

SiteWriter::SiteWriter(const std::string& target, bool force)
    : target_(target), replacement_(target, force, SiteFiles::GetOthers()) {}

std::string SiteWriter::Check(const std::string& input) const {
  const fs::path target = fs::u8path(target_);
  std::error_code failure;
  if (fs::exists(target, failure) && IsIn(fs::u8path(input), target)) {
    return "holds what the site is to be made of";
  }
  // A site has no bodies unless they are asked for, so it must not come in the place of the model itself.
  if (fs::exists(target / FolderFiles::kIndex, failure) && !fs::exists(target / SiteFiles::kPage, failure)) {
    return "is a model folder and no site (it has no index.html)";
  }
  return replacement_.Check();
}

bool SiteWriter::Write(const WebModel& model, const std::string& title, const PageTemplate& form,
                       std::string& reason, std::string& left) {
  if (!replacement_.Begin(reason) || !WriteFiles(model, title, form, reason) ||
      !replacement_.Commit(reason)) {
    return false;
  }
  left = replacement_.RemoveAside();
  return true;
}

bool SiteWriter::WriteFiles(const WebModel& model, const std::string& title, const PageTemplate& form,
                            std::string& reason) const {
  const std::string folder = replacement_.GetFolder();
  for (const WebModel::File& file : model.GetFiles()) {
    std::string content;
    if (!WebModel::Read(file, content, reason)) {
      reason = file.path + ": " + reason;
      return false;
    }
    if (!Place(folder + file.name, content, reason)) {
      return false;
    }
  }
  return Place(folder + FolderFiles::kOverview, model.GetOverview(), reason) &&
         Place(folder + PageTemplate::kScript, form.script, reason) &&
         Place(folder + SiteFiles::kReadme, kReadme, reason) &&
         Place(folder + SiteFiles::kPage, PageText::MakeSitePage(form, title), reason);
}

}  // namespace mirel
