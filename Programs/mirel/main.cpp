#include <Programs/mirel/Program.h>

int main(int argc, char** argv) {
  return mirel::Program::Run(argc, argv);
}
