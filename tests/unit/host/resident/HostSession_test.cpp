// The adaptor as the resident host's lanes use it.
#include "host/resident/HostSession.h"

#include "host/TestFolder.h"
#include "host/resident/FakeAdaptor.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace BM_ADAPTOR;
using namespace bmhost;

class HostSessionTest : public testing::Test {
protected:
    int Upgrade() {
        HostSession session(
            m_adaptor, [](Operation) { return 77; }, m_book, {}, "uid 7, process 9");
        CBMIKeys keys;
        auto values = ::Row(Int(BMI_FW_UPDATE_BAY, 3), Text(BMI_FW_UPDATE_FILE, "/image"));
        return session.WriteRow(BMI_GROUP_FIRMWARE_UPDATE, keys, values);
    }

    TestFolder m_folder;
    NewsRing m_news;
    PictureKeeper m_picture{m_news};
    UpgradeBook m_book{m_picture, m_folder.Path()};
    FakeAdaptor m_adaptor;
};

TEST_F(HostSessionTest, AnUpgradeStandsInThePictureWithWhoAsked) {
    EXPECT_EQ(1, Upgrade());
    const auto picture = m_picture.Now();
    ASSERT_EQ(1U, picture->m_upgrades.size());
    EXPECT_EQ("uid 7, process 9", picture->m_upgrades[0].m_asker);
}

TEST_F(HostSessionTest, ARefusedOneDoesNot) {
    m_adaptor.m_write = [](unsigned) { return 0; };
    EXPECT_EQ(0, Upgrade());
    EXPECT_TRUE(m_picture.Now()->m_upgrades.empty());
    m_adaptor.m_write = [](unsigned) -> int { throw std::runtime_error("x"); };
    EXPECT_THROW(Upgrade(), std::runtime_error);
    EXPECT_TRUE(m_picture.Now()->m_upgrades.empty());
}

TEST_F(HostSessionTest, LifecycleCallsAreTheHosts) {
    HostSession session(
        m_adaptor, [](Operation) { return 77; }, m_book, {}, "");
    EXPECT_EQ(77, session.Lifecycle(Operation::Start));
    EXPECT_EQ("", m_adaptor.Made());
    int result = 0;
    EXPECT_EQ(1, session.Table(BMI_GROUP_HARDWARE_BOARD, result)->GetSize());
    EXPECT_FALSE(session.TakeEvent(std::chrono::hours(1)));
}

} // namespace
