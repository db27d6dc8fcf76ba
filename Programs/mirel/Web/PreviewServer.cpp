#include <Programs/mirel/Web/PreviewServer.h>

#include <Programs/mirel/Seal/FileBytes.h>
#include <Programs/mirel/Web/SiteFiles.h>

#include <httplib.h>

#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

namespace mirel {

namespace {

const char* MimeTypeOf(std::string_view name) {
  const std::string_view extension = name.substr(name.rfind('.') + 1);
  return extension == "html"   ? "text/html; charset=utf-8"
         : extension == "js"   ? "text/javascript; charset=utf-8"
         : extension == "gz"   ? "application/gzip"
         : extension == "lz"   ? "application/lzip"
         : extension == "json" ? "application/json"
                               : "text/plain; charset=utf-8";
}

void Refuse(httplib::Response& response, int status, const char* text) {
  response.status = status;
  response.set_content(std::string(text) + "\n", "text/plain; charset=utf-8");
}

void Answer(const std::string& folder, const std::string& host, const httplib::Request& request,
            httplib::Response& response) {
  // A page of somebody else's, whose name has come to mean this machine, must not read the model.
  if (request.get_header_value("Host") != host) {
    return Refuse(response, 403, "this is a preview for 127.0.0.1 only");
  }
  if (request.method != "GET" && request.method != "HEAD") {
    return Refuse(response, 405, "there is nothing here but files to get");
  }
  // Names that belong to a site, and no others, lead to files: none of them leads out of the folder.
  const std::string name = request.path == "/" ? SiteFiles::kPage : request.path.substr(1);
  std::string content;
  std::string reason;
  const auto take = [&](const char* bytes, std::size_t size) { content.append(bytes, size); };
  if (!SiteFiles::IsFile(name) ||
      !FileBytes::Read(folder + "/" + name, std::numeric_limits<std::uint32_t>::max(), take, reason)) {
    return Refuse(response, 404, "there is no such file");
  }
  response.status = 200;
  response.set_content(content, MimeTypeOf(name));
}

}  // namespace

PreviewServer::PreviewServer(std::string folder)
    : folder_(std::move(folder)), server_(std::make_unique<httplib::Server>()) {
  server_->set_default_headers({{"Cache-Control", "no-store"}, {"X-Content-Type-Options", "nosniff"}});
  // Ahead of the library's own choice of handlers, which matches patterns and takes the longer, the longer a path is.
  server_->set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
    Answer(folder_, host_, request, response);
    return httplib::Server::HandlerResponse::Handled;
  });
}

PreviewServer::~PreviewServer() = default;

int PreviewServer::Bind() {
  const int port = server_->bind_to_any_port("127.0.0.1");
  host_ = "127.0.0.1:" + std::to_string(port);
  return port;
}

void PreviewServer::Run() {
  server_->listen_after_bind();
}

void PreviewServer::Stop() {
  server_->stop();
}

}  // namespace mirel
