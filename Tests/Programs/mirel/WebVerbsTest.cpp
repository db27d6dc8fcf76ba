#include <Tests/Programs/mirel/Damage.h>
#include <Tests/Support/ChildRun.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <Programs/mirel/Web/PreviewServer.h>

#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <gtest/gtest.h>
#include <httplib.h>
#include <nettle/base64.h>
#include <rapidjson/document.h>

#include <filesystem>
#include <map>
#include <regex>
#include <thread>

#if defined(__linux__)

namespace mirel {
namespace {

namespace fs = std::filesystem;

// The program with a viewer of a few bytes beside it, so that these tests need no node.
class WebVerbsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    installed_ = std::make_unique<TestFolder>();
    const fs::path root = fs::canonical(installed_->GetFsPath());
    const fs::path libraries = (root / "bin" / MIREL_IMPORT_FOLDER).lexically_normal();
    fs::create_directories(libraries);
    fs::create_directories(root / "bin");
    fs::create_directories(root / "share/mirel/web");
    fs::copy_file(MIREL_PROGRAM, root / "bin/mirel");
    const fs::path library = fs::u8path(MIREL_READ_STEP);
    for (const char* const name : {"MirelReadSTEP", "MirelPreview"}) {
      const fs::path file = std::string(name) + library.extension().string();
      fs::create_symlink(library.parent_path() / file, libraries / file);
    }
    program_ = (root / "bin/mirel").u8string();
    script_ = (root / "share/mirel/web/page.js").u8string();
  }
  static void TearDownTestSuite() { installed_.reset(); }
  void SetUp() override {
    WriteFile(script_, kScript);
    WriteFile(fs::u8path(script_).replace_filename("page.html").u8string(), kForm);
  }

  int Run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), program_);
    const ChildRun run = RunProgram(arguments);
    said_ = run.output;
    return run.exitCode;
  }

  // A group with a name, of two boxes.
  std::string SaveModel(const std::string& name) {
    LiteModel model;
    model.AddShape(Id(10), MakeBox(1.0, 2.0, 3.0));
    model.AddShape(Id(11), MakeBox(10.0, 20.0, 1.0 / 3.0));
    auto part = MakeShape(2, "part", 11);
    part->SetTransform(Move(100, 0, 0));
    model.AddItem(MakeGroup(1, name, MakeShape(3, "other", 10), std::move(part)));
    LiteModelWriter(model).Save(path_ + "model/");
    return path_ + "model";
  }

  static constexpr const char* kScript = "console.log(1)";
  static constexpr const char* kForm =
      "<html><!--policy--><title><!--title--></title><style>p{}</style><!--other--><p id=\"<!--src-->\">"
      "<!--files--><!--script-->";
  static std::unique_ptr<TestFolder> installed_;
  static std::string program_, script_;
  const TestFolder folder_;
  const std::string& path_ = folder_.GetPath();
  const std::string page_ = path_ + "out.html";
  const std::string site_ = path_ + "site";
  std::string said_;
};

std::unique_ptr<TestFolder> WebVerbsTest::installed_;
std::string WebVerbsTest::program_, WebVerbsTest::script_;

// What browsers find in script elements: attributes, and text up to the first end tag.
std::vector<std::pair<std::string, std::string>> FindScripts(const std::string& page) {
  std::vector<std::pair<std::string, std::string>> scripts;
  for (std::size_t at = 0; (at = page.find("<script", at)) != std::string::npos;) {
    const std::size_t open = page.find('>', at);
    const std::size_t end = page.find("</script>", open);
    scripts.emplace_back(page.substr(at + 7, open - at - 7), page.substr(open + 1, end - open - 1));
    at = end;
  }
  return scripts;
}

std::string FromBase64(const std::string& text) {
  std::string bytes(BASE64_DECODE_LENGTH(text.size()), '\0');
  std::size_t size = 0;
  base64_decode_ctx context;
  base64_decode_init(&context);
  EXPECT_TRUE(base64_decode_update(&context, &size, reinterpret_cast<std::uint8_t*>(bytes.data()),
                                   text.size(), text.data()) &&
              base64_decode_final(&context));
  bytes.resize(size);
  return bytes;
}

