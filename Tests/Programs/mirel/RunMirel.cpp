#include <Tests/Programs/mirel/RunMirel.h>

#include <Programs/mirel/Program.h>

#include <gtest/gtest.h>

#include <utility>

namespace mirel {

int Mirel(std::vector<std::string> arguments, std::string& out, std::string* err) {
  arguments.insert(arguments.begin(), "mirel");
  std::vector<char*> raw;
  raw.reserve(arguments.size());
  for (std::string& argument : arguments) {
    raw.push_back(&argument[0]);
  }
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const int code = Program::Run(static_cast<int>(raw.size()), raw.data());
  out = testing::internal::GetCapturedStdout();
  const std::string said = testing::internal::GetCapturedStderr();
  if (err != nullptr) {
    *err = said;
  }
  return code;
}

int Mirel(std::vector<std::string> arguments) {
  std::string out;
  return Mirel(std::move(arguments), out);
}

}  // namespace mirel
