// Redfish's events: who reads them, from where on, and until when.
#include "host/web/serve/EventFeed.h"

#include "../ScriptedBlade.h"
#include "host/web/redfish/TestBlades.h"

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using namespace std::chrono_literals;
using testing::HasSubstr;

/// A feed of a mirror that a test tells of things.
class FeedTest : public testing::Test {
protected:
    FeedTest() : m_mirror(m_blade.Place(), {1ms, 1h, 30s, 1ms}), m_feed(m_mirror) {
        m_blade.Show(SmallBlade());
        m_mirror.Renew(30s);
        m_feed.Update();
    }
    static std::string Read(Stream& stream) {
        std::array<char, 7> piece{}; // smaller than anything that is told
        std::string text;
        while (const std::size_t size = stream.Next(piece.data(), piece.size()))
            text.append(piece.data(), size);
        return text;
    }
    void TellTest(const std::string& id) { m_feed.Tell({{{"MessageId", id}}}); }

    ScriptedBlade m_blade;
    BladeMirror m_mirror;
    EventFeed m_feed;
};

TEST_F(FeedTest, AReaderGetsWhatComes) {
    TellTest("before");
    const auto stream = m_feed.Open({"anna", "192.0.2.7", 7}, std::nullopt);
    EXPECT_EQ(Read(*stream), ": here\n\n");
    EXPECT_FALSE(stream->HasEnded());
    TellTest("one");
    TellTest("two");
    const std::string text = Read(*stream);
    EXPECT_THAT(text, testing::StartsWith("id: 2\ndata: {"));
    EXPECT_THAT(text, HasSubstr("\"one\""));
    EXPECT_THAT(text, HasSubstr("\n\nid: 3\ndata: {"));
    EXPECT_THAT(text, testing::Not(HasSubstr("before")));
}

TEST_F(FeedTest, AReaderThatComesBackGetsWhatItMissed) {
    for (const char* const id : {"one", "two", "three"})
        TellTest(id);
    const std::string text = Read(*m_feed.Open({}, 1));
    EXPECT_THAT(text, HasSubstr("\"two\""));
    EXPECT_THAT(text, HasSubstr("\"three\""));
    EXPECT_THAT(text, testing::Not(HasSubstr("\"one\"")));
    EXPECT_EQ(Read(*m_feed.Open({}, 900)), ": here\n\n") << "an id of an earlier door's";
}

TEST_F(FeedTest, AReaderThatIsTooFarBehindIsLetGo) {
    const auto stream = m_feed.Open({}, std::nullopt);
    Read(*stream);
    for (std::size_t i = 0; i <= EventFeed::Most; ++i)
        TellTest(std::to_string(i));
    EXPECT_EQ(Read(*stream), "");
    EXPECT_TRUE(stream->HasEnded());
}

TEST_F(FeedTest, AnOpenStreamIsASubscription) {
    auto first = m_feed.Open({"anna", "192.0.2.7", 7}, std::nullopt);
    const auto second = m_feed.Open({"", "127.0.0.1", {}}, std::nullopt);
    ASSERT_EQ(m_feed.List().size(), 2U);
    EXPECT_EQ(m_feed.List()[0].m_account, "anna");
    EXPECT_EQ(m_feed.List()[0].m_address, "192.0.2.7");
    first.reset();
    ASSERT_EQ(m_feed.List().size(), 1U);
    const std::string id = m_feed.List()[0].m_id;
    EXPECT_FALSE(m_feed.Close("900"));
    Read(*second);
    EXPECT_FALSE(second->HasEnded());
    EXPECT_TRUE(m_feed.Close(id));
    EXPECT_TRUE(second->HasEnded());
    EXPECT_TRUE(m_feed.List().empty());
}

TEST_F(FeedTest, WithASessionItsStreamsEnd) {
    const auto own = m_feed.Open({"anna", "192.0.2.7", 7}, std::nullopt);
    const auto other = m_feed.Open({"anna", "192.0.2.7", 8}, std::nullopt);
    const auto nobodys = m_feed.Open({}, std::nullopt);
    for (Stream* const stream : {own.get(), other.get(), nobodys.get()})
        Read(*stream);
    m_feed.CloseAllOf(7);
    EXPECT_TRUE(own->HasEnded());
    EXPECT_FALSE(other->HasEnded());
    EXPECT_FALSE(nobodys->HasEnded());
}

TEST_F(FeedTest, TellsWhatDiffersBetweenTwoPictures) {
    const auto stream = m_feed.Open({}, std::nullopt);
    Read(*stream);
    Picture picture = SmallBlade();
    picture.m_ports.at(0).m_enabled = !picture.m_ports.at(0).m_enabled;
    m_blade.Show(picture);
    ASSERT_TRUE(m_mirror.Renew(30s));
    const std::string text = Read(*stream);
    EXPECT_THAT(text, HasSubstr("ResourceChanged"));
    EXPECT_THAT(text, HasSubstr("/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/1"));
    EXPECT_EQ(Read(*stream), "");
}

} // namespace
