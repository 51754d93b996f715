// How failed logins slow down.
#include "host/accounts/LoginBrake.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace bmhost;
using namespace std::chrono_literals;
using std::chrono::milliseconds;

/// A brake on a clock that the test moves.
class LoginBrakeTest : public testing::Test {
protected:
    int64_t Try(const std::string& account, const std::string& address) {
        return m_brake.Try(account, address).count();
    }
    // Milliseconds; each try waits as long as it is told.
    std::vector<int64_t> Waits(int tries, const std::string& account, const std::string& address) {
        std::vector<int64_t> waits;
        for (int i = 0; i < tries; ++i) {
            waits.push_back(Try(account, address));
            m_now += milliseconds(waits.back());
            if (waits.back() == 0) continue;
            EXPECT_EQ(0, Try(account, address));
        }
        return waits;
    }

    LoginBrake::Time m_now{1h};
    LoginBrake m_brake{[this] { return m_now; }};
};

TEST_F(LoginBrakeTest, FiveFailuresAreFreeThenTheDelayDoubles) {
    EXPECT_EQ((std::vector<int64_t>{0, 0, 0, 0, 0, 0, 1000, 2000, 4000, 8000, 16000, 32000, 64000}),
              Waits(13, "anna", "192.0.2.1"));
}

TEST_F(LoginBrakeTest, AccountWaitsHalfAMinuteAtMost) {
    std::vector<int64_t> waits;
    for (int i = 0; i < 14; ++i)
        waits.push_back(Waits(1, "anna", "192.0.2." + std::to_string(i)).front());
    EXPECT_EQ((std::vector<int64_t>{0, 0, 0, 0, 0, 0, 1000, 2000, 4000, 8000, 16000, 30000, 30000, 30000}), waits);
}

TEST_F(LoginBrakeTest, AddressWaitsFiveMinutesAtMost) {
    std::vector<int64_t> waits;
    for (int i = 0; i < 17; ++i)
        waits.push_back(Waits(1, "account" + std::to_string(i), "192.0.2.1").front());
    EXPECT_EQ((std::vector<int64_t>{0, 0, 0, 0, 0, 0, 1000, 2000, 4000, 8000, 16000, 32000, 64000, 128000, 256000,
                                    300000, 300000}),
              waits);
}

TEST_F(LoginBrakeTest, AccountIsBrakedWhereverTheTriesComeFrom) {
    for (int i = 1; i <= 6; ++i)
        EXPECT_EQ(0, Try("anna", "192.0.2." + std::to_string(i)));
    EXPECT_EQ(1000, Try("anna", "192.0.2.7"));
    EXPECT_EQ(0, Try("bob", "192.0.2.7"));
}

TEST_F(LoginBrakeTest, NetworkOfIpv6IsOneAddressAndAMappedOneIsItsIpv4Address) {
    for (int i = 1; i <= 6; ++i)
        EXPECT_EQ(0, Try("account" + std::to_string(i), "2001:db8:0:1::" + std::to_string(i)));
    EXPECT_EQ(1000, Try("anna", "2001:db8:0:1:ffff::1"));
    EXPECT_EQ(0, Try("anna", "2001:db8:0:2::1"));
    for (int i = 1; i <= 6; ++i)
        EXPECT_EQ(0, Try("other" + std::to_string(i), "::ffff:192.0.2.1"));
    EXPECT_EQ(1000, Try("bob", "192.0.2.1"));
    EXPECT_EQ(0, Try("bob", "::ffff:192.0.2.2"));
}

TEST_F(LoginBrakeTest, RefusedTryCountsForNothing) {
    Waits(6, "anna", "192.0.2.1");
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(1000, Try("anna", "192.0.2.1"));
    m_now += 999ms;
    EXPECT_EQ(1, Try("anna", "192.0.2.1"));
    m_now += 1ms;
    EXPECT_EQ(0, Try("anna", "192.0.2.1"));
}

// A millisecond that is not over would refuse a client that waits as long as it was told.
TEST_F(LoginBrakeTest, WaitIsRoundedUp) {
    Waits(6, "anna", "192.0.2.1");
    m_now += 500us;
    EXPECT_EQ(1000, Try("anna", "192.0.2.1"));
}

TEST_F(LoginBrakeTest, TriesUnderWayCountAsFailedUntilTheySucceed) {
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(0, Try("anna", "192.0.2.1"));
    EXPECT_EQ(1000, Try("anna", "192.0.2.1"));
    m_brake.Succeeded("anna", "192.0.2.1");
    EXPECT_EQ(0, Try("anna", "192.0.2.1"));
}

TEST_F(LoginBrakeTest, OwnSuccessDoesNotClearAnAddressThatTriesOthers) {
    for (int i = 0; i < 6; ++i)
        Try("anna", "192.0.2.1");
    m_now += 1s;
    EXPECT_EQ(0, Try("mallory", "192.0.2.1"));
    m_brake.Succeeded("mallory", "192.0.2.1");
    EXPECT_EQ(1000, Try("bob", "192.0.2.1"));
}

TEST_F(LoginBrakeTest, SuccessesLeaveNothing) {
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(0, Try("anna", "192.0.2.1"));
        m_brake.Succeeded("anna", "192.0.2.1");
    }
    EXPECT_EQ(0U, m_brake.Size());
}

TEST_F(LoginBrakeTest, ForgetsAfterAQuarterOfAnHour) {
    Waits(10, "anna", "192.0.2.1");
    m_now += 15min - 1ms;
    EXPECT_EQ(0, Try("anna", "192.0.2.1"));
    EXPECT_GT(Try("anna", "192.0.2.1"), 0);
    m_now += 15min;
    EXPECT_EQ(std::vector<int64_t>(6, 0), Waits(6, "anna", "192.0.2.1"));
}

TEST_F(LoginBrakeTest, RemembersOnlySoManyAndTheWorstOfThem) {
    for (int i = 0; i < 8; ++i)
        Waits(1, "anna", "192.0.2.1");
    for (int i = 0; i < 5'000; ++i)
        Try("name" + std::to_string(i), "10." + std::to_string(i / 256) + "." + std::to_string(i % 256) + ".1");
    EXPECT_EQ(8192U, m_brake.Size());
    EXPECT_EQ(4000, Try("anna", "192.0.2.2"));
    EXPECT_EQ(4000, Try("bob", "192.0.2.1"));
}

TEST_F(LoginBrakeTest, NamesThatNoAccountCanHaveAreOne) {
    for (int i = 0; i < 6; ++i)
        Try("no name " + std::string(10'000, static_cast<char>('a' + i)), "192.0.2." + std::to_string(i));
    EXPECT_EQ(1000, Try("also none!", "192.0.2.9"));
    EXPECT_EQ(7U, m_brake.Size());
}

TEST_F(LoginBrakeTest, ThreadsTogetherGetAsManyTriesAsOne) {
    std::atomic<int> admitted = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int k = 0; k < 100; ++k)
                admitted += Try("anna", "192.0.2.1") == 0 ? 1 : 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(6, admitted);
}

} // namespace
