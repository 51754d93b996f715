// Shelf files: what they say, and what is wrong with them.
#include "sim/shelf/ShelfFile.h"

#include "sim/base/Error.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace bladesim;
using testing::HasSubstr;

namespace {

class ShelfFileTest : public testing::Test {
protected:
    void TearDown() override { std::filesystem::remove(m_file); }

    std::vector<ShelfPlace> Read(const std::string& blades) const {
        std::ofstream(m_file) << R"({"blades":[)" + blades + "]}";
        return ReadShelfFile(m_file);
    }

    std::string ErrorOf(const std::string& blades) const {
        try {
            Read(blades);
        } catch (const BladeError& error) {
            return error.what();
        }
        return "no error";
    }

    std::string m_folder = testing::TempDir();
    std::string m_file = m_folder + "/shelf-" + std::to_string(::getpid()) + ".json";
};

} // namespace

TEST_F(ShelfFileTest, SaysWhichBladeIsInWhichSlot) {
    const auto places = Read(R"({"name":"b","slot":9,"blade":"full"},{"name":"a","slot":2,"blade":"own.json"})");
    ASSERT_EQ(places.size(), 2U);
    EXPECT_EQ(places[0].m_name, "a");
    EXPECT_EQ(places[0].m_slot, 2U);
    EXPECT_EQ(std::filesystem::path(places[0].m_blade).lexically_normal(),
              std::filesystem::path(m_folder + "/own.json").lexically_normal());
    EXPECT_EQ(places[1].m_blade, "full");
}

TEST_F(ShelfFileTest, RefusesWhatIsNoHostName) {
    for (const char* const name : {"", "Blade", "a b", "a.b", "-a", "a-", "12", "../a"})
        EXPECT_THAT(ErrorOf(R"({"name":")" + std::string(name) + R"(","slot":1,"blade":"full"})"),
                    HasSubstr("blades[0].name: expected a host name"));
    EXPECT_THAT(ErrorOf(R"({"name":"shelf","slot":1,"blade":"full"})"), HasSubstr("is the name of another host"));
}

TEST_F(ShelfFileTest, RefusesNamesAndSlotsThatAreTaken) {
    const std::string first = R"({"name":"a","slot":1,"blade":"full"},)";
    EXPECT_THAT(ErrorOf(first + R"({"name":"a","slot":2,"blade":"full"})"), HasSubstr("blades[1].name: a is a blade"));
    EXPECT_THAT(ErrorOf(first + R"({"name":"b","slot":1,"blade":"full"})"), HasSubstr("blades[1].slot: a is in this"));
}

TEST_F(ShelfFileTest, RefusesSlotsThatNoShelfHasAndUnknownKeys) {
    EXPECT_THAT(ErrorOf(R"({"name":"a","slot":15,"blade":"full"})"), HasSubstr("expected a number from 1 to 14"));
    EXPECT_THAT(ErrorOf(R"({"name":"a","slot":1,"blade":"full","kind":1})"), HasSubstr("blades[0].kind"));
    EXPECT_THAT(ErrorOf(""), HasSubstr("expected one blade at least"));
}
