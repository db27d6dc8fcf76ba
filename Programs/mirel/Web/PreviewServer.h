#pragma once

#include <memory>
#include <string>

namespace httplib {
class Server;
}

namespace mirel {

/// Serves the folder of a site over HTTP, to this machine alone, and no file but those that belong to a site.
class PreviewServer {
 public:
  /// `folder` is a narrow path (UTF-8).
  explicit PreviewServer(std::string folder);
  ~PreviewServer();

  PreviewServer(const PreviewServer&) = delete;
  PreviewServer& operator=(const PreviewServer&) = delete;

  /// Takes a free port of 127.0.0.1 and gives its number; below 1 when there is none.
  int Bind();

  /// Answers until `Stop`, which any thread may call.
  void Run();
  void Stop();

 private:
  std::string folder_;
  std::string host_;  // what a request must be for
  std::unique_ptr<httplib::Server> server_;
};

}  // namespace mirel
