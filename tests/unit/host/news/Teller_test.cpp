// The lines of `run`, written on a thread of their own.
#include "host/news/Teller.h"

#include "host/resident/Latch.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace bmhost;

class SlowOutput final : public RunOutput {
public:
    void Lifecycle(std::string_view operation, int) override {
        m_reads.Wait();
        if (operation == "broken") throw std::runtime_error("nobody reads");
        m_lines.emplace_back(operation);
    }
    void Event(const AdaptorEvent&) override {}
    void Health(const HealthChange&) override {}

    Latch m_reads;
    std::vector<std::string> m_lines;
};

Teller::News Line(const std::string& text) {
    return [text](RunOutput& output) { output.Lifecycle(text, 1); };
}

TEST(Teller, DoesNotWaitForTheReaderAndLosesNothing) {
    SlowOutput output;
    Teller teller(output, [] {});
    teller.Tell(Line("init"));
    teller.Tell(Line("start"));
    EXPECT_TRUE(output.m_lines.empty());
    output.m_reads.Open();
    teller.Finish();
    EXPECT_EQ((std::vector<std::string>{"init", "start"}), output.m_lines);
}

TEST(Teller, TellsOnceThatNobodyReadsAndThrowsItAtTheEnd) {
    SlowOutput output;
    output.m_reads.Open();
    int unread = 0;
    Teller teller(output, [&] { ++unread; });
    teller.Tell(Line("broken"));
    teller.Tell(Line("broken"));
    teller.Tell(Line("init"));
    EXPECT_THROW(teller.Finish(), std::runtime_error);
    EXPECT_EQ(1, unread);
    EXPECT_TRUE(output.m_lines.empty());
}

} // namespace
