// Answers of JSON.
#include "host/http/Reply.h"

#include <gtest/gtest.h>

using namespace bmhost;

TEST(Reply, JsonIsOneLineThatATerminalCanShow) {
    const Reply reply = JsonReply(404, {{"a", "\xFF"}, {"b", "\xC2\x85"}}, {{"Allow", "GET"}});
    EXPECT_EQ(reply.m_status, 404U);
    EXPECT_EQ(*reply.m_body, "{\"a\":\"\xEF\xBF\xBD\",\"b\":\"\\u0085\"}\n");
    EXPECT_EQ(reply.m_headers, (Headers{{"Allow", "GET"}}));
    EXPECT_EQ(reply.m_contentType, "application/json");
}
