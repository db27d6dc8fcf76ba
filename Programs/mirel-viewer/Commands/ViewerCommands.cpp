#include <Programs/mirel-viewer/Commands/ViewerCommands.h>

#include <Programs/mirel-viewer/Application/MainWindow.h>
#include <Programs/mirel-viewer/Application/Theme.h>
#include <Programs/mirel-viewer/Commands/ActionCommand.h>
#include <Programs/mirel-viewer/Compare/CompareDialog.h>
#include <Programs/mirel-viewer/Document/Document.h>
#include <Programs/mirel-viewer/Opening/FileKind.h>
#include <Programs/mirel-viewer/Opening/ModelOpener.h>
#include <Programs/mirel-viewer/Picture/PictureDialog.h>
#include <Programs/mirel-viewer/Tree/PartsList.h>
#include <Programs/mirel-viewer/Tree/PartsPanel.h>
#include <Programs/mirel-viewer/Tree/TreePanel.h>
#include <Programs/mirel-viewer/View/ModelView.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <QFileDialog>
#include <QMessageBox>
#include <QSettings>

namespace mirel {

namespace {

using Edges = PictureOptions::Edges;
using Coloring = DisplaySettings::Coloring;

void RegisterFileCommands(MainWindow& window) {
  Document& document = window.GetDocument();
  const auto hasModel = [&document] { return !document.GetRoots().empty(); };
  AddCommand(
      {"Open", "Open...", "File", "Ctrl+O", "Open files beside what is open", "open", true},
      [&window] { window.Open(QFileDialog::getOpenFileNames(&window, "Open", QString(), kModelFilter)); });
  AddCommand({"OpenFolder", "Open folder...", "File", "Ctrl+Shift+O", "Open a model folder", "open"},
             [&window] {
               const QString folder = QFileDialog::getExistingDirectory(&window, "Open a model folder");
               if (!folder.isEmpty()) {
                 window.Open({folder});
               }
             });
  AddCommand({"Reload", "Reload", "File", "Ctrl+R F5", "Open again what is open, as it is now", "open"},
             [&window] { window.Reload(); })
      .Enabled(hasModel);
  AddCommand({"CloseAll", "Close all", "File", "Ctrl+W", "Close what is open", "open"}, [&document] {
    document.Clear();
  }).Enabled(hasModel);
  AddCommand({"Compare", "Compare with...", "File", "Ctrl+D", "See what is different between two versions",
              "compare"},
             [&window, &document] {
               const QString open = document.GetRoots().empty()
                                        ? QString()
                                        : document.GetFile(document.GetRoots().back().get()).path;
               CompareDialog dialog(open, &window);
               if (dialog.exec() == QDialog::Accepted) {
                 window.Compare(dialog.GetOlder(), dialog.GetNewer());
               }
             });
  AddCommand({"SavePicture", "Save picture...", "File", "Ctrl+S",
              "Save what is seen as a picture of any size", "save", true},
             [&window] { PictureDialog(window.GetDocument(), window.GetView(), &window).exec(); })
      .Enabled(hasModel);
  AddCommand({"SaveParts", "Save parts list...", "File", "", "Save how many there are of each part", "save"},
             [&window] { window.GetParts().SaveTable(); })
      .Enabled(hasModel);
  AddCommand({"Quit", "Quit", "File", "Ctrl+Q", "", "quit"}, [&window] { window.close(); });
}

void RegisterEditCommands(MainWindow& window) {
  Document& document = window.GetDocument();
  QUndoStack& undo = document.GetUndoStack();
  const auto hasSelection = [&document] { return !document.GetSelection().empty(); };
  AddCommand({"Undo", "Undo", "Edit", "Ctrl+Z", "Take back the last change of the view", "undo", true},
             [&undo] { undo.undo(); })
      .Enabled([&undo] { return undo.canUndo(); });
  AddCommand({"Redo", "Redo", "Edit", "Ctrl+Shift+Z Ctrl+Y", "Do it again", "undo", true}, [&undo] {
    undo.redo();
  }).Enabled([&undo] { return undo.canRedo(); });
  AddCommand(
      {"CopyPicture", "Copy picture", "Edit", "Ctrl+Shift+C", "Copy what is seen to the clipboard", "copy"},
      [&window] { PictureDialog(window.GetDocument(), window.GetView(), &window).CopyNow(); });
  AddCommand({"CopyParts", "Copy parts list", "Edit", "", "Copy how many there are of each part", "copy"},
             [&window] { window.GetParts().CopyTable(); });
  AddCommand({"Find", "Find...", "Edit", "Ctrl+F", "Search names and ids", "select"},
             [&window] { window.GetTree().FocusSearch(); });
  AddCommand({"SelectEqual", "Select equal parts", "Edit", "Ctrl+E",
              "Select all bodies like the selected one", "select"},
             [&document] {
               const SceneNode* const node = document.GetCurrent();
               document.Select(PartsList::FindEqual(document.GetRoots(), *node), node);
             })
      .Enabled(hasSelection);
  AddCommand(
      {"SelectParent", "Select what it belongs to", "Edit", "Ctrl+Up", "Select the group around", "select"},
      [&document] {
        const std::vector<const SceneNode*> path = document.GetCurrent()->GetPath();
        const SceneNode* const node = path[path.size() > 1 ? path.size() - 2 : 0];
        document.Select({node}, node);
      })
      .Enabled(hasSelection);
  AddCommand({"SelectNothing", "Select nothing", "Edit", "Esc", "", "select"},
             [&document] { document.Select({}); });
}

void RegisterShowCommands(MainWindow& window) {
  Document& document = window.GetDocument();
  const auto hasSelection = [&document] { return !document.GetSelection().empty(); };
  const auto act = [&document](void (Document::*action)(const Document::Nodes&)) {
    return [&document, action] { (document.*action)(Document::Nodes(document.GetSelection())); };
  };
  AddCommand({"Hide", "Hide", "Show", "H", "Hide what is selected", "show", true}, act(&Document::Hide))
      .Enabled(hasSelection);
  AddCommand({"Show", "Show", "Show", "Shift+H", "Show what is selected again", "show"}, act(&Document::Show))
      .Enabled(hasSelection);
  AddCommand({"Isolate", "Isolate", "Show", "I", "Show nothing but what is selected", "show", true},
             act(&Document::Isolate))
      .Enabled(hasSelection);
  AddCommand({"Ghost", "Ghost", "Show", "G", "Draw what is selected as if of glass", "show"},
             act(&Document::Ghost))
      .Enabled(hasSelection);
  AddCommand({"GhostOthers", "Ghost the rest", "Show", "Shift+G", "Draw all else as if of glass", "show"},
             act(&Document::GhostOthers))
      .Enabled(hasSelection);
  AddCommand({"ShowAll", "Show all", "Show", "A", "Show everything again", "show", true},
             [&document] { document.ShowAll(); });
  const struct {
    ActionCommand::Words words;
    Coloring coloring;
  } colorings[] = {
      {{"ColorOwn", "Colors of the model", "Show/Colors", "", "", "color"}, Coloring::kOwn},
      {{"ColorByPart", "By part", "Show/Colors", "", "Equal bodies in one color", "color"},
       Coloring::kByPart},
      {{"ColorByFile", "By file", "Show/Colors", "", "Each file in one color", "color"}, Coloring::kByFile},
      {{"ColorUniform", "One color", "Show/Colors", "", "", "color"}, Coloring::kUniform}};
  for (const auto& [words, coloring] : colorings) {
    AddCommand(words, [&document, coloring = coloring] {
      DisplaySettings display = document.GetDisplay();
      display.coloring = coloring;
      document.SetDisplay(display);
    }).Checked([&document, coloring = coloring] { return document.GetDisplay().coloring == coloring; });
  }
  const struct {
    ActionCommand::Words words;
    Edges edges;
  } edges[] = {
      {{"EdgesNone", "No edges", "Show/Edges", "", "", "edges"}, Edges::kNone},
      {{"EdgesSharp", "Sharp edges", "Show/Edges", "", "Outlines, and where faces meet at an angle", "edges"},
       Edges::kSharp},
      {{"EdgesAll", "All edges", "Show/Edges", "", "Where any two faces meet", "edges"}, Edges::kAll}};
  for (const auto& [words, kind] : edges) {
    AddCommand(words, [&document, kind = kind] {
      DisplaySettings display = document.GetDisplay();
      display.edges = kind;
      document.SetDisplay(display);
    }).Checked([&document, kind = kind] { return document.GetDisplay().edges == kind; });
  }
}

void RegisterViewCommands(MainWindow& window) {
  ModelView& view = window.GetView();
  AddCommand({"FitAll", "Fit all", "View", "F Home", "See everything", "fit", true},
             [&view] { view.FitAll(); });
  AddCommand({"FitSelection", "Fit selection", "View", "Shift+F", "See what is selected as large as can be",
              "fit", true},
             [&view] { view.FitSelection(); });
  const struct {
    ActionCommand::Words words;
    Camera::View side;
  } sides[] = {{{"ViewFront", "Front", "View/Look from", "1", "", "side"}, Camera::View::kFront},
               {{"ViewBack", "Back", "View/Look from", "Ctrl+1", "", "side"}, Camera::View::kBack},
               {{"ViewLeft", "Left", "View/Look from", "3", "", "side"}, Camera::View::kLeft},
               {{"ViewRight", "Right", "View/Look from", "Ctrl+3", "", "side"}, Camera::View::kRight},
               {{"ViewTop", "Top", "View/Look from", "7", "", "side"}, Camera::View::kTop},
               {{"ViewBottom", "Bottom", "View/Look from", "Ctrl+7", "", "side"}, Camera::View::kBottom},
               {{"ViewIso", "Iso", "View/Look from", "0", "", "side"}, Camera::View::kIso}};
  for (const auto& [words, side] : sides) {
    AddCommand(words, [&view, side = side] { view.LookFrom(side); });
  }
  const auto isParallel = [&view] {
    return view.GetCamera().GetProjection() == Camera::Projection::kParallel;
  };
  AddCommand({"Parallel", "Parallel projection", "View", "P", "Without perspective", "projection"}, [=,
                                                                                                     &view] {
    view.SetProjection(isParallel() ? Camera::Projection::kPerspective : Camera::Projection::kParallel);
  }).Checked(isParallel);
  const struct {
    ActionCommand::Words words;
    MouseScheme::Kind kind;
  } schemes[] = {{{"MouseCad", "As in CAD programs", "View/Mouse", "",
                   "Middle button turns, right button moves, left button selects", "mouse"},
                  MouseScheme::Kind::kCad},
                 {{"MouseTrackpad", "One button or trackpad", "View/Mouse", "",
                   "Left button and two fingers turn, Shift moves, Ctrl selects a rectangle", "mouse"},
                  MouseScheme::Kind::kTrackpad}};
  for (const auto& [words, kind] : schemes) {
    AddCommand(words, [&view, kind = kind] {
      view.SetScheme(kind);
      QSettings().setValue("mouse", kind == MouseScheme::Kind::kCad ? "cad" : "trackpad");
    }).Checked([&view, kind = kind] { return view.GetScheme().GetKind() == kind; });
  }
  view.SetScheme(QSettings().value("mouse").toString() == "trackpad" ? MouseScheme::Kind::kTrackpad
                                                                     : MouseScheme::Kind::kCad);
  const struct {
    ActionCommand::Words words;
    Theme theme;
  } themes[] = {{{"ThemeSystem", "As the desktop", "View/Theme", "", "", "theme"}, Theme::kSystem},
                {{"ThemeLight", "Light", "View/Theme", "", "", "theme"}, Theme::kLight},
                {{"ThemeDark", "Dark", "View/Theme", "", "", "theme"}, Theme::kDark}};
  for (const auto& [words, theme] : themes) {
    AddCommand(words, [theme = theme] { SetTheme(theme); }).Checked([theme = theme] {
      return GetTheme() == theme;
    });
  }
}

void RegisterHelpCommands(MainWindow& window) {
  AddCommand({"About", "About", "Help", "F1", "", "help"}, [&window] {
    QMessageBox::about(
        &window, "Mirel",
        QString("<p><b>Mirel</b> %1</p><p>Opens big CAD assemblies in the time it takes to unzip them."
                "</p><p>Drag with the middle button to turn, with the right one to move; turn the wheel "
                "to zoom. View, Mouse has a scheme for one button and for trackpads.</p>")
            .arg(MIREL_VERSION));
  });
}

}  // namespace

void RegisterViewerCommands(MainWindow& window) {
  RegisterFileCommands(window);
  RegisterEditCommands(window);
  RegisterShowCommands(window);
  RegisterViewCommands(window);
  RegisterHelpCommands(window);
}

}  // namespace mirel
