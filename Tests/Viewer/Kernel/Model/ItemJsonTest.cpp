#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Model/LiteModel.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <random>

namespace mirel {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

std::string Write(const LiteModelItem& item) {
  return WriteItem(item, LiteModel());
}

/// Reads a shape item with these members beside "Type".
std::unique_ptr<ShapeItem> ReadShape(const std::string& members) {
  std::unique_ptr<LiteModelItem> item =
      ReadItem(R"({"Type":"Shape")" + (members.empty() ? "" : "," + members) + "}");
  return std::unique_ptr<ShapeItem>(dynamic_cast<ShapeItem*>(item.release()));
}

TEST(ItemJson, WritesExactlyTheseTexts) {
  EXPECT_EQ(Write(*MakeGroup(18446744073709551615U, "G")),
            R"({"Type":"Group","Id":"18446744073709551615","Name":"G","Children":[]})");
  auto shape = MakeShape(3, "S", 4);
  shape->SetColor({1.0F, 0.0F, 0.0F});
  shape->SetTransform(Move(10.0, 20.0, 30.0));
  shape->SetFaceColor(-1, {0.1F, 0.5F, -2.5F});
  const std::string text =
      R"({"Type":"Shape","Id":"3","Name":"S","Color":[1.0,0.0,0.0],"Transform":[1.0,0.0,0.0,0.0,0.0,1.0,0.0,0.0,)"
      R"(0.0,0.0,1.0,0.0,10.0,20.0,30.0,1.0],"SId":"4","FColor":[{"FId":-1,)"
      R"("Color":[0.10000000149011612,0.5,-2.5]}]})";
  EXPECT_EQ(Write(*shape), text);
  EXPECT_EQ(Write(*ReadItem(text)), text);

  // Column by column: an element's place in the text is 4 * column + row.
  glm::dmat4 matrix;
  for (int k = 0; k < 16; ++k)
    matrix[k / 4][k % 4] = k;
  auto group = MakeGroup(1, "", MakeShape(2, "", 3), MakeInstance(4, "", 5));
  group->SetTransform(matrix);
  const std::string nested =
      R"({"Type":"Group","Id":"1","Name":"","Transform":[0.0,1.0,2.0,3.0,4.0,5.0,6.0,7.0,8.0,9.0,10.0,11.0,12.0,)"
      R"(13.0,14.0,15.0],"Children":[{"Type":"Shape","Id":"2","Name":"","SId":"3","FColor":[]},)"
      R"({"Type":"Instance","Id":"4","Name":"","TId":"5"}]})";
  EXPECT_EQ(Write(*group), nested);
  EXPECT_EQ(ReadItem(nested)->GetTransform(), matrix);
  EXPECT_EQ(Write(*ReadItem(nested)), nested);
}

TEST(ItemJson, StringsAreEscapedAndOtherwiseKeptByteForByte) {
  const std::string names[][2] = {
      {"\"\\/\b\t\n\f\r", R"(\"\\/\b\t\n\f\r)"},
      {"\x01\x1f\x7f", "\\u0001\\u001F\x7f"},
      {"设计 Größe \U0001F600", "设计 Größe \U0001F600"},
      // Not UTF-8: a lone continuation byte, a cut sequence, an overlong form, a surrogate.
      {"\x80 \xe8\xae \xc0\xaf \xed\xa0\x80 \xff", "\x80 \xe8\xae \xc0\xaf \xed\xa0\x80 \xff"}};
  for (const auto& [name, written] : names) {
    const std::string text = Write(*MakeInstance(1, name, 0));
    EXPECT_EQ(text, R"({"Type":"Instance","Id":"1","Name":")" + written + R"(","TId":"0"})");
    const std::unique_ptr<LiteModelItem> back = ReadItem(text);
    ASSERT_TRUE(back) << name;
    EXPECT_EQ(back->GetName(), name);
  }
  EXPECT_EQ(ReadShape(R"("Name":"\u8bbe\ud83d\ude00")")->GetName(), "设\U0001F600");
  // A NUL ends a name.
  EXPECT_EQ(Write(*MakeInstance(1, std::string("a\0b", 3), 0)),
            R"({"Type":"Instance","Id":"1","Name":"a","TId":"0"})");
  EXPECT_EQ(ReadShape(R"("Name":"a\u0000b")")->GetName(), "a");
}

TEST(ItemJson, NumbersComeBack) {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> length(-1e4, 1e4);
  std::vector<double> values{DBL_MAX, -DBL_MAX, std::nextafter(DBL_MAX, 0.0), DBL_MIN, DBL_TRUE_MIN};
  for (int i = 0; i < 10000; ++i)
    values.push_back(length(random));
  for (const double value : values) {
    InstanceItem item;
    item.SetTransform(Move(value, 0.0, 0.0));
    item.SetColor(glm::vec3(std::fmod(std::abs(value), 1e4), 0.0, 0.0));
    const std::unique_ptr<LiteModelItem> back = ReadItem(Write(item));
    EXPECT_DOUBLE_EQ(back->GetTransform()[3][0], value) << "but for rounding";
    EXPECT_EQ(back->GetColor(), item.GetColor());
  }
}

TEST(ItemJson, WhatIsNotFiniteIsLeftOutWithAMessage) {
  for (const double bad : {kNan, kInf, -kInf}) {
    for (int k = 0; k < 16; ++k) {
      LogCapture log;
      auto item = MakeShape(1, "", 2);
      glm::dmat4 matrix(2.0);
      matrix[k / 4][k % 4] = bad;
      item->SetTransform(matrix);
      glm::vec3 color(0.5F);
      color[k % 3] = static_cast<float>(bad);
      item->SetFaceColor(3, color);
      item->SetColor(color);
      EXPECT_EQ(Write(*item), R"({"Type":"Shape","Id":"1","Name":"","SId":"2","FColor":[]})");
      EXPECT_EQ(log.Count(3, "The transform of item 1 is not finite and is left out"), 1);
      EXPECT_TRUE(log.Contains("The colour of face 3 of item 1"));
      EXPECT_EQ(log.GetTexts(3).size(), color.r >= 0.0F ? 3U : 2U)
          << "a red that is no number, or negative, is no colour";
    }
  }
}

TEST(ItemJson, ColoursTakeTheNumbersThatThereAre) {
  EXPECT_EQ(ReadShape("")->GetColor(), glm::vec3(-1.0F));
  const std::pair<const char*, glm::vec3> cases[] = {
      {"[0.25]", {0.25F, -1.0F, -1.0F}},
      {"[]", glm::vec3(-1.0F)},
      {"[1,0,18446744073709551615]", {1.0F, 0.0F, 18446744073709551616.0F}},
      {"[0.5,0.5,0.5,\"x\",9]", glm::vec3(0.5F)},
      {"[\"1\",0.5,null]", {-1.0F, 0.5F, -1.0F}},
      {"[1e39,-1e300,0.5]", {-1.0F, -1.0F, 0.5F}},
      {"[[1],{},true]", glm::vec3(-1.0F)},
      {"[1e-300,3.4e38,0]", {0.0F, 3.4e38F, 0.0F}}};
  for (const auto& [json, expected] : cases) {
    const std::unique_ptr<ShapeItem> item =
        ReadShape(std::string("\"Color\":") + json + ",\"FColor\":[{\"FId\":1,\"Color\":" + json + "}]");
    ASSERT_TRUE(item) << json;
    EXPECT_EQ(item->GetColor(), expected) << json;
    // A face starts from white instead.
    glm::vec3 face = expected;
    for (int k = 0; k < 3; ++k)
      if (face[k] == -1.0F) face[k] = 1.0F;
    EXPECT_EQ(item->GetFaceColor().at(1), face) << json;
  }
  // A colour is one, and written, when its red is not negative: also when only a part of it was set.
  const auto isWritten = [](const char* color) {
    return Write(*ReadShape(std::string("\"Color\":") + color)).find(std::string("\"Color\":") + color) !=
           std::string::npos;
  };
  EXPECT_NE(Write(*ReadShape(R"("Color":[0.25])")).find(R"("Color":[0.25,-1.0,-1.0])"), std::string::npos);
  EXPECT_TRUE(isWritten("[-0.0,-1.0,2.0]"));
  EXPECT_FALSE(isWritten("[-1.0,0.5,0.5]"));
}

TEST(ItemJson, FaceColoursNeedAnIntegerIndex) {
  const std::unique_ptr<ShapeItem> item = ReadShape(
      R"("FColor":[{"FId":1,"Color":[0.0]},{"Color":[0,0,0]},{"FId":2},{"FId":1.5,"Color":[0,0,0]},)"
      R"({"FId":"3","Color":[0,0,0]},{"FId":null},7,{"FId":-1,"Color":[0,0,1]},)"
      R"({"FId":4294967298,"Color":[0,1,0]},{"FId":-4294967291,"Color":[1,1,0]},)"
      R"({"FId":18446744073709551615,"Color":[0.5,0,0]},{"FId":36893488147419103232,"Color":[0,0,0]},)"
      R"({"FId":9,"Color":7},{"FId":10,"Color":[0,0,0]},{"FId":10,"Color":[0.5,0.5,0.5]}])");
  ASSERT_TRUE(item);
  const ShapeItem::FaceColorMap expected{
      {1U, {0.0F, 1.0F, 1.0F}},           // missing components are 1
      {2U, {0.0F, 1.0F, 0.0F}},           // the low 32 bits of 4294967298; the later one stays
      {5U, {1.0F, 1.0F, 0.0F}},           // and of a negative number
      {4294967295U, {0.5F, 0.0F, 0.0F}},  // -1 and the largest integer are one face
      {9U, glm::vec3(1.0F)},
      {10U, glm::vec3(0.5F)}};
  EXPECT_EQ(item->GetFaceColor(), expected);
}

TEST(ItemJson, ATransformNeedsSixteenNumbers) {
  const std::string fifteen = "2,0,0,0,0,2,0,0,0,0,2,0,5,6,7";
  for (const std::string& json : {"[" + fifteen + "]", "[" + fifteen + ",null]", std::string("{}")})
    EXPECT_EQ(ReadShape("\"Transform\":" + json)->GetTransform(), glm::dmat4(1.0)) << json;
  glm::dmat4 expected = Move(5.0, 6.0, 7.0);
  for (int k = 0; k < 3; ++k)
    expected[k][k] = 2.0;
  EXPECT_EQ(ReadShape("\"Transform\":[" + fifteen + ",1,null,99]")->GetTransform(), expected);
}

TEST(ItemJson, TheFirstOfTwoMembersCountsAndOthersAreIgnored) {
  const std::unique_ptr<ShapeItem> item = ReadShape(
      R"("name":"x","Name":"first","Name":"second","Tag":7,"Type":"Group","Nam":1,"Id":"5","Id":"6")");
  ASSERT_TRUE(item);
  EXPECT_EQ(item->GetName(), "first");
  EXPECT_EQ(item->GetId(), Id(5));
  EXPECT_EQ(item->GetTag(), 0U);
  EXPECT_EQ(ReadShape(R"("Name":5,"Name":"second")")->GetName(), "") << "also when it is of the wrong type";
}

TEST(ItemJson, AnItemIsRejectedForThese) {
  struct Case {
    const char* json;
    int level;
    const char* message;
  };
  for (const Case& c :
       {Case{"[]", 3, "Not Object!"}, Case{"\"Shape\"", 3, "Not Object!"}, Case{"{}", 3, "Type is null"},
        Case{R"({"Type":null})", 3, "Type is null"}, Case{R"({"Type":"shape"})", 1, "Invalid type shape"},
        Case{R"({"Type":"Groups"})", 1, "Invalid type Groups"}, Case{R"({"Type":""})", 1, "Invalid type "},
        Case{R"({"Type":"%s%n"})", 1, "Invalid type %s%n"}, Case{R"({"Type":"Group"})", 0, ""},
        Case{R"({"Type":"Group","Children":{}})", 0, ""}}) {
    LogCapture log;
    EXPECT_EQ(ReadItem(c.json), nullptr) << c.json;
    if (c.level == 0) {
      EXPECT_TRUE(log.GetEntries().empty()) << c.json;
    } else {
      ASSERT_EQ(log.GetEntries().size(), c.level == 3 ? 2U : 1U) << c.json;
      EXPECT_EQ(log.GetEntries()[0], LogCapture::Entry(c.level, c.message));
      EXPECT_EQ(log.Contains("LiteModelItem.cpp"), c.level == 3);
    }
  }
  EXPECT_EQ(dynamic_cast<InstanceItem&>(*ReadItem(R"({"Type":"Instance"})")).GetTypeId(), ObjectId());
}

TEST(ItemJson, ReadAddsToWhatAnItemHolds) {
  auto group = MakeGroup(1, "old", MakeShape(2, "", 0));
  rapidjson::Document document;
  document.Parse(R"({"Color":[0.5],"Children":[{"Type":"Shape","Id":"3"}]})");
  EXPECT_TRUE(group->Read(document));
  EXPECT_EQ(group->GetName(), "old");
  EXPECT_EQ(group->GetChildren().size(), 2U);
}

/// An instance with this placement, of type 100 with another placement and this tag.
struct InstanceOfType {
  explicit InstanceOfType(unsigned int tag) {
    auto type = MakeShape(100, "type", 10);
    type->SetTransform(TurnAboutZ(90.0));
    type->SetColor({0.0F, 0.0F, 1.0F});
    type->SetTag(tag);
    model.AddType(std::move(type));
    instance = MakeInstance(1, "instance", 100);
    instance->SetTransform(Move(5.0, 0.0, 0.0));
  }

