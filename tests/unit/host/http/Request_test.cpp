// What a service asks of a request.
#include "host/http/Request.h"

#include <gtest/gtest.h>

using namespace bmhost;

TEST(Request, AHeaderIsFoundInWhateverCase) {
    Request request;
    request.m_headers = {{"If-Match", "\"1\""}, {"X-Twice", "one"}, {"x-twice", "two"}};
    EXPECT_EQ(request.Header("if-MATCH"), "\"1\"");
    EXPECT_EQ(request.Header("X-TWICE"), "one");
    EXPECT_EQ(request.Header("If-Matc"), "");
    EXPECT_EQ(request.Header("If-Match2"), "");
}

TEST(Request, AMediaTypeIsTakenWithoutItsParameters) {
    Request request;
    request.m_headers = {{"Content-Type", "Application/JSON ; charset=utf-8"}};
    EXPECT_EQ(request.MediaType(), "application/json");
    EXPECT_NO_THROW(request.ExpectMediaType("application/json"));
    try {
        request.ExpectMediaType("text/plain");
        FAIL() << "it is another type";
    } catch (const Refusal& refusal) {
        EXPECT_EQ(refusal.m_status, 415U);
        EXPECT_EQ(refusal.m_value, "Application/JSON ; charset=utf-8");
        EXPECT_STREQ(refusal.what(), "expected the content type text/plain");
    }
}
