#include <Viewer/Kernel/Reader/LiteModelReader.h>

#include <Viewer/Kernel/App/LiteBBoxVisitor.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Reader/ShallowDocument.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>
#include <rapidjson/pointer.h>

#include <cmath>

#if !defined(_WIN32)
#include <pthread.h>
#endif

namespace mirel {
namespace {

/// An index with every member that there is.
const char* const kIndex =
    R"({"Version":1,"Author":"Orvane","Metadata":{"PkgShape":3,"PkgGRep":2},)"
    R"("Types":[{"Type":"Group","Id":"100","Name":"T","Children":[{"Type":"Shape","Id":"101","Name":"S","SId":"10",)"
    R"("FColor":[]}]}],)"
    R"("Items":[{"Type":"Group","Id":"1","Name":"G","Color":[0.25,0.5,1.0],)"
    R"("Transform":[1.0,0.0,0.0,0.0,0.0,1.0,0.0,0.0,0.0,0.0,1.0,0.0,5.0,6.0,7.0,1.0],)"
    R"("Children":[{"Type":"Shape","Id":"2","Name":"A","Color":[1.0,0.0,0.0],"SId":"10",)"
    R"("FColor":[{"FId":4,"Color":[0.0,1.0,0.0]}]},{"Type":"Instance","Id":"3","Name":"B","TId":"100"}]},)"
    R"({"Type":"Shape","Id":"4","Name":"last","SId":"11","FColor":[]}]})";

/// Everything that was read, as the JSON of types and items.
std::string Describe(const LiteModel& model) {
  std::string text;
  for (const auto& [id, type] : model.GetTypes())
    text += "T" + WriteItem(*type, model) + "\n";
  for (const std::unique_ptr<LiteModelItem>& item : model.GetItems())
    text += "I" + WriteItem(*item, model) + "\n";
  return text;
}

TEST(LiteModelReader, ReadsTypesItemsAndCounts) {
  LogCapture log;
  LiteModel model;
  LiteModelReader reader(model);
  EXPECT_EQ(reader.GetPkgShape(), 0U);
  EXPECT_EQ(reader.GetPkgGRep(), 0U);
  EXPECT_TRUE(reader.Load(kIndex));
  EXPECT_EQ(reader.GetPkgShape(), 3U);
  EXPECT_EQ(reader.GetPkgGRep(), 2U);
  const std::string once = Describe(model);
  EXPECT_NE(once.find("\"Id\":\"101\""), std::string::npos);
  ASSERT_EQ(model.GetItems().size(), 2U);
  EXPECT_EQ(model.GetItems()[1]->GetName(), "last");

  EXPECT_TRUE(reader.Load(kIndex));
  EXPECT_EQ(model.GetItems().size(), 4U) << "every item twice";
  EXPECT_EQ(model.GetTypes().size(), 1U) << "each type once";
  EXPECT_TRUE(log.GetEntries().empty());
}

TEST(LiteModelReader, DoesNotMindOrderWhitespaceAndOtherMembers) {
  LiteModel expected;
  ASSERT_TRUE(
      LiteModelReader(expected).Load(R"({"Types":[],"Items":[{"Type":"Shape","Id":"1","SId":"2"}]})"));
  for (
      const char* const text :
      {R"({"Items":[{"SId":"2","Id":"1","Type":"Shape"}],"Types":[]})",
       "\t\r\n {\n \"Types\" :\t[ ] , \"Items\" : [ { \"Type\" : \"Shape\" , \"Id\":\"1\",\"SId\" : \"2\" } "
       "] }\n\r\t ",
       R"({"Version":"old","Author":7,"Other":{"a":[1,2,{}]},"Types":[],"Items":[{"Type":"Shape","Id":"1","SId":"2"}]})",
       R"({"Types":[],"Items":[{"Type":"Shape","Id":"1","SId":"2"}],"Items":[],"Types":7})"}) {
    LiteModel model;
    EXPECT_TRUE(LiteModelReader(model).Load(text)) << text;
    EXPECT_EQ(Describe(model), Describe(expected)) << text;
  }
}

TEST(LiteModelReader, RefusesTextThatIsNotJson) {
  const std::string good = R"({"Metadata":{"PkgShape":9},"Types":[],"Items":[]})";
  for (const std::string& text :
       {std::string(), std::string(" \n"), "\xEF\xBB\xBF" + good, good + "x", good + good,
        std::string(R"({"Types":[],"Items":[],})"), std::string(R"({"Types":[NaN],"Items":[]})"),
        std::string(R"({"Types":[],"Items":[{"Type":"Shape","Color":[.5]}]})"), "/* */" + good,
        std::string(R"({"Types":["\ud800"],"Items":[]})"), std::string("\"\\"), std::string("}}}}"),
        std::string("\0{}", 3)}) {
    LogCapture log;
    LiteModel model;
    LiteModelReader reader(model);
    EXPECT_FALSE(reader.Load(text)) << text;
    EXPECT_EQ(log.GetTexts(3), std::vector<std::string>{"Failed to parse json content!"}) << text;
    EXPECT_EQ(reader.GetPkgShape(), 0U);
    EXPECT_TRUE(model.GetItems().empty() && model.GetTypes().empty());
  }
  // The text ends at its first NUL.
  LiteModel model;
  EXPECT_TRUE(LiteModelReader(model).Load(good + std::string("\0rest", 5)));
}

TEST(LiteModelReader, KeepsWhatCameBeforeAMissingPart) {
  LogCapture log;
  LiteModel model;
  LiteModelReader reader(model);
  reader.SetPkgGRep(7);
  for (const char* const noCount : {"0.5", "4294967296", "-1"}) {
    EXPECT_FALSE(reader.Load(std::string(R"({"Metadata":{"PkgShape":5,"PkgGRep":)") + noCount +
                             R"(},"Items":[{"Type":"Shape"}]})"));
    EXPECT_EQ(reader.GetPkgShape(), 5U);
    EXPECT_EQ(reader.GetPkgGRep(), 7U) << "a count that is absent or none keeps its value";
  }
  EXPECT_TRUE(model.GetItems().empty());
  EXPECT_FALSE(reader.Load(R"({"Types":[{"Type":"Shape","Id":"9"}]})"));
  EXPECT_EQ(reader.GetPkgShape(), 5U);
  EXPECT_TRUE(model.FindType(Id(9)));
  EXPECT_TRUE(log.GetEntries().empty()) << "neither is worth a message";
  EXPECT_TRUE(
      reader.Load(R"({"Types":[7,{"Type":"Shape","Id":"8"},{}],"Items":[{"Type":"?"},{"Type":"Shape"}]})"));
  EXPECT_TRUE(model.FindType(Id(8)));
  EXPECT_EQ(model.GetItems().size(), 1U);
  EXPECT_EQ(log.GetTexts(3), (std::vector<std::string>{"Not Object!", "Type is null"}));
}

/// The paths of all values in a document, as JSON pointers.
void ListPaths(const rapidjson::Value& value, const std::string& path, std::vector<std::string>& paths) {
  paths.push_back(path);
  if (value.IsObject()) {
    for (const auto& member : value.GetObject())
      ListPaths(member.value, path + "/" + member.name.GetString(), paths);
  } else if (value.IsArray()) {
    for (rapidjson::SizeType i = 0; i < value.Size(); ++i)
      ListPaths(value[i], path + "/" + std::to_string(i), paths);
  }
}

std::string ToJson(const rapidjson::Value& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return buffer.GetString();
}

/// The index with the value at the path replaced by another JSON text.
std::string Replace(const std::string& path, const std::string& by) {
  rapidjson::Document document, other;
  document.Parse(kIndex);
  other.Parse(by.c_str());
  rapidjson::Pointer(path.c_str()).Set(document, other);
  return ToJson(document);
}

TEST(LiteModelReader, NumbersAreRoundedCorrectly) {
  const std::string zeros(400, '0');
  const std::string manyDigits = "9" + std::string(300, '0') + "e-300";
  for (const auto& [text, expected] : {std::pair<std::string, double>("0e-30", 0.0),
                                       {"-0E-320", -0.0},
                                       {"0.000000000000000000000000000000", 0.0},
                                       {"0e300", 0.0},
                                       {"1e-400", 0.0},
                                       {"0." + zeros + "1", 0.0},
                                       {"-1e-2147483648", 0.0},
                                       {"4.9406564584124654e-324", 4.9406564584124654e-324},
                                       {"2.2250738585072011e-308", 2.2250738585072011e-308},
                                       {"1.7976931348623157e308", 1.7976931348623157e308},
                                       {manyDigits, 9.0},
                                       {"-0", 0.0},
                                       {"0.3", 0.3},
                                       {"-12.345", -12.345},
                                       {"0.00000000000123", 1.23e-12},
                                       {"123456789012.345", 123456789012.345},
                                       {"99999999999999.9", 99999999999999.9},
                                       {"9999999999999999", 9999999999999999.0},
                                       {"-999999999999999", -999999999999999.0},
                                       {"9007199254740993.0", 9007199254740992.0},
                                       {"18446744073709551616", 18446744073709551616.0},
                                       {"-9223372036854775809", -9223372036854775808.0},
                                       {"-0.30000000000000004", -0.30000000000000004}}) {
    LogCapture log;
    LiteModel model;
    ASSERT_TRUE(LiteModelReader(model).Load(
        R"({"Types":[],"Items":[{"Type":"Shape","Transform":[1,0,0,0,0,1,0,0,0,0,1,0,)" + text +
        R"(,0,0,1]}]})"))
        << text;
    EXPECT_EQ(model.GetItems().at(0)->GetTransform()[3].x, expected) << text;
  }
  // Numbers that no double holds are what the JSON library makes of them.
  for (const std::string text :
       {"1.8e308", "-18e307", "1000e306", "1.5e-9223372036854775809", "-2e-99999999999999999999",
        "0.0000001e315", "1e309", "-0.0018e312", "0e400"}) {
    LogCapture log;
    LiteModel model;
    rapidjson::Document document;
    const bool isNumber = !document.Parse(text.c_str()).HasParseError();
    ShallowDocument ours;
    ASSERT_EQ(ours.ParseText(text), isNumber) << text;
    if (isNumber) {
      EXPECT_EQ(ours.GetDouble(), document.GetDouble()) << text;
    }
    EXPECT_EQ(LiteModelReader(model).Load(
                  R"({"Types":[],"Items":[{"Type":"Shape","Transform":[2,0,0,0,0,2,0,0,0,0,2,0,)" + text +
                  R"(,0,0,1]}]})"),
              isNumber);
    EXPECT_EQ(log.Count(3, "Failed to parse json content!"), isNumber ? 0 : 1) << text;
    if (isNumber) {
      const bool isFinite = std::isfinite(document.GetDouble());
      EXPECT_EQ(model.GetItems().at(0)->GetTransform()[0].x, isFinite ? 2.0 : 1.0)
          << "all of a placement or nothing";
    }
  }
}

TEST(LiteModelReader, AnyValueOfAnyTypeAnywhereIsHarmless) {
  rapidjson::Document document;
  document.Parse(kIndex);
  std::vector<std::string> paths;
  ListPaths(document, "", paths);
  ASSERT_GT(paths.size(), 60U);
  rapidjson::Document values;
  values.Parse(
      R"([null, true, false, 0, -1, 7, 1.5, -1e308, 18446744073709551615, "", "x", "Group", "Instance", "100",
                   [], [null], [[[]]], [1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17], ["a",{},[]], {}, {"Type":"Group"},
                   {"Type":"Shape","Children":7}, {"FId":"1","Color":{}}, [{"FId":{},"Color":[[]]}]])");
  ASSERT_TRUE(values.IsArray());
  for (const std::string& path : paths) {
    for (const rapidjson::Value& json : values.GetArray()) {
      const std::string value = ToJson(json);
      SCOPED_TRACE(path + " = " + value);
      const LogCapture log;
      LiteModel model;
      LiteModelReader reader(model);
      const bool loaded = reader.Load(Replace(path, value));
      const bool isList = path == "/Types" || path == "/Items";
      const bool wasArray = value[0] == '[';
      EXPECT_EQ(loaded, !path.empty() && (!isList || wasArray));
      if (!loaded) continue;
      // What lies beside the replaced value is read.
      if (path.find("/Items") != 0) {
        EXPECT_EQ(model.GetItems().size(), 2U);
      } else if (path.find("/Items/0") == 0) {
        EXPECT_EQ(model.GetItems().back()->GetName(), "last");
      }
      if (path.find("/Types") != 0) {
        EXPECT_EQ(model.GetTypes().size(), 1U);
      }

      // What was read can be shown, measured, and written so that it can be read again.
      EXPECT_FALSE(DescribeModel(model).empty());
      LiteBBoxVisitor visitor(model);
      model.Apply(&visitor);
      for (const std::unique_ptr<LiteModelItem>& item : model.GetItems())
        EXPECT_TRUE(ReadItem(WriteItem(*item, model)));
    }
  }
}

TEST(LiteModelReader, AMemberOfTheWrongTypeCountsAsAbsent) {
  // What the wrong member changes in the first item's JSON: itself, nothing else.
  const std::string group = "/Items/0";
  const std::string shape = "/Items/0/Children/0";
  const std::string instance = "/Items/0/Children/1";
  const std::string transform =
      R"("Transform":[1.0,0.0,0.0,0.0,0.0,1.0,0.0,0.0,0.0,0.0,1.0,0.0,5.0,6.0,7.0,1.0],)";
  const std::string shapeText =
      R"({"Type":"Shape","Id":"2","Name":"A","Color":[1.0,0.0,0.0],"SId":"10","FColor":[{"FId":4,"Color":[0.0,1.0,0.0]}]},)";
  const std::string instanceText = R"(,{"Type":"Instance","Id":"3","Name":"B","TId":"100"})";
  const std::string face = R"({"FId":4,"Color":[0.0,1.0,0.0]})";
  const struct {
    std::string path, wrong, part, by;
  } cases[] = {
      {group + "/Name", "7", "\"G\"", "\"\""},
      {group + "/Color", "{}", R"("Color":[0.25,0.5,1.0],)", ""},
      {group + "/Color/1", "\"x\"", "[0.25,0.5,1.0]", "[0.25,-1.0,1.0]"},
      {group + "/Transform", "\"x\"", transform, ""},
      {group + "/Transform/15", "null", transform, ""},
      {shape, "[]", shapeText, ""},
      {shape + "/Type", "1", shapeText, ""},
      {shape + "/SId", "10", R"("SId":"10")", R"("SId":"0")"},
      {shape + "/SId", "\"ten\"", R"("SId":"10")", R"("SId":"0")"},
      {shape + "/FColor", "{}", face, ""},
      {shape + "/FColor/0", "4", face, ""},
      {shape + "/FColor/0/FId", "4.0", face, ""},
      {shape + "/FColor/0/Color", "null", "[0.0,1.0,0.0]}", "[1.0,1.0,1.0]}"},
      {shape + "/FColor/0/Color/0", "[]", "[0.0,1.0,0.0]}", "[1.0,1.0,0.0]}"},
      {instance + "/TId", "100", R"("TId":"100")", R"("TId":"0")"},
      {instance + "/Type", "null", instanceText, ""},
  };
  LiteModel whole;
  ASSERT_TRUE(LiteModelReader(whole).Load(kIndex));
  for (const auto& [path, wrong, part, by] : cases) {
    LogCapture log;
    LiteModel model;
    ASSERT_TRUE(LiteModelReader(model).Load(Replace(path, wrong))) << path;
    ASSERT_EQ(model.GetItems().size(), 2U) << path;
    std::string expected = WriteItem(*whole.GetItems()[0], whole);
    expected.replace(expected.find(part), part.size(), by);
    EXPECT_EQ(WriteItem(*model.GetItems()[0], model), expected) << path << " = " << wrong;
  }
  // A wrong id leaves the fresh one, and a group needs its children.
  LiteModel model;
  ASSERT_TRUE(LiteModelReader(model).Load(Replace(group + "/Id", "1")));
  EXPECT_NE(model.GetItems()[0]->GetId(), Id(1));
  EXPECT_NE(model.GetItems()[0]->GetId(), ObjectId());
  LiteModel noGroup;
  ASSERT_TRUE(LiteModelReader(noGroup).Load(Replace(group + "/Children", "{}")));
  ASSERT_EQ(noGroup.GetItems().size(), 1U);
  EXPECT_EQ(noGroup.GetItems()[0]->GetName(), "last");
}

/// An index whose items nest this deep, the innermost a shape with a face colour.
std::string DeepIndex(int level) {
  std::string text = R"({"Types":[],"Items":[)";
  for (int i = 1; i < level; ++i)
    text += R"({"Type":"Group","Children":[)";
  text += R"({"Type":"Shape","Id":"7777","FColor":[{"FId":1,"Color":[0.0]}]})";
  for (int i = 1; i < level; ++i)
    text += "]}";
  return text + "]}";
}

TEST(LiteModelReader, LeavesOutWhatNestsTooDeep) {
  LogCapture log;
  LiteModel deepest;
  EXPECT_TRUE(LiteModelReader(deepest).Load(DeepIndex(kMaxNesting)));
  EXPECT_NE(Describe(deepest).find("\"7777\""), std::string::npos);
  EXPECT_TRUE(log.GetEntries().empty());

  for (const int levels : {kMaxNesting + 1, 100000}) {
    LiteModel model;
    EXPECT_TRUE(LiteModelReader(model).Load(DeepIndex(levels)));
    EXPECT_EQ(log.GetTexts(3).size(), 1U);
    EXPECT_TRUE(log.Contains("is nested deeper than 500 levels: its content is left out"));
    EXPECT_EQ(model.GetItems().size(), 1U);
    EXPECT_EQ(Describe(model).find("\"7777\""), std::string::npos);
    log.Clear();
  }
  // What nobody knows may nest to any depth.
  const std::string brackets(1000000, '[');
  const std::string unknown = brackets + "1,\"]\",null,{\"a\":true}" + std::string(1000000, ']');
  LiteModel ignores;
  EXPECT_TRUE(LiteModelReader(ignores).Load("{\"x\":" + unknown + "," + DeepIndex(2).substr(1)));
  EXPECT_NE(Describe(ignores).find("\"7777\""), std::string::npos);
  EXPECT_TRUE(log.GetEntries().empty());
  for (const std::string& text : {brackets, "{\"a\":" + brackets, unknown + "]"}) {
    log.Clear();
    LiteModel none;
    EXPECT_FALSE(LiteModelReader(none).Load(text));
    EXPECT_EQ(log.GetTexts(3), std::vector<std::string>{"Failed to parse json content!"});
  }
  // Brackets in strings do not count, escaped quotation marks do not end one.
  LiteModel model;
  EXPECT_TRUE(
      LiteModelReader(model).Load(R"({"Types":[],"Items":[],"x":"\"\\\")" + std::string(5000, '[') + "\"}"));
}

#if !defined(_WIN32)
/// Runs a function on a thread with a stack of this size.
void RunOnStack(std::size_t size, void* (*function)(void*), void* argument) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, size), 0);
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, &attributes, function, argument), 0);
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
  pthread_attr_destroy(&attributes);
}

TEST(LiteModelReader, ASmallStackIsEnoughForTheDeepestIndex) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  constexpr std::size_t kStack = 8 << 20;  // the sanitizers' frames are larger
#else
  constexpr std::size_t kStack = 1 << 20;
#endif
  std::string nodes;
  RunOnStack(
      kStack,
      [](void* result) -> void* {
        LiteModel model;
        LiteModelReader(model).Load(DeepIndex(kMaxNesting));
        model.AddShape(Id(0), MakeGRep(MakeBox(1, 1, 1)));
        LiteBBoxVisitor visitor(model);
        model.Apply(&visitor);
        const std::string text = WriteItem(*model.GetItems()[0], model);
        *static_cast<std::string*>(result) = DescribeModel(model) + text;
        return nullptr;
      },
      &nodes);
  EXPECT_NE(nodes.find("B 7777"), std::string::npos);
  EXPECT_NE(nodes.find("\"Id\":\"7777\""), std::string::npos);
}
#endif

}  // namespace
}  // namespace mirel