TEST_F(WebVerbsTest, APageHasTheModelInItAndNothingElseThatRuns) {
  const std::string hostile = "</title></script><script>alert(1)</script><!--\"'&\u202e\u200f" +
                              std::string(100000, 'x') + "<img src=x onerror=alert(2)>";
  const std::string model = SaveModel(hostile);
  ASSERT_EQ(Run({"page", model, page_}), 0) << said_;
  EXPECT_EQ(said_, "");
  const std::string page = ReadFile(page_);
  const auto scripts = FindScripts(page);
  ASSERT_EQ(scripts.size(), 4U);
  for (const auto& [i, name] : std::map<int, std::string>{{1, "index.gz"}, {2, "grep/1.gz"}}) {
    EXPECT_EQ(scripts[i].first,
              " type=\"application/octet-stream\" data-folder=\"model\" data-file=\"" + name + "\"");
    EXPECT_EQ(FromBase64(scripts[i].second), ReadFile(model + "/" + name));
  }
  EXPECT_EQ(scripts[3].second, kScript);
  const std::size_t title = page.find("<title>") + 7;
  const std::string escaped =
      "&lt;/title&gt;&lt;/script&gt;&lt;script&gt;alert(1)&lt;/script&gt;&lt;!--&quot;&#39;&amp;xxxxx";
  EXPECT_EQ(page.substr(title, escaped.size()), escaped);
  EXPECT_EQ(page.find("alert(2)"), std::string::npos);
  EXPECT_EQ(page.find("<!--"), page.find("<!--other-->"));
  EXPECT_NE(page.find("id=\"#model\""), std::string::npos);
  // What is fetched is said before anything of the model comes, and that is nothing.
  EXPECT_LT(page.find("default-src 'none'"), title);
  EXPECT_NE(page.find("connect-src 'none'"), std::string::npos);

  ASSERT_EQ(Run({"page", model + "/index.gz", page_}), 0) << said_;
  EXPECT_EQ(ReadFile(page_), page);
  ASSERT_EQ(Run({"page", "--with-bodies", model, page_}), 0) << said_;
  EXPECT_EQ(FromBase64(FindScripts(ReadFile(page_)).at(3).second), ReadFile(model + "/model/1.gz"));
  EXPECT_EQ(folder_.ListFiles().find(".part"), std::string::npos);
}

TEST_F(WebVerbsTest, APageIsMadeOfWhatSaveReadsAndOfDamagedFolders) {
  ASSERT_EQ(Run({"page", MIREL_SAMPLE, page_}), 0) << said_;
  EXPECT_EQ(FindScripts(ReadFile(page_)).size(), 5U) << "overview, index, graphics, extras, viewer";
  const std::string model = SaveModel("");
  ASSERT_EQ(Run({"page", model, page_}), 0) << said_;
  EXPECT_NE(ReadFile(page_).find("<title>model</title>"), std::string::npos);

  Remove("grep/1.gz")(model + "/");
  EXPECT_EQ(Run({"page", model, page_}), 2);
  EXPECT_NE(said_.find("grep/1.gz cannot be read"), std::string::npos) << said_;
  EXPECT_NE(said_.find("nothing is to be seen; the page is empty"), std::string::npos) << said_;
  EXPECT_EQ(FindScripts(ReadFile(page_)).size(), 3U);
  Edit("\"PkgShape\":1,\"PkgGRep\":1", "\"PkgShape\":0,\"PkgGRep\":0")(model + "/");
  Edit("\"Children\":[{", "\"Children\":[],\"Other\":[{")(model + "/");
  EXPECT_EQ(Run({"page", "--strict", model, page_}), 4) << said_;
}

TEST_F(WebVerbsTest, SaysWhatIsMissing) {
  const std::string model = SaveModel("model");
  const struct {
    std::vector<std::string> arguments;
    int exit;
    const char* text;
  } cases[] = {
      {{"page", path_ + "missing", page_}, 2, "no such folder"},
      {{"page", path_, page_}, 2, "is not a model folder (it has no index.gz)"},
      {{"page", model, path_ + "missing/out.html"}, 3, "missing/out.html: No such file or directory"},
      {{"page", model, path_ + "model"}, 3, "Is a directory"},
      {{"site", path_ + "missing", site_}, 2, "no such folder"},
      {{"site", path_ + "model/index.gz", path_ + "model"}, 3, "holds what the site is to be made of"},
      {{"site", MIREL_SAMPLE, "--force", model}, 3, "is a model folder and no site (it has no index.html)"},
      {{"site", model, path_ + "model/site"}, 3, "would lie inside the model folder"},
  };
  const FileContents before = ReadFiles(path_);
  for (const auto& [arguments, exit, text] : cases) {
    EXPECT_EQ(Run(arguments), exit) << said_;
    EXPECT_NE(said_.find(text), std::string::npos) << said_;
    EXPECT_TRUE(ReadFiles(path_) == before);
  }
  // Text that would end the element that it stands in, or begin a comment in it.
  for (const char* const script : {"'</SCRIPT>'", "x<!--y"}) {
    WriteFile(script_, script);
    EXPECT_EQ(Run({"page", model, page_}), 3);
    EXPECT_NE(said_.find("page.js: cannot stand in a page"), std::string::npos) << said_;
  }
  fs::remove(fs::u8path(script_));
  for (const char* const verb : {"page", "site"}) {
    EXPECT_EQ(Run({verb, model, site_}), 3);
    EXPECT_NE(
        said_.find("the viewer for web pages needs " + script_ + ", which cannot be read: No such file"),
        std::string::npos)
        << said_;
    EXPECT_NE(said_.find("install the package mirel"), std::string::npos) << said_;
    EXPECT_FALSE(fs::exists(fs::u8path(site_)));
  }
}

