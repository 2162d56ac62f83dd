// SPDX-License-Identifier: LGPL-2.1-or-later
// Parsing JSON: broken and hostile texts, values of any type, numbers.
#include "ktFileError.h"
#include "ktGltfJson.h"
#include "ktReadInterrupt.h"

#include <gmock/gmock.h>

namespace {

std::string problemOf(const std::string& text) {
    try {
        ktParseJson(text.data(), text.size());
        return std::string();
    } catch (const ktFileError& error) {
        return error.reason();
    }
}

} // namespace

TEST(GltfJson, GivenDocument_KeepsOrderAndNumbers) {
    const std::string text = R"({"z":1,"a":1.0,"m":[0.1,1e-07,18446744073709551615,-3],"b":{"y":null,"x":"ä\n"}})";
    EXPECT_EQ(ktParseJson(text.data(), text.size()).dump(), text);
}

TEST(GltfJson, GivenEachKindOfValue_ReadsWhatTheLibraryReads) {
    std::string text = R"({"a":[1,-2,3.5,true,false,null,"x\u00e4"],"b":{"c":{},"d":[]},"a":[[],{"e":[{}]}],"f":1})";
    std::string many = "{";
    for (int i = 0; i < 100; ++i)
        many += "\"" + std::to_string(i % 60) + "\":" + std::to_string(i) + ",";
    for (const std::string& each :
         {text, many + "\"z\":0}", std::string("[1,[2]]"), std::string("7"), std::string("{}")})
        EXPECT_EQ(ktParseJson(each.data(), each.size()).dump(), ktJson::parse(each).dump());
}

TEST(GltfJson, GivenBrokenText_NamesLineAndColumn) {
    EXPECT_EQ(problemOf("{\n  \"a\": ]\n}"), "JSON is broken at line 2, column 8");
    EXPECT_NE(problemOf(""), "");
    EXPECT_NE(problemOf("{\"a\": 1"), "");
    EXPECT_EQ(problemOf("{\"a\":\n 1e999}"), "JSON holds the number 1e999 at line 2, column 2, which is too large");
    EXPECT_NE(problemOf("\"\xff\""), "");
}

TEST(GltfJson, GivenNumberThatIsTooLarge_NamesItsOwnPlace) {
    EXPECT_EQ(problemOf("1e309"), "JSON holds the number 1e309 at line 1, column 1, which is too large");
    EXPECT_EQ(problemOf("{\"name\": \"1e309\",\n \"a\": [11e3090,\n-1e309]}"),
              "JSON holds the number 11e3090 at line 2, column 8, which is too large");
    EXPECT_EQ(problemOf("{\"1e309\": \"-1e309\",\n\n  \"b\": -1e309 }"),
              "JSON holds the number -1e309 at line 3, column 8, which is too large")
        << "not where a text has the same letters";
}

TEST(GltfJson, GivenInterrupt_EndsInTheMiddleOfTheText) {
    const std::string text = "[" + std::string(1 << 20, ' ') + "]";
    int asked = 0;
    const ktReadInterrupt interrupt([&asked] { return ++asked == 5; });
    EXPECT_THROW(ktParseJson(text.data(), text.size()), ktReadInterrupt::Interrupted);
    EXPECT_EQ(asked, 5);
    EXPECT_EQ(ktParseJson(text.data(), text.size()).size(), 0u);
    EXPECT_GT(asked, 15);
}

TEST(GltfJson, GivenDeepNesting_RefusesInsteadOfOverflowing) {
    EXPECT_EQ(problemOf(std::string(499, '[') + std::string(499, ']')), "");
    EXPECT_THAT(problemOf(std::string(501, '[') + std::string(501, ']')), testing::HasSubstr("deeper than 500"));
    std::string deep;
    deep.resize(10000000, '[');
    EXPECT_THAT(problemOf(deep), testing::HasSubstr("deeper than 500"));
    EXPECT_EQ(problemOf("\"" + std::string(1000, '[') + "\\\"[\""), "");
}

TEST(GltfJson, GivenObjectOfTooManyMembers_RefusesInsteadOfHanging) {
    const auto object = [](int members) {
        std::string text = "{";
        for (int i = 0; i < members; ++i)
            text += (i ? ",\"" : "\"") + std::to_string(i) + "\":[1,2]";
        return text + "}";
    };
    EXPECT_EQ(problemOf(object(2000)), "");
    EXPECT_THAT(problemOf(object(20001)), testing::HasSubstr("20000 members"));
}

TEST(GltfJson, GivenValuesOfAnyType_NeverThrows) {
    const ktJson json = {{"n", 3}, {"f", 2.0}, {"h", 2.5}, {"m", -1}, {"s", "x"}, {"l", {1, 2, 3}}, {"t", true}};
    EXPECT_EQ(ktJsonWhole(json, "n"), 3u);
    EXPECT_EQ(ktJsonWhole(json, "f"), 2u);
    for (const char* key : {"h", "m", "s", "l", "t", "absent"})
        EXPECT_FALSE(ktJsonWhole(json, key)) << key;
    EXPECT_EQ(ktJsonText(json, "n"), "");
    EXPECT_EQ(ktJsonNumber(json, "s", 7.0), 7.0);
    EXPECT_TRUE(ktJsonBool(json, "n", true));
    EXPECT_EQ(ktJsonCount(json, "s"), 0u);
    EXPECT_EQ(ktJsonElement(json, "l", 3), nullptr);
    EXPECT_EQ(ktJsonMember(json["l"], "n"), nullptr);
    double three[3];
    EXPECT_TRUE(ktJsonNumbers(json, "l", 3, three));
    EXPECT_FALSE(ktJsonNumbers(json, "l", 4, three));
}

TEST(GltfJson, GivenFloat_WritesShortestNumberThatRoundTrips) {
    EXPECT_EQ(ktJson(ktJsonFromFloat(0.05f)).dump(), "0.05");
    for (const float value : {0.1f, 1.0f / 3.0f, 3.4e38f, 1e-45f, -0.0f, 123456.789f})
        EXPECT_EQ(static_cast<float>(ktJsonFromFloat(value)), value);
}
