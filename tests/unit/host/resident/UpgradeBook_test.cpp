// The firmware upgrades of a blade, and their history.
#include "host/resident/UpgradeBook.h"

#include "common/veldo_common_protocol.h"
#include "host/HostParams.h"
#include "host/TestFolder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

using namespace BM_ADAPTOR;
using namespace bmhost;

class UpgradeBookTest : public testing::Test {
protected:
    static CBMIParams Write(int bay, const std::string& file) {
        return Row(Int(BMI_FW_UPDATE_TARGET, UPGRADETARGET_MODULE), Int(BMI_FW_UPDATE_BAY, bay),
                   Text(BMI_FW_UPDATE_FILE, file));
    }
    static CBMIParams Event(int state) {
        return Row(Int(BMI_FW_UPDATE_TARGET, UPGRADETARGET_MODULE), Int(BMI_FW_UPDATE_BAY, 3),
                   Int(BMI_FW_UPDATE_STATE, state));
    }
    const std::vector<UpgradeFacts>& Upgrades() {
        m_now = m_picture.Now();
        return m_now->m_upgrades;
    }
    std::string File(const std::string& name) const { return m_folder.Path() + "/" + name; }

    TestFolder m_folder;
    NewsRing m_news;
    PictureKeeper m_picture{m_news};
    std::shared_ptr<const Picture> m_now;
};

TEST_F(UpgradeBookTest, NoneBeforeTheFirst) {
    const UpgradeBook book(m_picture, m_folder.Path());
    EXPECT_TRUE(Upgrades().empty());
    EXPECT_FALSE(book.IsUnderWay());
}

TEST_F(UpgradeBookTest, OneIsUnderWayUntilTheAdaptorTellsItsEnd) {
    UpgradeBook book(m_picture, m_folder.Path());
    m_picture.Change({}, [](Picture& picture) {
        picture.m_inventory.m_modules = {Row(Int(BMI_HW_AMC_BAY, 3), Text(BMI_HW_AMC_FW_VERSION, "2.0"))};
        return true;
    });
    book.Begin(Write(3, "/image"), {"/image", "new.bin", "abc"}, "uid 0, process 5");
    book.Began(true);
    ASSERT_EQ(1U, Upgrades().size());
    EXPECT_TRUE(book.IsUnderWay());
    EXPECT_EQ("new.bin", Upgrades()[0].m_file);
    EXPECT_EQ("abc", Upgrades()[0].m_sha256);
    EXPECT_EQ("2.0", Upgrades()[0].m_versionBefore);
    book.Told(Event(UPGRADE_REQUESTED));
    EXPECT_TRUE(book.IsUnderWay());
    book.Told(Event(UPGRADE_DONE));
    EXPECT_FALSE(book.IsUnderWay());
    EXPECT_EQ(UPGRADE_DONE, Upgrades()[0].m_state);
    m_picture.Change({}, [](Picture& picture) {
        picture.m_inventory.m_modules = {Row(Int(BMI_HW_AMC_BAY, 3), Text(BMI_HW_AMC_FW_VERSION, "2.1"))};
        return true;
    });
    book.Inventoried();
    EXPECT_EQ("2.1", Upgrades()[0].m_versionAfter);
}

TEST_F(UpgradeBookTest, OneThatTheAdaptorRefusesIsNone) {
    UpgradeBook book(m_picture, m_folder.Path());
    book.Begin(Write(3, "/image"), {}, "");
    book.Began(true);
    book.Begin(Write(4, "/other"), {}, "");
    book.Told(Event(UPGRADE_FAILED)); // of the first
    book.Began(false);
    ASSERT_EQ(1U, Upgrades().size());
    EXPECT_EQ(3, Upgrades()[0].m_bay);
    EXPECT_EQ(UPGRADE_FAILED, Upgrades()[0].m_state);
}