TEST_F(WebVerbsTest, ASiteHasTheFilesOfTheModelAsTheyAre) {
  const std::string model = SaveModel("Größe <b>");
  ASSERT_EQ(Run({"site", model, site_}), 0) << said_;
  FileContents files = ReadFiles(site_ + "/");
  const FileContents source = ReadFiles(model + "/");
  EXPECT_EQ(files.size(), 8U);
  EXPECT_TRUE(files.at("grep/1.gz") == source.at("grep/1.gz"));
  const auto inflate = [](const std::string& file) {
    const std::shared_ptr<RawBuffer> content = GzBuffer::FromMemory(file.data(), file.size(), "file");
    return content ? std::string(content->GetData(), content->GetSize()) : std::string();
  };
  EXPECT_EQ(inflate(files.at("index.gz")), inflate(source.at("index.gz")));
  EXPECT_LT(files.at("index.gz").size(), source.at("index.gz").size());
  EXPECT_EQ(files.at("index.lz").substr(0, 4), "LZIP");
  EXPECT_LT(files.at("draw/1.lz").size(), source.at("grep/1.gz").size());
  EXPECT_EQ(files.at("page.js"), kScript);
  EXPECT_NE(files.at("index.html").find("<title>Größe &lt;b&gt;</title>"), std::string::npos);
  EXPECT_NE(files.at("README.txt").find("Content-Encoding"), std::string::npos);

  // A second one replaces the first only if that is asked for, and takes nothing with it that it has not made.
  EXPECT_EQ(Run({"site", model, site_}), 3);
  EXPECT_NE(said_.find("exists already; --force replaces it"), std::string::npos) << said_;
  WriteFile(site_ + "/logo.png", "logo");
  EXPECT_EQ(Run({"site", model, "--force", site_}), 3);
  EXPECT_NE(said_.find("holds \"logo.png\""), std::string::npos) << said_;
  fs::remove(fs::u8path(site_ + "/logo.png"));
  ASSERT_EQ(Run({"site", model, "--force", "--with-bodies", site_ + "/"}), 0) << said_;
  files = ReadFiles(site_ + "/");
  EXPECT_TRUE(files.at("model/1.gz") == source.at("model/1.gz"));
  EXPECT_EQ(files.size(), 9U);
  EXPECT_EQ(Run({"save", "-q", "--force", MIREL_SAMPLE, site_}), 3) << "a site is no model folder";
  EXPECT_EQ(Run({"check", "--level", "index", site_}), 0) << said_;
}

