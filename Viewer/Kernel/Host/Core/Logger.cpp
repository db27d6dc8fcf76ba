#include <Viewer/Kernel/Host/Core/Logger.h>

#include <Viewer/Kernel/Host/Core/HeldMessages.h>

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

namespace mirel {

namespace {

thread_local HeldMessages* heldOfThread = nullptr;

}  // namespace

struct Logger::State {
  std::mutex mutex;
  Sink sink = [](int, const std::string& text) { std::fprintf(stderr, "%s\n", text.c_str()); };
};

Logger::Logger() : state_(new State) {}

Logger& Logger::Instance() {
  // Never destroyed: threads and static objects may still log while the process ends.
  static Logger* const instance = new Logger;
  return *instance;
}

void Logger::Message(int level, const char* format, ...) {
  std::string text;
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  if (length > 0) {
    text.resize(static_cast<std::size_t>(length) + 1);
    std::vsnprintf(text.data(), text.size(), format, again);
    text.pop_back();
  }
  va_end(again);

  if (heldOfThread) {
    heldOfThread->messages_.emplace_back(level, std::move(text));
    return;
  }
  const std::lock_guard<std::mutex> lock(state_->mutex);
  if (state_->sink) state_->sink(level, text);
}

Logger::Sink Logger::SetSink(Sink sink) {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  std::swap(sink, state_->sink);
  return sink;
}

HeldMessages* Logger::HoldThread(HeldMessages* held) {
  std::swap(held, heldOfThread);
  return held;
}

const char* Logger::GetFileName(const char* path) {
  const char* name = path;
  for (const char* p = path; *p != '\0'; ++p) {
    if (*p == '/' || *p == '\\') name = p + 1;
  }
  return name;
}

}  // namespace mirel
