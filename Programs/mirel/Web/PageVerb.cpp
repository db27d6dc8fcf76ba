#include <Programs/mirel/Web/PageVerb.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/Diff/ChangeReport.h>
#include <Programs/mirel/Diff/Changes.h>
#include <Programs/mirel/Diff/ComparedVersions.h>
#include <Programs/mirel/Save/InputFolder.h>
#include <Programs/mirel/Seal/FileBytes.h>
#include <Programs/mirel/Web/PageTemplate.h>
#include <Programs/mirel/Web/PageText.h>
#include <Programs/mirel/Web/WebModel.h>

#include <Viewer/Kernel/Model/FolderFiles.h>

#include <CLI/CLI.hpp>

namespace mirel {

namespace {

// What browsers hold as one text, less what the encoding adds.
constexpr std::size_t kMaxModelBytes = std::size_t{256} << 20;

// What is different, as `mirel diff --json` tells it, beside the files of the older version.
constexpr const char* kChanges = "changes.json";

}  // namespace

CLI::App* PageVerb::Declare(CLI::App& program) {
  CLI::App* const verb =
      program.add_subcommand("page", "Make one HTML file that shows a model in a browser, off line");
  verb->add_option("FOLDER", input_, InputFolder::kWhatIsRead)->required();
  verb->add_option("OUT", output_, "HTML file to write")->required();
  verb->add_option("--compare", older_, "Also show what is different from this older version")
      ->type_name("OLD");
  verb->add_flag("--with-bodies", withBodies_, "Put the exact bodies in too, for download from the page");
  verb->add_flag("--strict", strict_, "End with exit code 4 when nothing is to be seen");
  return verb;
}

ExitCode PageVerb::Run(Console& console) {
  PageTemplate form;
  if (!form.Read(console)) {
    return ExitCode::kOutputUnwritten;
  }
  if (!older_.empty()) {
    ComparedVersions comparison;
    const ExitCode opened = comparison.Open(console, older_, input_);
    return opened == ExitCode::kDone ? WritePage(console, comparison.GetNewFolder(), &comparison, form)
                                     : opened;
  }
  InputFolder folder;
  const ExitCode prepared = folder.Prepare(console, input_);
  return prepared == ExitCode::kDone ? WritePage(console, folder.GetPath(), nullptr, form) : prepared;
}

ExitCode PageVerb::WritePage(Console& console, const std::string& folder, const ComparedVersions* comparison,
                             const PageTemplate& form) const {
  WebModel model({withBodies_, false});
  if (!model.Open(console, folder)) {
    return ExitCode::kInputUnread;
  }
  std::string files;
  ExitCode added = AddFiles(console, model, PageText::kModel, files);
  if (added == ExitCode::kDone && comparison) {
    WebModel older({false, false});
    if (!older.Open(console, comparison->GetOldFolder())) {
      return ExitCode::kInputUnread;
    }
    files +=
        PageText::MakeFile(PageText::kOlder, kChanges,
                           ChangeReport::MakeJson(InputFolder::GetName(older_), InputFolder::GetName(input_),
                                                  comparison->GetChanges()));
    added = AddFiles(console, older, PageText::kOlder, files);
  }
  if (added != ExitCode::kDone) {
    return added;
  }
  std::string reason;
  if (!FileBytes::Replace(
          output_, PageText::MakeWholePage(form, model.MakeTitle(input_), files, comparison != nullptr),
          reason)) {
    console.Error(output_, reason);
    return ExitCode::kOutputUnwritten;
  }
  const ExitCode result = model.Conclude(console, input_, strict_);
  return comparison && !comparison->IsComplete() ? ExitCode::kInputUnread : result;
}

ExitCode PageVerb::AddFiles(Console& console, const WebModel& model, const char* name,
                            std::string& files) const {
  files += PageText::MakeFile(name, FolderFiles::kOverview, model.GetOverview());
  std::size_t size = 0;
  for (const WebModel::File& file : model.GetFiles()) {
    std::string content;
    std::string reason;
    if (!WebModel::Read(file, content, reason)) {
      console.Error(file.path, reason);
      return ExitCode::kInputUnread;
    }
    size += content.size();
    if (size > kMaxModelBytes) {
      console.Error(output_,
                    "the model is too large for a single page, which browsers would not open; `mirel site` "
                    "makes a folder of it");
      return ExitCode::kOutputUnwritten;
    }
    files += PageText::MakeFile(name, file.name, content);
  }
  return ExitCode::kDone;
}

}  // namespace mirel
