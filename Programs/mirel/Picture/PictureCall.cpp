#include <Programs/mirel/Picture/PictureCall.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/Picture/DrawPictures.h>
#include <Programs/mirel/ProgramLibrary.h>
#include <Programs/mirel/Text/Plural.h>

namespace mirel {

namespace {

ProgramLibrary LoadLibrary() {
  return ProgramLibrary("MirelPicture", "MirelDrawPictures");
}

}  // namespace

bool PictureCall::IsPossible(Console& console) {
  const ProgramLibrary library = LoadLibrary();
  if (library.GetError().empty()) {
    return true;
  }
  console.Error("", "pictures are drawn by " + (library.GetPath().empty() ? "a library" : library.GetPath()) +
                        ", which cannot be loaded: " + library.GetError());
  if (library.IsMissing()) {
    console.ErrorDetail("install the package libmirel-draw0, or on other systems the component draw");
  }
  return false;
}

ExitCode PictureCall::Draw(Console& console, const std::string& input, std::shared_ptr<const SceneNode> root,
                           const PictureRequest& request, PictureReply& reply) {
  const auto draw = reinterpret_cast<decltype(&MirelDrawPictures)>(LoadLibrary().GetFunction());
  draw(root, request, reply);
  if (!reply.error.empty()) {
    console.Error(reply.file.empty() ? input : reply.file, reply.error);
    return reply.result == PictureReply::Result::kUnwritten ? ExitCode::kOutputUnwritten
                                                            : ExitCode::kInputUnread;
  }
  if (reply.leftOut > 0) {
    console.Note(input + ": " +
                 Plural::Count(reply.leftOut, "body|bodies cannot be drawn where it|they is|are placed"));
  }
  if (!reply.note.empty()) {
    console.Note(input + ": " + reply.note);
  }
  if (reply.nothingSeen) {
    console.Note(input + ": nothing is to be seen; the picture is empty");
  }
  return ExitCode::kDone;
}

}  // namespace mirel
