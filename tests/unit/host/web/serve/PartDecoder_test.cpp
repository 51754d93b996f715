// Parts of forms that their clients encoded.
#include "host/web/serve/PartDecoder.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using bmhost::PartDecoder;

/// What has come of it; "not known", "broken" or "cut".
std::string Decoded(const std::string& encoding, const std::string& bytes, std::size_t piece = 1) {
    auto decoder = PartDecoder::For(encoding);
    if (!decoder) return "not known";
    std::string all;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        const auto decoded = decoder->Take(std::string_view(bytes).substr(at, piece));
        if (!decoded) return "broken";
        all += *decoded;
    }
    return decoder->IsWhole() ? all : "cut";
}

TEST(PartDecoder, TakesBase64HoweverItIsCut) {
    for (std::size_t piece = 1; piece < 10; ++piece) {
        EXPECT_EQ(Decoded("base64", "Zm9vYmFy", piece), "foobar");
        EXPECT_EQ(Decoded("base64", "Zm9v\r\nYmE=\r\n", piece), "fooba");
        EXPECT_EQ(Decoded("BASE64", "Zm9vYg==", piece), "foob");
    }
    EXPECT_EQ(Decoded("base64", "AP+/+A=="), std::string("\0\xff\xbf\xf8", 4));
    EXPECT_EQ(Decoded("base64", ""), "");
}

TEST(PartDecoder, WhatIsNoBase64IsNothing) {
    for (const char* const text : {"Zm9v!", "=", "Z===", "Zg==Zg==", "Zg=v", "Zm9-"})
        EXPECT_EQ(Decoded("base64", text), "broken") << text;
    for (const char* const text : {"Z", "Zm", "Zm9", "Zg="})
        EXPECT_EQ(Decoded("base64", text), "cut") << text;
}

TEST(PartDecoder, OtherPartsStayAsTheyAre) {
    for (const char* const encoding : {"", "7bit", "8bit", "Binary"})
        EXPECT_EQ(Decoded(encoding, "Zm9v\r\n=", 3), "Zm9v\r\n=") << encoding;
    for (const char* const encoding : {"quoted-printable", "base64x", "x-uuencode"})
        EXPECT_EQ(Decoded(encoding, "x"), "not known") << encoding;
}

} // namespace
