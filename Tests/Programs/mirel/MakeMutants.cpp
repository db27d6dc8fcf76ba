// Writes changed copies of a STEP file, for trials of what reads them: MirelMakeMutants FILE FOLDER FIRST COUNT

#include <Tests/Support/StepMutant.h>
#include <Tests/Support/TestFolder.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: MirelMakeMutants FILE FOLDER FIRST COUNT\n");
    return 1;
  }
  const std::string text = mirel::ReadFile(argv[1]);
  if (text.empty()) {
    std::fprintf(stderr, "%s: cannot be read\n", argv[1]);
    return 2;
  }
  std::filesystem::create_directories(argv[2]);
  const auto first = static_cast<unsigned int>(std::atoi(argv[3]));
  for (unsigned int i = first; i < first + static_cast<unsigned int>(std::atoi(argv[4])); ++i)
    mirel::WriteFile(std::string(argv[2]) + "/" + std::to_string(i) + ".step",
                     mirel::MakeStepMutant(text, i));
  return 0;
}