TEST_F(UpgradeBookTest, AnEndThatIsToldBeforeTheCallReturnsIsKept) {
    UpgradeBook book(m_picture, m_folder.Path());
    book.Begin(Write(3, "/image"), {}, "");
    book.Told(Event(UPGRADE_DONE));
    book.Began(true);
    ASSERT_EQ(1U, Upgrades().size());
    EXPECT_EQ(UPGRADE_DONE, Upgrades()[0].m_state);
    EXPECT_FALSE(book.IsUnderWay());
}

TEST_F(UpgradeBookTest, AnEndOfOneThatIsNotInTheBookIsReturnedAsTheEventTellsIt) {
    UpgradeBook book(m_picture, m_folder.Path());
    EXPECT_FALSE(book.Told(Event(UPGRADE_REQUESTED)));
    const auto ended = book.Told(Event(UPGRADE_FAILED));
    ASSERT_TRUE(ended);
    EXPECT_EQ(3, ended->m_bay);
    EXPECT_EQ(UPGRADETARGET_MODULE, ended->m_target);
    EXPECT_EQ(UPGRADE_FAILED, ended->m_state);
    EXPECT_TRUE(Upgrades().empty());
}

TEST_F(UpgradeBookTest, TheNextHostHasTheHistoryAndNothingUnderWay) {
    {
        UpgradeBook book(m_picture, m_folder.Path());
        book.Begin(Write(3, "/first"), {}, "uid 0, process 5");
        book.Began(true);
        book.Told(Event(UPGRADE_DONE));
        book.Begin(Write(4, "/second"), {}, "");
        book.Began(true);
    }
    NewsRing news;
    PictureKeeper picture(news);
    const UpgradeBook book(picture, m_folder.Path());
    const auto now = picture.Now();
    ASSERT_EQ(2U, now->m_upgrades.size());
    EXPECT_EQ("/first", now->m_upgrades[0].m_file);
    EXPECT_EQ(UPGRADE_DONE, now->m_upgrades[0].m_state);
    EXPECT_EQ("uid 0, process 5", now->m_upgrades[0].m_asker);
    EXPECT_EQ("/second", now->m_upgrades[1].m_file);
    EXPECT_FALSE(book.IsUnderWay());
}

TEST_F(UpgradeBookTest, KeepsAHundred) {
    UpgradeBook book(m_picture, m_folder.Path());
    for (int i = 0; i < 105; ++i) {
        book.Begin(Write(3, std::to_string(i)), {}, "");
        book.Began(true);
        book.Told(Event(UPGRADE_DONE));
    }
    ASSERT_EQ(UpgradeBook::Most, Upgrades().size());
    EXPECT_EQ("5", Upgrades().front().m_file);
}

TEST_F(UpgradeBookTest, AnImageGoesWithItsUpgradeAndThoseOfADeadHostAtTheBeginning) {
    std::filesystem::create_directories(File("firmware"));
    std::ofstream(File("firmware/left.image")) << "x";
    UpgradeBook book(m_picture, m_folder.Path());
    EXPECT_FALSE(std::filesystem::exists(File("firmware/left.image")));
    std::ofstream(File("firmware/one.image")) << "x";
    std::ofstream(File("firmware/next.image")) << "x";
    book.Begin(Write(3, File("firmware/one.image")), {File("firmware/one.image"), "a.bin", "abc"}, "");
    book.Began(true);
    EXPECT_TRUE(std::filesystem::exists(File("firmware/one.image")));
    book.Told(Event(UPGRADE_FAILED));
    EXPECT_FALSE(std::filesystem::exists(File("firmware/one.image")));
    EXPECT_TRUE(std::filesystem::exists(File("firmware/next.image"))) << "another client's";
    std::ofstream(File("mine")) << "x";
    book.Begin(Write(3, File("mine")), {}, "");
    book.Began(true);
    book.Told(Event(UPGRADE_DONE));
    EXPECT_TRUE(std::filesystem::exists(File("mine"))) << "of a raw write";
}

} // namespace
