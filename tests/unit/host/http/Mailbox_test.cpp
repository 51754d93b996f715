// What other threads leave for the server.
#include "host/http/Mailbox.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <thread>
#include <vector>

using namespace bmhost;

namespace {

bool HasMail(const Mailbox& mailbox) {
    pollfd descriptor{mailbox.Descriptor(), POLLIN, 0};
    return poll(&descriptor, 1, 0) == 1;
}

} // namespace

TEST(Mailbox, AnAnswerComesOnceWithItsExchange) {
    const auto mailbox = std::make_shared<Mailbox>();
    const Ticket answered = mailbox->TicketFor(7);
    EXPECT_EQ(mailbox->Outstanding(), 1U);
    EXPECT_FALSE(HasMail(*mailbox));
    answered(JsonReply(409, {{"a", 1}}));
    answered(JsonReply(200, {{"b", 2}}));
    EXPECT_TRUE(HasMail(*mailbox));
    EXPECT_EQ(mailbox->Outstanding(), 0U);
    const auto mail = mailbox->Take();
    ASSERT_EQ(mail.m_answers.size(), 1U);
    EXPECT_EQ(mail.m_answers[0].first, 7U);
    EXPECT_EQ(std::get<Reply>(mail.m_answers[0].second).m_status, 409U);
    EXPECT_FALSE(HasMail(*mailbox));
    EXPECT_TRUE(mailbox->Take().m_answers.empty());
}

TEST(Mailbox, ADroppedTicketIsTold) {
    const auto mailbox = std::make_shared<Mailbox>();
    {
        const Ticket first = mailbox->TicketFor(1);
        const Ticket copy = first;
    }
    const auto mail = mailbox->Take();
    ASSERT_EQ(mail.m_answers.size(), 1U);
    const auto& refusal = std::get<Refusal>(mail.m_answers[0].second);
    EXPECT_EQ(refusal.m_status, 503U);
    EXPECT_STREQ(refusal.what(), "the host has dropped this without an answer");
    EXPECT_EQ(mailbox->Outstanding(), 0U);
}

TEST(Mailbox, NewsAreTakenOnceAndAStopStays) {
    const auto mailbox = std::make_shared<Mailbox>();
    mailbox->TellNews();
    mailbox->TellNews();
    mailbox->TellStop();
    auto mail = mailbox->Take();
    EXPECT_TRUE(mail.m_news);
    EXPECT_TRUE(mail.m_stop);
    mail = mailbox->Take();
    EXPECT_FALSE(mail.m_news);
    EXPECT_TRUE(mail.m_stop);
}

TEST(Mailbox, ATicketMayOutliveTheServer) {
    auto mailbox = std::make_shared<Mailbox>();
    const Ticket late = mailbox->TicketFor(1);
    const std::weak_ptr<Mailbox> watch = mailbox;
    mailbox->Close();
    mailbox.reset();
    EXPECT_FALSE(watch.expired());
    late(Reply{});
    EXPECT_TRUE(watch.lock()->Take().m_answers.empty());
}

TEST(Mailbox, AnswersOfManyThreadsAllCome) {
    const auto mailbox = std::make_shared<Mailbox>();
    std::vector<std::thread> threads;
    constexpr uint64_t count = 64;
    for (uint64_t i = 0; i < count; ++i)
        threads.emplace_back([answered = mailbox->TicketFor(i)] { answered(Reply{}); });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(mailbox->Take().m_answers.size(), count);
    EXPECT_EQ(mailbox->Outstanding(), 0U);
}
