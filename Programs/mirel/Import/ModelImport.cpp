#include <Programs/mirel/Import/ModelImport.h>

#include <Programs/mirel/Extras/ExtrasCollector.h>
#include <Programs/mirel/FailureText.h>
#include <Programs/mirel/Import/AssemblyImporter.h>
#include <Programs/mirel/Import/DocumentReader.h>
#include <Programs/mirel/Import/SourceCensus.h>
#include <Programs/mirel/Stopwatch.h>

#include <algorithm>

namespace mirel {

namespace {

void Import(DocumentReader& reader, const SourceFile& file, LiteModel& model, ImportResult& result) {
  const Handle(TDocStd_Document) document = reader.Read(file);
  result.error = reader.GetError();
  result.messages = reader.GetMessages();
  for (const std::string& line : reader.GetEntityErrors()) {
    result.messages.push_back(line);
  }
  if (document.IsNull()) {
    return;
  }
  Stopwatch watch;
  AssemblyImporter importer(document, file.GetFingerprint(), model);
  importer.Import();
  if (model.GetShape().empty() && !reader.GetUnreadableBodies().empty()) {
    result.error = "none of its bodies can be read: their numbers are none, or without bounds";
    result.messages = reader.GetUnreadableBodies();
    return;
  }
  result.record = importer.GetRecord();
  result.readSeconds = reader.GetReadSeconds();
  result.transferSeconds = reader.GetTransferSeconds() + watch.Lap();

  const SourceCensus census(document);
  result.source = census.GetCounts();
  ExtrasCollector extras(document, importer);
  extras.Collect();
  result.extras = extras.GetExtras();
  result.extras.header = reader.GetHeader();
  result.kept.push_back(
      {"header", "entry|entries of the header of the file", result.extras.header.size(), {}});
  for (const SourceCensus::Loss& loss : census.GetLosses()) {
    const auto found = extras.GetCounts().find(loss.key);
    const std::uint64_t kept = found == extras.GetCounts().end() ? 0 : std::min(found->second, loss.count);
    result.losses.push_back({loss.key, loss.text, loss.count - kept, {}});
    if (found != extras.GetCounts().end()) {
      result.kept.push_back({loss.key, loss.text, kept, {}});
    }
  }
  result.otherFiles = reader.GetOtherFiles();
  result.losses.insert(result.losses.end(), reader.GetLosses().begin(), reader.GetLosses().end());
  result.losses.push_back({"badNumbers", "body|bodies with numbers that are none, or without bounds",
                           reader.GetUnreadableBodies().size(), reader.GetUnreadableBodies()});
  result.losses.push_back({"missingFiles", "other file|files that could not be read",
                           reader.GetMissingFiles().size(), reader.GetMissingFiles()});
  result.losses.push_back({"badEntities",
                           "entity|entities with errors, which loses|lose something",
                           reader.GetBadEntityCount(),
                           {}});
  result.losses.push_back(
      {"untranslated", "entity|entities that could not be translated", reader.GetFailedEntityCount(), {}});
  result.losses.push_back({"brokenInstances",
                           "instance|instances without a product, or inside itself|themselves",
                           importer.GetRecord().brokenComponents,
                           {}});
  result.remarks.push_back({"incompleteEntities",
                            "entity|entities that leaves|leave out what it|they should say",
                            reader.GetIncompleteEntityCount(),
                            {}});
}

}  // namespace

void ModelImport::Run(DocumentReader& reader, const SourceFile& file, LiteModel& model,
                      ImportResult& result) {
  try {
    Import(reader, file, model, result);
  } catch (...) {
    result.error = FailureText::OfCaught();
  }
}

}  // namespace mirel
