// Bodies of multipart/form-data, cut anywhere.
#include "host/web/serve/Multipart.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace bmhost;

/// The parts as a text: "name/file:bytes|".
class WrittenParts final : public MultipartParts {
public:
    void BeginPart(const std::string& name, const std::string& file) override {
        m_text.append(name).append("/").append(file).append(":");
    }
    void AddToPart(std::string_view bytes) override { m_text += bytes; }
    void EndPart() override { m_text += "|"; }

    std::string m_text;
};

std::string PartsOf(const std::string& body, std::size_t piece, bool whole = true) {
    WrittenParts parts;
    MultipartReader reader("XYZ", parts);
    for (std::size_t at = 0; at < body.size(); at += piece)
        reader.Take(std::string_view(body).substr(at, piece));
    EXPECT_EQ(reader.IsWhole(), whole) << piece;
    return parts.m_text;
}

const std::string TwoParts = "--XYZ\r\n"
                             "Content-Disposition: form-data; name=\"UpdateParameters\"\r\n"
                             "Content-Type: application/json\r\n\r\n"
                             "{}\r\n"
                             "--XYZ\r\n"
                             "content-disposition: form-data; name=UpdateFile; filename=\"a \\\"b\\\";c.bin\"\r\n\r\n"
                             "one\r\n--XY\r\n-two\r\n\r\n"
                             "--XYZ--\r\n";

TEST(Multipart, PartsAreTheSameHoweverTheyAreCut) {
    const std::string expected = "UpdateParameters/:{}|UpdateFile/a \"b\";c.bin:one\r\n--XY\r\n-two\r\n|";
    for (std::size_t piece = 1; piece <= TwoParts.size(); ++piece)
        EXPECT_EQ(PartsOf(TwoParts, piece), expected) << piece;
}

TEST(Multipart, WhatIsBeforeAndAfterIsIgnored) {
    EXPECT_EQ(PartsOf("preamble\r\n" + TwoParts + "epilogue\r\n--XYZ\r\n\r\nx\r\n--XYZ--", 7),
              PartsOf(TwoParts, TwoParts.size()));
}

TEST(Multipart, PartsMayBeEmptyAndWithoutHeaders) {
    EXPECT_EQ(PartsOf("--XYZ  \r\n\r\n\r\n--XYZ--", 1), "/:|");
    EXPECT_EQ(PartsOf("--XYZ\r\nContent-Disposition: form-data; name=\"\"\r\n\r\n\r\n--XYZ--", 3), "/:|");
}

TEST(Multipart, HalfABodyIsNone) {
    for (std::size_t size = 0; size + 4 < TwoParts.size(); ++size)
        PartsOf(TwoParts.substr(0, size), 16, false);
}

TEST(Multipart, AfterAMistakeNothingIsTaken) {
    const std::string mistaken = "--XYZW\r\n\r\nx\r\n" + TwoParts;
    EXPECT_EQ(PartsOf(mistaken, mistaken.size(), false), "");
    EXPECT_EQ(PartsOf("--XYZ\r\nA: " + std::string(2 * MultipartReader::LongestHeaders, 'a') + "\r\n\r\nx\r\n--XYZ--",
                      100, false),
              "");
}

TEST(Multipart, APartThatItsClientEncodedIsTakenAsItWas) {
    const auto encoded = [](const std::string& encoding, const std::string& bytes) {
        return "--XYZ\r\nContent-Transfer-Encoding: " + encoding + "\r\n\r\n" + bytes + "\r\n--XYZ--";
    };
    const std::string body = encoded("base64", "b25l\r\nIHR3\r\nbyE=\r\n");
    for (std::size_t piece = 1; piece <= body.size(); ++piece)
        EXPECT_EQ(PartsOf(body, piece), "/:one two!|") << piece;
    EXPECT_EQ(PartsOf(encoded("binary", "b25l"), 5), "/:b25l|");
    EXPECT_EQ(PartsOf(encoded("base64", "b25lI"), 5, false), "/:one") << "cut";
    EXPECT_EQ(PartsOf(encoded("base64", "b25l?"), 64, false), "/:");
    EXPECT_EQ(PartsOf(encoded("quoted-printable", "b25l"), 64, false), "") << "not known";
}

TEST(Multipart, ABoundaryStandsInTheContentType) {
    EXPECT_EQ(BoundaryOf("multipart/form-data; boundary=abc"), "abc");
    EXPECT_EQ(BoundaryOf("Multipart/Form-Data ; charset=utf-8; BOUNDARY=\"a b\""), "a b");
    for (const std::string type : {"", "application/json", "multipart/form-data", "multipart/mixed; boundary=abc",
                                   "multipart/form-data; boundary=", "multipart/form-data; boundary=\"a\rb\""})
        EXPECT_EQ(BoundaryOf(type), std::nullopt) << type;
    EXPECT_EQ(BoundaryOf("multipart/form-data; boundary=" + std::string(71, 'a')), std::nullopt);
}

} // namespace
