// A reader's way through the news.
#include "host/api/NewsStream.h"

#include "FakeHost.h"

#include <gtest/gtest.h>

using namespace bmhost;

namespace {

constexpr std::chrono::hours Never(1000);

std::string AllOf(NewsStream& stream, std::size_t block = 4096) {
    std::string all;
    std::string buffer(block, ' ');
    while (const std::size_t size = stream.Next(buffer.data(), block))
        all.append(buffer, 0, size);
    return all;
}

void TellNumbers(FakeHost& host, int count) {
    for (int i = 0; i < count; ++i)
        host.Tell("health", "{}");
}

} // namespace

TEST(NewsStream, BeginsWithWhatComesAfterTheId) {
    FakeHost host;
    host.Tell("event", "{\"a\":1}");
    host.Tell("health", "{\"b\":2}");
    NewsStream stream(host, 1, Never);
    EXPECT_EQ(AllOf(stream), ": events after 1\n\nid: 2\nevent: health\ndata: {\"b\":2}\n\n");
    EXPECT_FALSE(stream.HasEnded());
    host.Tell("call", "{}");
    EXPECT_EQ(AllOf(stream), "id: 3\nevent: call\ndata: {}\n\n");
    EXPECT_EQ(AllOf(stream), "");
}

TEST(NewsStream, WithoutAnIdItBeginsNow) {
    FakeHost host;
    TellNumbers(host, 3);
    NewsStream stream(host, std::nullopt, Never);
    EXPECT_EQ(AllOf(stream), ": events after 3\n\n");
    host.Tell("call", "{}");
    EXPECT_EQ(AllOf(stream), "id: 4\nevent: call\ndata: {}\n\n");
}

TEST(NewsStream, WithZeroItBeginsWithAllThatIsKept) {
    FakeHost host(2);
    TellNumbers(host, 5);
    NewsStream stream(host, 0, Never);
    EXPECT_EQ(AllOf(stream),
              ": events after 3\n\nid: 4\nevent: health\ndata: {}\n\nid: 5\nevent: health\ndata: {}\n\n");
}

TEST(NewsStream, OneThatComesTooLateIsToldWhatIsLostAndGoesOn) {
    FakeHost host(2);
    TellNumbers(host, 5);
    NewsStream stream(host, 2, Never);
    EXPECT_EQ(AllOf(stream), ": events after 3\n\nid: 3\nevent: lost\ndata: {\"after\":2,\"first\":4}\n\n"
                             "id: 4\nevent: health\ndata: {}\n\nid: 5\nevent: health\ndata: {}\n\n");
}

TEST(NewsStream, JustOneMissedEventIsToldToo) {
    FakeHost host(2);
    TellNumbers(host, 4);
    NewsStream late(host, 1, Never);
    EXPECT_NE(AllOf(late).find("\"first\":3"), std::string::npos);
    NewsStream inTime(host, 2, Never);
    EXPECT_EQ(AllOf(inTime).find("lost"), std::string::npos);
}

TEST(NewsStream, AnIdOfAnEarlierHostIsToldAsLost) {
    FakeHost host;
    NewsStream empty(host, 9, Never);
    EXPECT_EQ(AllOf(empty), ": events after 0\n\nid: 0\nevent: lost\ndata: {\"after\":9,\"first\":1}\n\n");
    TellNumbers(host, 1);
    NewsStream begun(host, 9, Never);
    EXPECT_EQ(AllOf(begun), ": events after 0\n\nid: 0\nevent: lost\ndata: {\"after\":9,\"first\":1}\n\n"
                            "id: 1\nevent: health\ndata: {}\n\n");
}

TEST(NewsStream, ASlowReaderIsDroppedWhenTheRingHasMovedOn) {
    FakeHost host(2);
    TellNumbers(host, 1);
    NewsStream stream(host, 1, Never);
    TellNumbers(host, 5);
    EXPECT_EQ(AllOf(stream), ": events after 1\n\nid: 4\nevent: lost\ndata: {\"after\":1,\"first\":5}\n\n");
    EXPECT_TRUE(stream.HasEnded());
}

TEST(NewsStream, KeepsNoMoreThanAPieceForASlowReader) {
    FakeHost host;
    const std::string large(40'000, 'x');
    for (int i = 0; i < 20; ++i)
        host.Tell("event", large);
    NewsStream stream(host, 0, Never);
    char byte = 0;
    const std::size_t greeting = std::string(": events after 0\n\n").size();
    for (std::size_t i = 0; i <= greeting; ++i)
        ASSERT_EQ(stream.Next(&byte, 1), 1U);
    // The rest stays in the ring, so it can be lost from there.
    for (int i = 0; i < 1000; ++i)
        host.Tell("health", "{}");
    const std::string all = AllOf(stream);
    EXPECT_LT(all.size(), 3 * large.size());
    EXPECT_NE(all.find("event: lost"), std::string::npos);
}

TEST(NewsStream, SmallBlocksGiveTheSameText) {
    FakeHost host;
    TellNumbers(host, 3);
    NewsStream whole(host, 0, Never);
    NewsStream bytes(host, 0, Never);
    EXPECT_EQ(AllOf(bytes, 1), AllOf(whole));
}

TEST(NewsStream, AQuietStreamGivesASignOfLife) {
    FakeHost host;
    NewsStream stream(host, 0, std::chrono::milliseconds(0));
    char buffer[64] = {};
    ASSERT_EQ(stream.Next(buffer, sizeof(buffer)), std::string(": events after 0\n\n").size());
    ASSERT_EQ(stream.Next(buffer, sizeof(buffer)), 3U);
    EXPECT_EQ(std::string(buffer, 3), ":\n\n");
}

TEST(NewsStream, ALineEndInTheDataDoesNotEndTheEvent) {
    FakeHost host;
    host.Tell("event", "a\n\nb");
    NewsStream stream(host, 0, Never);
    EXPECT_EQ(AllOf(stream), ": events after 0\n\nid: 1\nevent: event\ndata: a\ndata: \ndata: b\n\n");
}

TEST(NewsStream, AfterItsEndNothingComes) {
    FakeHost host;
    NewsStream stream(host, std::nullopt, Never);
    AllOf(stream);
    stream.End();
    TellNumbers(host, 1);
    EXPECT_EQ(AllOf(stream), "");
    EXPECT_TRUE(stream.HasEnded());
}
