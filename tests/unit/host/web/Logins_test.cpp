// Who gets in: right and wrong passwords, what is remembered of them, and sessions.
#include "host/web/Logins.h"

#include <future>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using namespace std::chrono_literals;

constexpr const char* Here = "192.0.2.7";

/// A password is right when it is the "hash".
struct Counted {
    std::shared_ptr<std::atomic<int>> m_made = std::make_shared<std::atomic<int>>(0);
    PasswordCheck Check() const {
        return PasswordCheck([made = m_made](const std::string& password, const std::string& hash) {
            ++*made;
            return password == hash;
        });
    }
};

AccountFile Accounts(const std::string& hash = "right", Role role = Role::Operator, bool locked = false) {
    return AccountFile({{"anna", role, hash, locked}});
}

Logins::Login LoginOf(Logins& logins, const std::string& name, const std::string& password,
                      const std::string& address = Here) {
    auto login = std::make_shared<std::promise<Logins::Login>>();
    auto future = login->get_future();
    logins.Check({name, password}, address, [login](Logins::Login given) { login->set_value(std::move(given)); });
    if (future.wait_for(30s) != std::future_status::ready) return Refusal(0, "", "no answer");
    return future.get();
}

unsigned StatusOf(const Logins::Login& login) {
    const auto* const refusal = std::get_if<Refusal>(&login);
    return refusal == nullptr ? 200 : refusal->m_status;
}

TEST(BasicCredentials, AreNameAndPassword) {
    const auto given = BasicCredentials("bAsIc YW5uYTpwYXNzOndvcmQ="); // anna:pass:word
    ASSERT_TRUE(given);
    EXPECT_EQ(given->m_name, "anna");
    EXPECT_EQ(given->m_password, "pass:word");
    for (const std::string& wrong :
         {std::string(), std::string("Basic"), std::string("Basic "), std::string("Basic !!!"),
          std::string("Bearer YW5uYTpwYXNz"), std::string("Basic YW5uYQ=="), // anna
          std::string("Basic OnBhc3M="),                                     // :pass
          std::string("Basic YW5uYTpwYXNzOndvcmQ"), std::string("Basic YW5uYTpwYXN=zOndvcmQ"),
          std::string("Basic YW5uYTpwYXNz===="),
          "Basic YW5uYTpw" + std::string(64, 'L') + "-LLL", // once decoded to the -
          "Basic " + std::string(4000, 'A')})
        EXPECT_FALSE(BasicCredentials(wrong)) << wrong;
}

TEST(Logins, ARightPasswordGetsInAWrongOneDoesNot) {
    Logins logins(Accounts(), {}, Counted().Check());
    const auto login = LoginOf(logins, "anna", "right");
    ASSERT_EQ(StatusOf(login), 200U);
    EXPECT_EQ(std::get<Visitor>(login).Text(), "anna (192.0.2.7)");
    EXPECT_EQ(std::get<Visitor>(login).m_role, Role::Operator);
    EXPECT_EQ(StatusOf(LoginOf(logins, "anna", "wrong")), 401U);
    EXPECT_EQ(StatusOf(LoginOf(logins, "nobody", "right")), 401U);
}

TEST(Logins, ARightPasswordIsComparedOnceInAWhileOnly) {
    const Counted counted;
    Logins logins(Accounts(), {}, counted.Check());
    EXPECT_FALSE(logins.Remembered({"anna", "right"}, Here));
    LoginOf(logins, "anna", "right");
    LoginOf(logins, "anna", "right");
    EXPECT_EQ(*counted.m_made, 1);
    ASSERT_TRUE(logins.Remembered({"anna", "right"}, Here));
    EXPECT_FALSE(logins.Remembered({"anna", "wrong"}, Here));
    EXPECT_FALSE(logins.Remembered({"ann", "aright"}, Here));
}

TEST(Logins, WhatIsRememberedEnds) {
    LoginLimits limits;
    limits.m_remembered = 0ms;
    Logins logins(Accounts(), limits, Counted().Check());
    LoginOf(logins, "anna", "right");
    EXPECT_FALSE(logins.Remembered({"anna", "right"}, Here));
}

TEST(Logins, WhoeverTriesTooOftenWaitsWithoutAComparison) {
    const Counted counted;
    Logins logins(Accounts(), {}, counted.Check());
    unsigned status = 401;
    for (int i = 0; i < 20 && status == 401; ++i)
        status = StatusOf(LoginOf(logins, "anna", "wrong"));
    EXPECT_EQ(status, 429U);
    const int made = *counted.m_made;
    const auto login = LoginOf(logins, "anna", "right");
    ASSERT_EQ(StatusOf(login), 429U);
    EXPECT_EQ(std::get<Refusal>(login).m_headers.at(0).first, "Retry-After");
    EXPECT_EQ(*counted.m_made, made);
}

TEST(Logins, ASessionLastsAsLongAsItsAccount) {
    Logins logins(Accounts(), {}, Counted().Check());
    const auto opened = logins.OpenSessions().Open("anna", Here);
    ASSERT_TRUE(opened);
    const auto visitor = logins.WithToken(opened->m_token, "192.0.2.8");
    ASSERT_TRUE(visitor);
    EXPECT_EQ(visitor->Text(), "anna (192.0.2.8)");
    EXPECT_EQ(visitor->m_session, opened->m_session.m_id);
    EXPECT_FALSE(logins.WithToken("x", Here));
    logins.Set(Accounts("right", Role::ReadOnly));
    ASSERT_TRUE(logins.WithToken(opened->m_token, Here));
    EXPECT_EQ(logins.WithToken(opened->m_token, Here)->m_role, Role::ReadOnly);
    logins.Set(Accounts("another"));
    EXPECT_FALSE(logins.WithToken(opened->m_token, Here)) << "with another password it has ended";
}

TEST(Logins, ALockedAccountGetsInByNothing) {
    Logins logins(Accounts(), {}, Counted().Check());
    LoginOf(logins, "anna", "right");
    const auto opened = logins.OpenSessions().Open("anna", Here);
    logins.Set(Accounts("right", Role::Operator, true));
    EXPECT_FALSE(logins.WithToken(opened->m_token, Here));
    EXPECT_FALSE(logins.Remembered({"anna", "right"}, Here));
    EXPECT_EQ(StatusOf(LoginOf(logins, "anna", "right")), 401U);
}

TEST(Logins, TooManyAtOnceAreRefusedAtOnce) {
    std::promise<void> end;
    const std::shared_future<void> ended = end.get_future().share();
    std::promise<void> begun;
    LoginLimits limits;
    limits.m_threads = 1;
    limits.m_waiting = 1;
    Logins logins(Accounts(), limits, PasswordCheck([&, ended](const std::string&, const std::string&) {
                      begun.set_value();
                      ended.wait();
                      return true;
                  }));
    std::promise<unsigned> first;
    std::promise<unsigned> second;
    std::promise<unsigned> third;
    logins.Check({"anna", "a"}, Here, [&](const Logins::Login& login) { first.set_value(StatusOf(login)); });
    begun.get_future().wait();
    logins.Check({"anna", "a"}, Here, [&](const Logins::Login& login) { second.set_value(StatusOf(login)); });
    logins.Check({"anna", "a"}, Here, [&](const Logins::Login& login) { third.set_value(StatusOf(login)); });
    EXPECT_EQ(third.get_future().get(), 503U);
    end.set_value();
    EXPECT_EQ(first.get_future().get(), 200U);
    EXPECT_EQ(second.get_future().get(), 200U);
}

} // namespace
