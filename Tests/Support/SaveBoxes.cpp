// Saves a model of some boxes into a folder as a program does that is linked to the module, so that tests can kill
// it, starve it or let several run at once: SaveBoxes FOLDER COUNT [TIMES]. The boxes of models with different counts
// have different sizes under the same ids.

#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <Tests/Support/TestModel.h>

#include <csignal>
#include <cstdlib>

int main(int argc, char** argv) {
  using namespace mirel;
  if (argc < 3) return 1;
#if defined(SIGXFSZ)
  std::signal(SIGXFSZ, SIG_IGN);  // a file beyond the limit is an error, not the end
#endif
  const int count = std::atoi(argv[2]);
  LiteModel model;
  for (int i = 0; i < count; ++i) {
    const auto id = static_cast<unsigned long long>(i) + 1;
    model.AddShape(Id(id), MakeBox(count, i + 1, 1));
    model.AddItem(MakeShape(100 + id, "box of " + std::to_string(count), id));
  }
  for (int times = argc > 3 ? std::atoi(argv[3]) : 1; times > 0; --times)
    LiteModelWriter(model).Save(argv[1]);
}
