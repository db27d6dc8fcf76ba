#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <functional>
#include <string>

#if defined(__GNUC__)
#define MIREL_PRINTF_FORMAT(text, first) __attribute__((format(printf, text, first)))
#else
#define MIREL_PRINTF_FORMAT(text, first)
#endif

namespace mirel {

class HeldMessages;

/// The process-wide message log of the host.
///
/// Levels: 3 marks a failure, 2 a progress message, 1 a minor notice or the detail of another message. A failure is
/// followed at once by a *location line* at level 1, "\t#<line>, <file>", which says where in the source it arose.
///
/// Thread safety: every operation may be called from any thread; the sink is called by one thread at a time.
class MIREL_HOST_API Logger {
 public:
  /// Receives one formatted message, without a line end. Must not log itself.
  using Sink = std::function<void(int level, const std::string& text)>;

  /// The one logger of the process.
  static Logger& Instance();

  /// Formats like printf and hands the text to the sink. Text of any length is kept whole.
  void Message(int level, const char* format, ...) MIREL_PRINTF_FORMAT(3, 4);

  /// Replaces the sink and returns the one in force before, so that a caller can put it back. An empty sink drops
  /// every message. The first sink writes "<text>\n" to stderr.
  Sink SetSink(Sink sink);

  /// The part of a source path behind its last slash or backslash; a pointer into `path`.
  static const char* GetFileName(const char* path);

 private:
  friend class HeldMessages;

  /// From now on the calling thread's messages go into `held`, or to the sink again when it is null. Gives back what
  /// was in force.
  static HeldMessages* HoldThread(HeldMessages* held);

  Logger();
  ~Logger() = delete;  // lives as long as the process, so that late messages still find it
  Logger(const Logger&) = delete;
  Logger& operator=(const Logger&) = delete;

  struct State;
  State* state_;
};

}  // namespace mirel

/// Logs a failure of the host layer at level 3 and its location line at level 1.
#define MIREL_HOST_FAILURE(...)                                                                              \
  do {                                                                                                       \
    ::mirel::Logger::Instance().Message(3, __VA_ARGS__);                                                     \
    ::mirel::Logger::Instance().Message(1, "\t#%d, %s", __LINE__, ::mirel::Logger::GetFileName(__FILE__));   \
  } while (false)