  LiteModel model;
  std::unique_ptr<InstanceItem> instance;
};

TEST(InstanceJson, AnInstanceOfASharedOrUnusedTypeNamesIt) {
  for (const unsigned int tag : {0U, 2U, 4294967295U}) {
    InstanceOfType sample(tag);
    sample.instance->SetTransform(glm::dmat4(1.0));
    EXPECT_EQ(WriteItem(*sample.instance, sample.model),
              R"({"Type":"Instance","Id":"1","Name":"instance","TId":"100"})");
  }
  LogCapture log;
  EXPECT_EQ(Write(*MakeInstance(1, "", 99)), R"({"Type":"Instance","Id":"1","Name":"","TId":"99"})");
  EXPECT_TRUE(log.GetEntries().empty());
}

TEST(InstanceJson, ATypeUsedOnceIsWrittenInPlaceOfItsInstance) {
  InstanceOfType sample(1);
  const glm::dmat4 placement = Move(5.0, 0.0, 0.0) * TurnAboutZ(90.0);
  const std::string text = WriteItem(*sample.instance, sample.model);
  EXPECT_EQ(text.find(R"({"Type":"Shape","Id":"100","Name":"instance","Color":[0.0,0.0,1.0],"Transform":[)"),
            0U)
      << text;
  EXPECT_EQ(text.find("TId"), std::string::npos);
  const std::unique_ptr<LiteModelItem> back = ReadItem(text);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->GetTransform()[3], glm::dvec4(5.0, 0.0, 0.0, 1.0)) << "the instance's placement comes last";
  EXPECT_EQ(sample.model.FindType(Id(100))->GetTransform(), placement);
  EXPECT_EQ(sample.model.FindType(Id(100))->GetName(), "instance");
  EXPECT_EQ(sample.instance->GetTransform(), Move(5.0, 0.0, 0.0));

