// The web door's options, and where it serves nobody.
#include "host/web/WebOptions.h"

#include "host/words/Error.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;

std::string ErrorOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const UsageError& error) {
        return error.what();
    }
    return "";
}

TEST(WebOptions, ComeFromTheCommandLine) {
    const WebOptions options =
        ReadWebOptions({"--listen", "127.0.0.1:1", "--listen", "[::1]:2", "--tls-cert", "c", "--tls-key", "k",
                        "--accounts", "a", "--server-name", "one", "--server-name", "two", "--max-image-size", "5"});
    ASSERT_EQ(options.m_listen.size(), 2U);
    EXPECT_EQ(options.m_listen[1].Text(), "[::1]:2");
    EXPECT_EQ(options.m_certificate, "c");
    EXPECT_EQ(options.m_key, "k");
    EXPECT_EQ(options.m_accounts, "a");
    EXPECT_THAT(options.m_serverNames, testing::ElementsAre("one", "two"));
    EXPECT_EQ(options.m_imageSize, 5U);
}

TEST(WebOptions, ComeFromTheConfiguration) {
    const std::string path = testing::TempDir() + "web_options.toml";
    std::ofstream(path) << "listen = [\"127.0.0.1:1\", \"[::1]:2\"]\naccounts = \"a\"\nserver-name = [\"one\"]\n";
    const WebOptions options = ReadWebOptions({"--config", path});
    EXPECT_EQ(options.m_listen.size(), 2U);
    EXPECT_EQ(options.m_accounts, "a");
    EXPECT_THAT(options.m_serverNames, testing::ElementsAre("one"));
    std::ofstream(path) << "lissten = \"127.0.0.1:1\"\n";
    EXPECT_THAT(ErrorOf([&] { ReadWebOptions({"--config", path}); }), HasSubstr("lissten"));
    std::filesystem::remove(path);
}

TEST(WebOptions, WhatCannotBeMeantIsRefused) {
    EXPECT_THAT(ErrorOf([] { ReadWebOptions({"--listen", "localhost:80"}); }), HasSubstr("ADDRESS:PORT"));
    EXPECT_THAT(ErrorOf([] { ReadWebOptions({"--tls-cert", "c"}); }), HasSubstr("go together"));
    EXPECT_THAT(ErrorOf([] { ReadWebOptions({"--max-image-size", "0"}); }), HasSubstr("--max-image-size"));
    EXPECT_NE(ErrorOf([] { ReadWebOptions({"extra"}); }), "");
}

TEST(WebOptions, ElsewhereNobodyIsServedWithoutTlsAndAccounts) {
    WebOptions options;
    options.m_accounts = "/a";
    const ListenAddress outside{"192.0.2.7", 443};
    const auto error = [&](const ListenAddress& address, std::size_t accounts) {
        return ErrorOf([&] { CheckListenAddress(address, options, accounts); });
    };
    EXPECT_EQ(error({"127.0.0.1", 1}, 0), "");
    EXPECT_EQ(error({"::1", 1}, 0), "");
    EXPECT_THAT(error(outside, 1), HasSubstr("192.0.2.7:443 is no loopback address: it needs TLS"));
    EXPECT_THAT(error({"0.0.0.0", 1}, 1), HasSubstr("TLS"));
    EXPECT_THAT(error({"::", 1}, 1), HasSubstr("TLS"));
    options.m_certificate = "c";
    EXPECT_EQ(error(outside, 1), "");
    EXPECT_THAT(error(outside, 0), HasSubstr("it needs an account, and /a has none"));
}

} // namespace