TEST_F(WebVerbsTest, TheOverviewTellsWhereThingsAre) {
  const std::string model = SaveModel("");
  Damage noGraphics = Pack("grep/2.gz", {{12, "no record"}});
  noGraphics(model + "/");
  Edit("\"PkgGRep\":1", "\"PkgGRep\":4")(model + "/");
  Put("grep/4.gz", ReadFile(model + "/grep/1.gz"))(model + "/");
  ASSERT_EQ(Run({"site", "--with-bodies", model, site_}), 2) << said_;
  rapidjson::Document overview;
  const std::string text = ReadFile(site_ + "/overview.json");
  ASSERT_FALSE(overview.Parse(text.c_str()).HasParseError()) << text;
  const auto boxOf = [](const rapidjson::Value& value) {
    std::vector<float> box;
    for (const auto& number : value["Box"].GetArray())
      box.push_back(number.GetFloat());
    return box;
  };
  EXPECT_EQ(boxOf(overview), (std::vector<float>{0, 0, 0, 110, 20, 3}));
  const auto& packages = overview["Packages"];
  ASSERT_EQ(packages.Size(), 4U) << text;
  EXPECT_EQ(packages[0]["Bytes"].GetUint64(), fs::file_size(fs::u8path(model + "/grep/1.gz")));
  EXPECT_EQ(packages[0]["Drawing"].GetUint64(), fs::file_size(fs::u8path(site_ + "/draw/1.lz")));
  EXPECT_FALSE(packages[1].HasMember("Drawing")) << "a package that was not read whole";
  ASSERT_EQ(packages[0]["Bodies"].Size(), 2U);
  for (const auto& body : packages[0]["Bodies"].GetArray()) {
    const bool isFirst = std::string(body["SId"].GetString()) == "10";
    const std::vector<float> box = boxOf(body);
    EXPECT_EQ(box, isFirst ? (std::vector<float>{0, 0, 0, 1, 2, 3})
                           : (std::vector<float>{0, 0, 0, 10, 20, box[5]}));
    if (!isFirst) {
      EXPECT_GE(static_cast<double>(box[5]), 1.0 / 3.0) << "rounded outwards";
      EXPECT_LT(box[5], 0.33334F);
    }
  }
  EXPECT_STREQ(packages[1]["Bodies"][0]["SId"].GetString(), "12");
  EXPECT_FALSE(packages[1]["Bodies"][0].HasMember("Box"));
  EXPECT_EQ(packages[2].MemberCount(), 0U) << "a package that is not there";
  EXPECT_EQ(packages[3]["Bodies"].Size(), 2U);
  EXPECT_EQ(overview["ShapePackages"][0]["Bodies"].Size(), 2U);
}

TEST_F(WebVerbsTest, APreviewServesTheSiteAndNothingElse) {
  ASSERT_EQ(Run({"site", SaveModel("model"), site_}), 0) << said_;
  WriteFile(site_ + "/secret.txt", "secret");
  WriteFile(path_ + "secret.gz", "secret");
  PreviewServer server(site_);
  const int port = server.Bind();
  ASSERT_GT(port, 0);
  std::thread thread([&] { server.Run(); });
  httplib::Client client("127.0.0.1", port);
  const std::map<std::string, std::string> types = {{"/", "text/html; charset=utf-8"},
                                                    {"/index.html", "text/html; charset=utf-8"},
                                                    {"/page.js", "text/javascript; charset=utf-8"},
                                                    {"/index.gz?x=1", "application/gzip"},
                                                    {"/grep/1.gz", "application/gzip"},
                                                    {"/draw/1.lz", "application/lzip"},
                                                    {"/overview.json", "application/json"},
                                                    {"/README.txt", "text/plain; charset=utf-8"}};
  for (const auto& [path, type] : types) {
    const auto answer = client.Get(path);
    ASSERT_TRUE(answer) << path;
    EXPECT_EQ(answer->status, 200) << path;
    EXPECT_EQ(answer->get_header_value("Content-Type"), type) << path;
    EXPECT_EQ(answer->get_header_value("Content-Encoding"), "") << path;
  }
  EXPECT_EQ(client.Get("/grep/1.gz")->body, ReadFile(site_ + "/grep/1.gz"));
  EXPECT_EQ(client.Head("/index.gz")->status, 200);
  for (const char* const path :
       {"/secret.txt", "/../secret.gz", "/%2e%2e/secret.gz", "/grep/../../secret.gz", "//etc/passwd", "/grep",
        "/grep/..%2f..%2fsecret.gz", "/grep/01.gz", "/model/1.gz", "/.mirel-0", "/grep/1.gz%00.html"})
    EXPECT_EQ(client.Get(path)->status, 404) << path;
  EXPECT_EQ(client.Get("/" + std::string(8000, 'a'))->status, 404);
  EXPECT_EQ(client.Post("/index.gz")->status, 405);
  EXPECT_EQ(client.Get("/index.gz", {{"Host", "example.org"}})->status, 403);
  server.Stop();
  thread.join();

  // The program prints the address, and goes on until it is interrupted.
  const ChildRun run = RunProgram({"/usr/bin/timeout", "-s", "INT", "1", program_, "site", path_ + "model",
                                   path_ + "other", "--preview"});
  EXPECT_EQ(run.exitCode, 124);
  EXPECT_TRUE(std::regex_match(
      run.output,
      std::regex("http://127\\.0\\.0\\.1:[0-9]+/\nonly this machine can see it; Ctrl-C ends it\n")))
      << run.output;
}

}  // namespace
}  // namespace mirel

#endif
