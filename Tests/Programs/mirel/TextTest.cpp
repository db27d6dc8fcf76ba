#include <Programs/mirel/Text/JsonText.h>
#include <Programs/mirel/Text/Nearest.h>
#include <Programs/mirel/Text/Plural.h>
#include <Programs/mirel/Text/Utf8.h>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <limits>
#include <string>

namespace mirel {
namespace {

TEST(Utf8Test, TakesOnlyWhatIsValid) {
  // Overlong forms, surrogates, values beyond Unicode, lone continuation bytes and texts that end too early.
  EXPECT_EQ(Utf8::MakeValid("Größe 设计 \xF0\x9F\x94\xA9"), "Größe 设计 \xF0\x9F\x94\xA9");
  EXPECT_EQ(Utf8::MakeValid("a\xC0\x80z"), "a\uFFFD\uFFFDz");
  EXPECT_EQ(Utf8::MakeValid("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(Utf8::MakeValid("\xF4\x90\x80\x80"), "\uFFFD\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(Utf8::MakeValid("Gr\xF6\xDF"
                            "e"),
            "Gr\uFFFD\uFFFDe");
  EXPECT_EQ(Utf8::MakeValid("\x80"), "\uFFFD");
  EXPECT_EQ(Utf8::MakeValid("\xE8\xAE"), "\uFFFD\uFFFD");
}

TEST(Utf8Test, ReadsUtf16) {
  EXPECT_EQ(Utf8::FromUtf16(u"设 \U0001F529"), "设 \xF0\x9F\x94\xA9");
  const char16_t broken[] = {'a', 0xD800, 'b', 0xDC00, 0, 0xDBFF};
  EXPECT_EQ(Utf8::FromUtf16(std::u16string_view(broken, 6)), "a\uFFFDb\uFFFD\uFFFD\uFFFD");
}

TEST(Utf8Test, NothingReachesATerminalThatCommandsIt) {
  EXPECT_EQ(Utf8::Printable("red \x1b[31m\x07\r\n\t"), "red \\u{1b}[31m\\u{7}\\r\\n\\t");
  EXPECT_EQ(Utf8::Printable("\x7f\u009b31m\u202Etxt\u2066"), "\\u{7f}\\u{9b}31m\\u{202e}txt\\u{2066}");
  EXPECT_EQ(Utf8::Printable("back\\slash \xFF 设"), "back\\\\slash \\xff 设");
  EXPECT_EQ(Utf8::Printable(std::string("nul\0!", 5)), "nul\\u{0}!");

  const std::string passed = Utf8::ForTerminal("设 back\\slash\x1b[31m\xFF\nz", true);
  EXPECT_EQ(passed, "设 back\\slash\\u{1b}[31m\\xff\nz");
  EXPECT_EQ(Utf8::ForTerminal(passed, true), passed);
  EXPECT_EQ(Utf8::ForTerminal(passed, false), "设 back\\slash\\u{1b}[31m\\xff\\nz");
}

TEST(PluralTest, WordsFitTheirNumber) {
  EXPECT_EQ(Plural::Count(1, "body|bodies whose edge|edges"), "1 body whose edge");
  EXPECT_EQ(Plural::Count(0, "body|bodies whose edge|edges"), "0 bodies whose edges");
  EXPECT_EQ(Plural::Choose("graphics", 1), "graphics");
}

TEST(NearestTest, FindsWhatWasMeantOrNothing) {
  const std::vector<std::string> verbs = {"save", "tree", "info", "box", "check", "commands", "stream"};
  EXPECT_EQ(Nearest::Find("sav", verbs), "save");
  EXPECT_EQ(Nearest::Find("inof", verbs), "info");
  EXPECT_EQ(Nearest::Find("chekc", verbs), "check");
  EXPECT_EQ(Nearest::Find("xyz", verbs), "");
  EXPECT_EQ(Nearest::Find(std::string(1 << 20, 's'), verbs), "");
  EXPECT_EQ(Nearest::Find("", verbs), "");
}

TEST(JsonTextTest, IsValidForAnyBytes) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) {
    bytes.push_back(static_cast<char>(i));
  }
  for (const bool indent : {false, true}) {
    JsonText json(indent);
    json.BeginObject();
    json.Key(bytes);
    json.BeginArray();
    json.Text(bytes);
    json.Text("\"\\设\u2028");
    json.Number(0.1);
    json.Number(0.1F);
    json.Number(std::numeric_limits<double>::quiet_NaN());
    json.Number(std::numeric_limits<float>::infinity());
    json.Unsigned(18446744073709551615ull);
    json.Integer(-1);
    json.Bool(false);
    json.BeginObject();
    json.EndObject();
    json.EndArray();
    json.EndObject();
    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag>(json.GetText().c_str(), json.GetText().size());
    ASSERT_FALSE(document.HasParseError()) << json.GetText();
    const rapidjson::Value& list = document.MemberBegin()->value;
    ASSERT_EQ(list.Size(), 10u);
    EXPECT_EQ(std::string(list[0].GetString(), list[0].GetStringLength()), Utf8::MakeValid(bytes));
    EXPECT_STREQ(list[1].GetString(), "\"\\设\u2028");
    EXPECT_EQ(list[2].GetDouble(), 0.1);
    EXPECT_EQ(list[3].GetDouble(), 0.1);  // not the digits of the float widened to double
    EXPECT_TRUE(list[4].IsNull() && list[5].IsNull());
    EXPECT_EQ(list[6].GetUint64(), 18446744073709551615ull);
    for (const char c : json.GetText()) {
      EXPECT_TRUE(static_cast<unsigned char>(c) >= 0x20 || c == '\n');
      EXPECT_NE(c, '\x7f');
    }
  }
}

}  // namespace
}  // namespace mirel
