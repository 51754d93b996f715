// Blade files with bad JSON: each is refused with its line, and none does harm.
#include "sim/blade/BladeFileTest.h"

#include "sim/base/JsonFile.h"

using namespace bladesim;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class BladeFileJson : public BladeFileTest {};

struct BadText {
    std::string m_text;
    const char* m_start; ///< what follows the file's name
    const char* m_reason;
};

class BladeFileBadJson : public BladeFileTest, public testing::WithParamInterface<BadText> {};

std::string Repeated(const std::string& text, size_t times) {
    std::string all;
    for (size_t count = 0; count < times; ++count)
        all += text;
    return all;
}

} // namespace

TEST_F(BladeFileJson, SaysThatAFileCannotBeRead) {
    try {
        ReadBladeFile("/nowhere/blade.json");
        FAIL() << "no error";
    } catch (const BladeError& error) {
        EXPECT_STREQ(error.what(), "/nowhere/blade.json: cannot be read: No such file or directory");
    }
}

TEST_F(BladeFileJson, SaysThatAFolderIsNoFile) {
    try {
        ReadBladeFile("/");
        FAIL() << "no error";
    } catch (const BladeError& error) {
        EXPECT_STREQ(error.what(), "/: is empty or cannot be read");
    }
}

TEST_F(BladeFileJson, ReadsNoEndlessFile) {
    try {
        ReadBladeFile("/dev/zero");
        FAIL() << "no error";
    } catch (const BladeError& error) {
        EXPECT_STREQ(error.what(), "/dev/zero: is larger than 1 MiB");
    }
}

TEST_F(BladeFileJson, GivesTheLineOfEachKeyAndItem) {
    std::ofstream(m_file) << "\n{\n\"a\": 1\n,\"b\":\n[ 7,\n8\n,\n{ \"c\":\n\"x\" }\n]}\n";
    const auto lines = ReadJsonFile(m_file).m_lines;
    const std::map<std::string, unsigned> wanted = {{"", 2},     {"a", 3},    {"b", 4},     {"b[0]", 5},
                                                    {"b[1]", 6}, {"b[2]", 8}, {"b[2].c", 8}};
    EXPECT_EQ(lines, wanted);
}

TEST_F(BladeFileJson, IsRefusedWhereverItIsCutShort) {
    const std::string text = SampleJson().dump(1);
    for (size_t length = 0; length < text.size(); length += 7)
        EXPECT_THAT(ErrorOf(text.substr(0, length)), StartsWith(m_file + ":")) << length;
}

TEST_F(BladeFileJson, IsReadOrRefusedWhateverByteOfItIsSpoilt) {
    const std::string text = SampleJson().dump(1);
    for (size_t place = 0; place < text.size(); place += 7) {
        for (const char byte : {'\0', '"', '[', '}', '\xff', '9'}) {
            std::string spoilt = text;
            spoilt[place] = byte;
            EXPECT_THAT(ErrorOf(spoilt), testing::AnyOf("no error", StartsWith(m_file + ":")));
        }
    }
}

TEST_P(BladeFileBadJson, IsRefusedWithTheLine) {
    EXPECT_THAT(ErrorOf(GetParam().m_text),
                AllOf(StartsWith(m_file + GetParam().m_start), HasSubstr(GetParam().m_reason)));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, BladeFileBadJson,
    testing::Values(BadText{"", ": ", "is empty or cannot be read"},
                    BadText{"{\n  \"controller\": {},\n  \"frus\": [,]\n}\n", ":3: ", "unexpected ','"},
                    BadText{"{\n\"controller\": NaN }", ":2: ", "invalid literal"},
                    BadText{"{\n\"controller\": 1e999 }", ":2: ", "number overflow"},
                    BadText{"{\n\n\"controller\": \"abc", ":3: ", "missing closing quote"},
                    BadText{"{\n\"controller\": \"\xc3\x28\" }", ":2: ", "ill-formed UTF-8"},
                    BadText{"[\n1 ]", ":1: ", "expected an object"},
                    BadText{"5", ":1: ", "expected an object {…}, found 5"},
                    BadText{"{} {}", ":1: ", "expected end of input"},
                    BadText{"{ \"frus\": 1,\n \"x\": { \"frus\": 2 },\n\"frus\": 3 }", ":3: frus: ", "appears twice"},
                    BadText{"{ \"\": 1, \"controller\": 5 }", ":1: controller: ", "expected an object"},
                    BadText{Repeated("[", 500000), ":1: ", "too deep"},
                    BadText{Repeated("{\"a\":\n", 100000), ":33: ", "too deep"},
                    BadText{Repeated(" ", 1024 * 1024) + "{}", ": ", "is larger than 1 MiB"},
                    BadText{"{\"" + std::string(1000000, 'x'), ":1: ", "missing closing quote"}));