  // The changes stay; the second time multiplies once more, and a colour and an empty name of the instance go
  // over.
  sample.instance->SetColor({1.0F, 0.0F, 0.0F});
  sample.instance->SetName("");
  const std::string again = WriteItem(*sample.instance, sample.model);
  EXPECT_EQ(again.find(R"({"Type":"Shape","Id":"100","Name":"","Color":[1.0,0.0,0.0],)"), 0U) << again;
  EXPECT_EQ(ReadItem(again)->GetTransform()[3], glm::dvec4(10.0, 0.0, 0.0, 1.0));
}

TEST(InstanceJson, ATypeThatContainsItselfIsNamedAndReported) {
  const auto tagged = [](std::unique_ptr<LiteModelItem> item) {
    item->SetTag(1);
    return item;
  };
  LiteModel model;
  model.AddType(tagged(MakeGroup(100, "direct", MakeInstance(1, "", 100))));
  model.AddType(tagged(MakeInstance(200, "itself", 200)));
  model.AddType(tagged(MakeGroup(301, "one", MakeInstance(2, "", 302))));
  model.AddType(tagged(MakeInstance(302, "two", 303)));
  model.AddType(tagged(MakeGroup(303, "three", MakeShape(3, "", 0), MakeInstance(4, "", 301))));
  for (const unsigned long long type : {100ULL, 200ULL, 301ULL, 302ULL, 303ULL}) {
    LogCapture log;
    const std::string text = WriteItem(*MakeInstance(9, "use", type), model);
    ASSERT_EQ(log.GetTexts(3).size(), 1U) << text;
    EXPECT_TRUE(log.Contains("contains itself"));
    EXPECT_NE(text.find("\"TId\":\"" + std::to_string(type) + "\""), std::string::npos) << text;
    ASSERT_TRUE(ReadItem(text)) << text;
    EXPECT_TRUE(log.GetTexts(1).empty());
  }
}

