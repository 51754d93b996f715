// Any bytes as the text of a JSON file.
#include "ByteText.h"

#include <gtest/gtest.h>

using namespace BM_PLATFORM;

TEST(ByteText, HasTheCharacterOfEachBytesNumber) {
    EXPECT_EQ(Utf8OfBytes("\x01 az\x7F\x80\xBF\xC0\xFF"), "\x01 az\x7F\u0080\u00BF\u00C0\u00FF");
    EXPECT_EQ(Utf8OfBytes(std::string(1, '\0')), std::string(1, '\0'));
}
