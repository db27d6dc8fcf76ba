#include <Programs/mirel/Program.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>

int main(int argc, char** argv) {
  const int code = mirel::Program::Run(argc, argv);
  if (mirel::GRepShape::CountAbandoned() > 0) {
    // Threads that never end still use what the end of main would destroy.
    std::cout.flush();
    std::fflush(nullptr);
    std::_Exit(code);
  }
  return code;
}
