// The library that serves sites for the program. It has nothing of its own: it keeps what needs an HTTP library out of the
// program.
#include <Programs/mirel/Web/PreviewServer.h>
#include <Programs/mirel/Web/ServeSite.h>

namespace mirel {

void MirelServeSite(const std::string& folder, const std::function<void(int port)>& tell) {
  PreviewServer server(folder);
  const int port = server.Bind();
  if (port > 0) {
    tell(port);
    server.Run();
  }
}

}  // namespace mirel
