#include "zorbase/json.h"

#include <gtest/gtest.h>

#include "zorbase/zorexception.h"

namespace {

TEST(JsonText, BytesThatAreNotUtf8NeverThrow) {
    const Json json{{"name", "caf\xE9"}};
    EXPECT_EQ(JsonFromText(JsonToText(json, 0))["name"], "caf\xEF\xBF\xBD");
    EXPECT_EQ(JsonToText(Json{{"a", 1}}, 0), "{\"a\":1}");
    EXPECT_EQ(JsonToText(Json{{"a", 1}}, 2), "{\n  \"a\": 1\n}");
    EXPECT_EQ(JsonToText(Json{{"a", 1}}, 1), "{\n \"a\": 1\n}");
    EXPECT_EQ(JsonToText(Json::array({1}), -1), "[1]");
}

TEST(JsonText, FaultsNameTheirPlace) {
    try {
        JsonFromText("{\n  \"a\": 1,\n  \"b\": \xFF\n}");
        FAIL() << "read";
    } catch (const ZorException& error) {
        EXPECT_EQ(error.GetKind(), ZorException::Kind::Format);
        EXPECT_NE(error.GetMessage().find("line 3"), std::string::npos) << error.GetMessage();
        EXPECT_EQ(error.GetMessage().find('\xFF'), std::string::npos);
    }
    const auto message = [](const std::string& text) -> std::string {
        try {
            JsonFromText(text);
        } catch (const ZorException& error) {
            return error.GetMessage();
        }
        return "read";
    };
    EXPECT_EQ(message("[1,").rfind("The text is not valid JSON: parse error at line 1, column 4: ", 0), 0U)
        << message("[1,");
    EXPECT_EQ(message(std::string(202, '[') + std::string(202, ']')), "The JSON text is nested too deeply.");
    EXPECT_EQ(message(std::string(201, '[') + std::string(201, ']')), "read");
    EXPECT_THROW(JsonFromText(""), ZorException);
    EXPECT_THROW(JsonFromText("1e999"), ZorException);
    EXPECT_THROW(JsonFromText(std::string(1000000, '[')), ZorException);
    EXPECT_THROW(JsonFromText(std::string(5000, '[') + std::string(5000, ']')), ZorException);
    EXPECT_NO_THROW(JsonFromText(std::string(100, '[') + std::string(100, ']')));
}

TEST(JsonRoi, RefusesWhatIsNoRegion) {
    Roi roi;
    ASSERT_TRUE(FromJson(ToJson(Roi(-3, 4, 500, 6)), roi));
    EXPECT_EQ(roi, Roi(-3, 4, 500, 6));
    const Json ends = ToJson(Roi(-2147483647 - 1, 2147483647, 2147483647, 0));
    ASSERT_TRUE(FromJson(ends, roi));
    EXPECT_EQ(ToJson(roi), ends);
    ASSERT_TRUE(FromJson(ToJson(Roi(-3, 4, 500, 6)), roi));
    for (const char* text :
         {R"({"x":2147483648,"y":2,"width":3,"height":4})", R"({"x":1,"y":-2147483649,"width":3,"height":4})",
          R"({"x":1,"y":2,"width":3,"height":-1})", "[1,2,3,4]", "{}", R"({"x":1,"y":2,"width":3})",
          R"({"x":1,"y":2,"width":-3,"height":4})", R"({"x":1.5,"y":2,"width":3,"height":4})",
          R"({"x":"1","y":2,"width":3,"height":4})", R"({"x":true,"y":2,"width":3,"height":4})",
          R"({"x":1,"y":2,"width":4294967297,"height":4})",
          R"({"x":1,"y":18446744073709551615,"width":3,"height":4})"}) {
        EXPECT_FALSE(FromJson(JsonFromText(text), roi)) << text;
    }
    EXPECT_EQ(roi, Roi(-3, 4, 500, 6));
}

TEST(RoiText, ReadsWhatItWrites) {
    Roi roi;
    EXPECT_EQ(ToString(Roi(-1, 2, 30, 40)), "-1, 2, 30, 40");
    ASSERT_TRUE(FromString("1,2,0,0", roi)) << "an empty one";
    ASSERT_TRUE(FromString(" -1,2 , 30,40", roi));
    EXPECT_EQ(roi, Roi(-1, 2, 30, 40));
    for (const char* text : {"", "1,2,3", "1,2,3,4,5", "1,2,-3,4", "1,2,3,-4", "x,2,3,4", "1,,3,4", "1,2,x,4",
                             "1,2,3,x", "1,2,3,99999999999"}) {
        EXPECT_FALSE(FromString(text, roi)) << text;
    }
    EXPECT_EQ(roi, Roi(-1, 2, 30, 40));
}

}  // namespace
