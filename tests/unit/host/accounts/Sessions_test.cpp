// Sessions: tokens, their end, how many there may be.
#include "host/accounts/Sessions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace {

using namespace bmhost;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Field;
using testing::MatchesRegex;

class SessionsTest : public testing::Test {
protected:
    std::string TokenOf(const std::string& account) { return m_sessions.Open(account, "192.0.2.1").value().m_token; }

    std::chrono::steady_clock::time_point m_now{1h};
    WallTime m_wall{1'700'000'000'000ms};
    Sessions m_sessions{{30min, 4, 3}, {[this] { return m_now; }, [this] { return m_wall; }}};
};

TEST_F(SessionsTest, AreKnownByTheirTokens) {
    const auto anna = m_sessions.Open("anna", "192.0.2.1");
    const auto bob = m_sessions.Open("bob", "192.0.2.2");
    ASSERT_TRUE(anna && bob);
    const auto used = m_sessions.Use(bob->m_token);
    ASSERT_TRUE(used);
    EXPECT_EQ("bob", used->m_account);
    EXPECT_EQ("192.0.2.2", used->m_address);
    EXPECT_EQ(m_wall, used->m_created);
    EXPECT_EQ("anna", m_sessions.Use(anna->m_token).value().m_account);
}

TEST_F(SessionsTest, NoOtherTextIsAToken) {
    const std::string token = TokenOf("anna");
    for (const std::string& text :
         {std::string(), token.substr(1), token + "A", token.substr(0, 42) + "!", std::string("1")})
        EXPECT_FALSE(m_sessions.Use(text)) << text;
    EXPECT_TRUE(m_sessions.Use(token));
}

TEST(SessionsToken, Has256RandomBits) {
    Sessions sessions({30min, 1000, 1000}, {});
    std::set<std::string> tokens;
    std::string unlike(43, '\0');
    std::string first;
    for (int i = 0; i < 200; ++i) {
        const std::string token = sessions.Open("anna", "192.0.2.1").value().m_token;
        EXPECT_THAT(token, MatchesRegex("[A-Za-z0-9_-]{43}"));
        if (first.empty()) first = token;
        for (std::size_t k = 0; k < token.size(); ++k)
            unlike[k] = static_cast<char>(unlike[k] | (token[k] ^ first[k]));
        tokens.insert(token);
    }
    EXPECT_EQ(200U, tokens.size());
    // Each letter takes part in it, the last one with the four bits that are left for it.
    EXPECT_EQ(std::string::npos, unlike.find('\0'));
}

TEST_F(SessionsTest, EndWhenNobodyUsesThem) {
    const std::string idle = TokenOf("anna");
    const std::string used = TokenOf("anna");
    m_now += 29min;
    EXPECT_TRUE(m_sessions.Use(used));
    m_now += 1min;
    EXPECT_FALSE(m_sessions.Use(idle));
    m_now += 29min - 1ms;
    EXPECT_TRUE(m_sessions.Use(used));
    m_now += 30min;
    EXPECT_FALSE(m_sessions.Use(used));
    EXPECT_TRUE(m_sessions.List().empty());
}

TEST_F(SessionsTest, LookingAtThemIsNoUse) {
    const auto opened = m_sessions.Open("anna", "192.0.2.1");
    m_now += 29min;
    EXPECT_EQ(1U, m_sessions.List().size());
    EXPECT_TRUE(m_sessions.Find(opened->m_session.m_id));
    m_now += 1min;
    EXPECT_FALSE(m_sessions.Use(opened->m_token));
    EXPECT_FALSE(m_sessions.Find(opened->m_session.m_id));
    EXPECT_FALSE(m_sessions.Close(opened->m_session.m_id));
}

TEST_F(SessionsTest, AreRefusedWhenThereAreTooMany) {
    std::vector<std::string> tokens = {TokenOf("anna"), TokenOf("anna"), TokenOf("anna")};
    EXPECT_FALSE(m_sessions.Open("anna", "192.0.2.1"));
    tokens.push_back(TokenOf("bob"));
    EXPECT_FALSE(m_sessions.Open("carl", "192.0.2.1"));
    for (const std::string& token : tokens)
        EXPECT_TRUE(m_sessions.Use(token));
    EXPECT_TRUE(m_sessions.Close(1));
    EXPECT_TRUE(m_sessions.Open("carl", "192.0.2.1"));
}

TEST_F(SessionsTest, IdleOnesMakeRoomForOthers) {
    for (int i = 0; i < 3; ++i)
        TokenOf("anna");
    m_now += 30min;
    EXPECT_TRUE(m_sessions.Open("anna", "192.0.2.1"));
}

TEST_F(SessionsTest, ClosedOnesAreWorthNothingAndTheirIdIsNeverUsedAgain) {
    const auto first = m_sessions.Open("anna", "192.0.2.1");
    EXPECT_TRUE(m_sessions.Close(first->m_session.m_id));
    EXPECT_FALSE(m_sessions.Use(first->m_token));
    EXPECT_FALSE(m_sessions.Close(first->m_session.m_id));
    EXPECT_NE(first->m_session.m_id, m_sessions.Open("anna", "192.0.2.1")->m_session.m_id);
}

TEST_F(SessionsTest, OfAnAccountEndTogether) {
    const std::string bob = TokenOf("bob");
    const std::string one = TokenOf("anna");
    const std::string two = TokenOf("anna");
    m_sessions.CloseAllOf("anna");
    EXPECT_FALSE(m_sessions.Use(one));
    EXPECT_FALSE(m_sessions.Use(two));
    EXPECT_TRUE(m_sessions.Use(bob));
    EXPECT_THAT(m_sessions.List(), ElementsAre(Field(&WebSession::m_account, "bob")));
}

} // namespace
