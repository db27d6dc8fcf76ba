#include <Programs/mirel/OcctSurroundings.h>

#include <cstdlib>
#include <string>
#include <vector>

#if !defined(_WIN32)
#include <unistd.h>
#endif

namespace mirel {

namespace {

#if defined(_WIN32)
constexpr const char* kNowhere = "NUL:";
char** Environment() {
  return _environ;
}
void Set(const std::string& name, const char* value) {
  _putenv_s(name.c_str(), value);
}
void Unset(const std::string& name) {
  _putenv_s(name.c_str(), "");
}
#else
constexpr const char* kNowhere = "/dev/null";  // nothing can be below a file
char** Environment() {
  return environ;
}
void Set(const std::string& name, const char* value) {
  setenv(name.c_str(), value, 1);
}
void Unset(const std::string& name) {
  unsetenv(name.c_str());
}
#endif

bool IsOfOcct(const std::string& name) {
  return name.rfind("CSF_", 0) == 0 || name == "ResourceDebug";
}

}  // namespace

void OcctSurroundings::Close() {
  std::vector<std::string> names;
  for (char** entry = Environment(); entry != nullptr && *entry != nullptr; ++entry) {
    const std::string text = *entry;
    names.push_back(text.substr(0, text.find('=')));
  }
  for (const std::string& name : names) {
    if (IsOfOcct(name)) {
      Unset(name);
    }
  }
  // Without these the message files would be looked for in the current folder; when they are not found, the libraries take
  // the texts that they are built with.
  Set("CSF_XSMessage", kNowhere);
  Set("CSF_SHMessage", kNowhere);
}

}  // namespace mirel
