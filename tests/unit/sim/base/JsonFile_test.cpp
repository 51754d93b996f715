// Blade files that are no good JSON: each is refused with its line, none does any harm.
#include "sim/blade/BladeFileTest.h"

#include "sim/base/JsonFile.h"

using namespace BLADESIM;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class BladeFileJson : public BLADE_FILE_TEST {};

struct BAD_TEXT {
    std::string m_Text;
    const char* m_Start; ///< what follows the file's name
    const char* m_Reason;
};

class BladeFileBadJson : public BLADE_FILE_TEST, public testing::WithParamInterface<BAD_TEXT> {};

std::string Repeated(const std::string& a_Text, size_t a_Times) {
    std::string l_All;
    for (size_t l_Count = 0; l_Count < a_Times; ++l_Count)
        l_All += a_Text;
    return l_All;
}

} // namespace

TEST_F(BladeFileJson, SaysThatAFileCannotBeRead) {
    try {
        ReadBladeFile("/nowhere/blade.json");
        FAIL() << "no error";
    } catch (const BLADE_ERROR& l_Error) {
        EXPECT_STREQ(l_Error.what(), "/nowhere/blade.json: cannot be read: No such file or directory");
    }
}

TEST_F(BladeFileJson, SaysThatAFolderIsNoFile) {
    try {
        ReadBladeFile("/");
        FAIL() << "no error";
    } catch (const BLADE_ERROR& l_Error) {
        EXPECT_STREQ(l_Error.what(), "/: there is nothing in it to read");
    }
}

TEST_F(BladeFileJson, ReadsNoEndlessFile) {
    try {
        ReadBladeFile("/dev/zero");
        FAIL() << "no error";
    } catch (const BLADE_ERROR& l_Error) {
        EXPECT_STREQ(l_Error.what(), "/dev/zero: is larger than 1 MiB, which no blade file is");
    }
}

TEST_F(BladeFileJson, GivesTheLineOfEachKeyAndItem) {
    std::ofstream(m_File) << "\n{\n\"a\": 1\n,\"b\":\n[ 7,\n8\n,\n{ \"c\":\n\"x\" }\n]}\n";
    const auto l_Lines = ReadJsonFile(m_File).m_Lines;
    const std::map<std::string, unsigned> l_Wanted = {{"", 2},     {"a", 3},    {"b", 4},     {"b[0]", 5},
                                                      {"b[1]", 6}, {"b[2]", 8}, {"b[2].c", 8}};
    EXPECT_EQ(l_Lines, l_Wanted);
}

TEST_F(BladeFileJson, IsRefusedWhereverItIsCutShort) {
    const std::string l_Text = SampleJson().dump(1);
    for (size_t l_Length = 0; l_Length < l_Text.size(); l_Length += 7)
        EXPECT_THAT(ErrorOf(l_Text.substr(0, l_Length)), StartsWith(m_File + ":")) << l_Length;
}

TEST_F(BladeFileJson, IsReadOrRefusedWhateverByteOfItIsSpoilt) {
    const std::string l_Text = SampleJson().dump(1);
    for (size_t l_Place = 0; l_Place < l_Text.size(); l_Place += 7) {
        for (const char l_Byte : {'\0', '"', '[', '}', '\xff', '9'}) {
            std::string l_Spoilt = l_Text;
            l_Spoilt[l_Place] = l_Byte;
            EXPECT_THAT(ErrorOf(l_Spoilt), testing::AnyOf("no error", StartsWith(m_File + ":")));
        }
    }
}

TEST_P(BladeFileBadJson, IsRefusedWithTheLine) {
    EXPECT_THAT(ErrorOf(GetParam().m_Text),
                AllOf(StartsWith(m_File + GetParam().m_Start), HasSubstr(GetParam().m_Reason)));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, BladeFileBadJson,
    testing::Values(BAD_TEXT{"", ": ", "nothing in it to read"},
                    BAD_TEXT{"{\n  \"controller\": {},\n  \"frus\": [,]\n}\n", ":3: ", "unexpected ','"},
                    BAD_TEXT{"{\n\"controller\": NaN }", ":2: ", "invalid literal"},
                    BAD_TEXT{"{\n\"controller\": 1e999 }", ":2: ", "number overflow"},
                    BAD_TEXT{"{\n\n\"controller\": \"abc", ":3: ", "missing closing quote"},
                    BAD_TEXT{"{\n\"controller\": \"\xc3\x28\" }", ":2: ", "ill-formed UTF-8"},
                    BAD_TEXT{"[\n1 ]", ":1: ", "expected an object"},
                    BAD_TEXT{"5", ":1: ", "expected an object {…}, found 5"},
                    BAD_TEXT{"{} {}", ":1: ", "expected end of input"},
                    BAD_TEXT{"{ \"frus\": 1,\n \"x\": { \"frus\": 2 },\n\"frus\": 3 }", ":3: frus: ", "stands twice"},
                    BAD_TEXT{"{ \"\": 1, \"controller\": 5 }", ":1: controller: ", "expected an object"},
                    BAD_TEXT{Repeated("[", 500000), ":1: ", "too deep"},
                    BAD_TEXT{Repeated("{\"a\":\n", 100000), ":33: ", "too deep"},
                    BAD_TEXT{Repeated(" ", 1024 * 1024) + "{}", ": ", "is larger than 1 MiB"},
                    BAD_TEXT{"{\"" + std::string(1000000, 'x'), ":1: ", "missing closing quote"}));