TEST(ItemNesting, WhatIsDeeperThanTheLimitIsLeftOutWithAMessage) {
  LogCapture log;
  auto leaf = MakeShape(7777, "leaf", 8);
  leaf->SetFaceColor(1, glm::vec3(0.5F));
  const std::string deepest = Write(*MakeChain(kMaxNesting, std::move(leaf)));
  EXPECT_NE(deepest.find("\"7777\""), std::string::npos);
  EXPECT_EQ(Write(*ReadItem(deepest)), deepest);
  EXPECT_TRUE(log.GetEntries().empty());

  for (const int level : {kMaxNesting + 1, 100000}) {
    log.Clear();
    const std::string text = Write(*MakeChain(level, MakeShape(7777, "leaf", 8)));
    EXPECT_EQ(text.find("\"7777\""), std::string::npos);
    EXPECT_TRUE(ReadItem(text)) << "what is written can be read";
    EXPECT_EQ(log.GetTexts(3).size(), 1U);
  }

  log.Clear();
  const std::unique_ptr<LiteModelItem> item =
      ReadItem(R"({"Type":"Group","Children":[)" + deepest + R"(,{"Type":"Shape","Id":"9999"}]})");
  ASSERT_TRUE(item);
  EXPECT_EQ(log.GetTexts(3).size(), 1U);
  EXPECT_EQ(Write(*item).find("\"7777\""), std::string::npos);
  EXPECT_NE(Write(*item).find("\"9999\""), std::string::npos);
}

}  // namespace
}  // namespace mirel
