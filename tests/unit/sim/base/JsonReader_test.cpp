// A JSON object read key by key: values, defaults, and errors with the line and the whole path of the key.
#include "sim/base/JsonReader.h"

#include "sim/base/Error.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <unistd.h>

using namespace bladesim;
using testing::ElementsAre;
using testing::EndsWith;

namespace {

class JsonReader : public testing::Test {
protected:
    ~JsonReader() override { std::filesystem::remove(m_name); }

    JsonFile Read(const std::string& text) const {
        std::ofstream(m_name, std::ios::binary) << text;
        return ReadJsonFile(m_name);
    }

    /// The error without the file's name: "1: key: reason".
    std::string ErrorOf(const std::string& text, const std::function<void(JsonObject&)>& reading) const {
        const JsonFile file = Read(text);
        try {
            JsonObject object(file);
            reading(object);
        } catch (const BladeError& error) {
            return std::string(error.what()).substr(m_name.size() + 1);
        }
        return "no error";
    }

    std::string m_name = testing::TempDir() + "reader-" + std::to_string(::getpid()) + ".json";
};

} // namespace

TEST_F(JsonReader, GivesTheValueOfEachKind) {
    const JsonFile file = Read(R"({"a": 5, "b": "0x20", "c": "-7", "d": true, "e": "text", "f": ["x", "y"],
                                   "g": {"h": 1}, "i": [{"j": 2}, {"j": 3}]})");
    JsonObject object(file);
    EXPECT_EQ(object.Integer("a", 0, 9), 5);
    EXPECT_EQ(object.Byte("b"), 0x20);
    EXPECT_EQ(object.Integer("c", -7, 0), -7);
    EXPECT_TRUE(object.Boolean("d", false));
    EXPECT_EQ(object.Text("e"), "text");
    EXPECT_THAT(object.Texts("f"), ElementsAre("x", "y"));
    EXPECT_EQ(object.Object("g").Integer("h", 0, 1), 1);
    auto items = object.Objects("i");
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[1].Integer("j", 0, 9), 3);
    EXPECT_TRUE(object.Has("g"));
    EXPECT_TRUE(object.HasList("f"));
    EXPECT_FALSE(object.HasList("g"));
    EXPECT_NO_THROW(object.RejectOthers());
}

TEST_F(JsonReader, GivesTheFallbackOfAKeyThatIsMissing) {
    const JsonFile file = Read("{}");
    JsonObject object(file);
    EXPECT_EQ(object.Integer("a", 0, 9, 4), 4);
    EXPECT_EQ(object.Count("a", 1, 8), 8U);
    EXPECT_TRUE(object.Boolean("a", true));
    EXPECT_FALSE(object.Has("a"));
}

TEST_F(JsonReader, RefusesAKeyThatIsMissing) {
    EXPECT_EQ(ErrorOf("{}", [](JsonObject& object) { object.Text("a"); }), "1: a: is missing");
}

TEST_F(JsonReader, RefusesNumbersBeyondTheirBounds) {
    const auto byte = [](JsonObject& object) { object.Byte("a"); };
    EXPECT_EQ(ErrorOf(R"({"a": 255})", byte), "no error");
    EXPECT_EQ(ErrorOf(R"({"a": 256})", byte), "1: a: expected a number from 0 to 255, found 256");
    EXPECT_EQ(ErrorOf(R"({"a": -1})", byte), "1: a: expected a number from 0 to 255, found -1");
    const auto count = [](JsonObject& object) { object.Count("a", 1, 1); };
    EXPECT_EQ(ErrorOf(R"({"a": 2147483647})", count), "no error");
    EXPECT_EQ(ErrorOf(R"({"a": 0})", count), "1: a: expected a number from 1 to 2147483647, found 0");
    EXPECT_THAT(ErrorOf(R"({"a": 18446744073709551615})", count), EndsWith("found 18446744073709551615"));
}

TEST_F(JsonReader, RefusesTextsThatAreNoNumber) {
    for (const char* text : {"\"\"", "\"0x\"", "\"0x-1\"", "\"1 \"", "\"0xfg\"", "\"five\"", "1.5", "null", "[]"}) {
        EXPECT_EQ(ErrorOf(R"({"a": )" + std::string(text) + "}", [](JsonObject& object) { object.Byte("a"); }),
                  "1: a: expected a number from 0 to 255, found " + std::string(text));
    }
}

TEST_F(JsonReader, RefusesValuesOfAnotherKind) {
    const std::string text = R"({"a": 1})";
    EXPECT_EQ(ErrorOf(text, [](JsonObject& object) { object.Boolean("a", true); }),
              "1: a: expected true or false, found 1");
    EXPECT_EQ(ErrorOf(text, [](JsonObject& object) { object.Text("a"); }), "1: a: expected a text, found 1");
    EXPECT_EQ(ErrorOf(text, [](JsonObject& object) { object.Texts("a"); }), "1: a: expected a list […], found 1");
    EXPECT_EQ(ErrorOf(text, [](JsonObject& object) { object.Object("a"); }), "1: a: expected an object {…}, found 1");
}

TEST_F(JsonReader, NamesTheLineAndTheWholePath) {
    const std::string text = "{\n\"a\": [\n{ \"b\": 1 },\n{ \"b\":\n{ \"c\": 5 } } ],\n\"d\": [ \"x\",\n6 ] }";
    EXPECT_EQ(ErrorOf(text, [](JsonObject& object) { object.Objects("a")[1].Object("b").Text("c"); }),
              "5: a[1].b.c: expected a text, found 5");
    EXPECT_EQ(ErrorOf(text, [](JsonObject& object) { object.Texts("d"); }), "7: d[1]: expected a text, found 6");
}

TEST_F(JsonReader, CutsALongValueInAnError) {
    EXPECT_EQ(ErrorOf("{\"a\": \"" + std::string(100, 'x') + "\"}", [](JsonObject& object) { object.Byte("a"); }),
              "1: a: expected a number from 0 to 255, found \"" + std::string(59, 'x') + "…");
}

TEST_F(JsonReader, RefusesAKeyThatNobodyAskedFor) {
    const auto reading = [](JsonObject& object) {
        object.Byte("a");
        object.RejectOthers();
    };
    EXPECT_EQ(ErrorOf(R"({"a": 1})", reading), "no error");
    EXPECT_EQ(ErrorOf("{\"a\": 1,\n\"aa\": 2}", reading), "2: aa: nothing is known by this name");
}
