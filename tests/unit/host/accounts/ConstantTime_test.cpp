// Comparing secrets.
#include "host/accounts/ConstantTime.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using bmhost::SameSecret;

TEST(SameSecret, IsTrueForTheSameTextOnly) {
    EXPECT_TRUE(SameSecret("", ""));
    EXPECT_TRUE(SameSecret("token", "token"));
    EXPECT_FALSE(SameSecret("token", "Token"));
    EXPECT_FALSE(SameSecret("token", "tokem"));
    EXPECT_FALSE(SameSecret("token", "toke"));
    EXPECT_FALSE(SameSecret("token", ""));
    EXPECT_FALSE(SameSecret(std::string_view("a\0b", 3), std::string_view("a\0c", 3)));
}

TEST(SameSecret, SeesASingleBitAnywhere) {
    const std::string secret(43, 'A');
    for (std::size_t place = 0; place < secret.size(); ++place) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            std::string other = secret;
            other[place] = static_cast<char>(other[place] ^ static_cast<char>(1U << bit));
            EXPECT_FALSE(SameSecret(secret, other)) << place << ", " << bit;
        }
    }
}

} // namespace
