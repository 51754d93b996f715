// Log lines: which ones reach the logger, at which level, and the cost of a line that is not written.
#include "common/veldo_common_trace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>

#include <pthread.h>

namespace {

int g_Allocations = 0; // of this whole program, which has one thread

} // namespace

// Never inlined: if an optimising compiler inlined only one of the three, it would report a mismatched pair.
[[gnu::noinline]] void* operator new(std::size_t a_Size) {
    ++g_Allocations;
    if (void* l_Memory = std::malloc(a_Size)) return l_Memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* a_Memory) noexcept {
    std::free(a_Memory);
}

[[gnu::noinline]] void operator delete(void* a_Memory, std::size_t) noexcept {
    std::free(a_Memory);
}

namespace {

using BM_ADAPTOR::LogError;
using BM_ADAPTOR::LogTrace;
using testing::StrEq;
using testing::StrictMock;

class LOGGER : public CBaseOsLog {
public:
    virtual ~LOGGER() = default;
    MOCK_METHOD(void, Log, (int, const char*, const char*), (override));
};

class LogLines : public testing::Test {
protected:
    ~LogLines() override { BM_LOG_LEVEL = m_LevelBefore; }

    StrictMock<LOGGER> m_Logger;

private:
    int m_LevelBefore = BM_LOG_LEVEL;
};

TEST_F(LogLines, TraceIsWrittenAtLevel7WhileTheHostsLevelIs3) {
    BM_LOG_LEVEL = 3;
    EXPECT_CALL(m_Logger, Log(7, StrEq("IPMI-Adaptor"), StrEq("bay 4 of 8")));
    LogTrace(&m_Logger, "bay %d of %d", 4, 8);
}

TEST_F(LogLines, TraceIsNotWrittenAtAnyOtherLevelOfTheHost) {
    for (const int l_Level : {0, 1, 2, 4, 7}) {
        BM_LOG_LEVEL = l_Level;
        LogTrace(&m_Logger, "level %d", l_Level);
    }
}

TEST_F(LogLines, ErrorIsWrittenAtLevel3WhateverTheHostsLevel) {
    for (const int l_Level : {0, 3, 7}) {
        BM_LOG_LEVEL = l_Level;
        EXPECT_CALL(m_Logger, Log(3, StrEq("IPMI-Adaptor"), StrEq("no reply")));
        LogError(&m_Logger, "no %s", "reply");
    }
}

TEST_F(LogLines, LongLineIsWrittenWhole) {
    const std::string l_Text(5000, 'x');
    EXPECT_CALL(m_Logger, Log(3, testing::_, StrEq(l_Text)));
    LogError(&m_Logger, "%s", l_Text.c_str());
}

TEST_F(LogLines, WithoutALoggerNothingHappens) {
    BM_LOG_LEVEL = 3;
    LogTrace(nullptr, "%s", "nobody");
    LogError(nullptr, "%s", "nobody");
}

TEST_F(LogLines, LoggerThatThrowsDoesNotStopWhoeverWritesALine) {
    BM_LOG_LEVEL = 3;
    EXPECT_CALL(m_Logger, Log)
        .WillOnce(testing::Throw(std::runtime_error("disk full")))
        .WillOnce(testing::Throw(7))
        .WillOnce(testing::Throw(std::runtime_error("disk full")))
        .WillOnce(testing::Throw(7));
    EXPECT_NO_THROW(LogTrace(&m_Logger, "a trace"));
    EXPECT_NO_THROW(LogTrace(&m_Logger, "a trace"));
    EXPECT_NO_THROW(LogError(&m_Logger, "an error"));
    EXPECT_NO_THROW(LogError(&m_Logger, "an error"));
}

// The runtime ends the process when the unwinding of a cancelled thread is swallowed.
TEST_F(LogLines, ThreadThatIsCancelledInTheLoggerEnds) {
    class CANCELLED_IN : public CBaseOsLog {
    public:
        virtual ~CANCELLED_IN() = default;
        void Log(int, const char*, const char*) override {
            pthread_cancel(pthread_self());
            pthread_testcancel();
        }
    };
    CANCELLED_IN l_Logger;
    pthread_t l_Thread{};
    const auto l_Body = [](void* a_Logger) -> void* {
        LogError(static_cast<CANCELLED_IN*>(a_Logger), "the last line");
        return nullptr; // not reached
    };
    ASSERT_EQ(pthread_create(&l_Thread, nullptr, l_Body, &l_Logger), 0);
    void* l_Result = nullptr;
    ASSERT_EQ(pthread_join(l_Thread, &l_Result), 0);
    EXPECT_EQ(l_Result, PTHREAD_CANCELED);
}

TEST_F(LogLines, TraceThatIsOffAllocatesNothing) {
    BM_LOG_LEVEL = 0;
    const int l_Before = g_Allocations;
    for (int l_Count = 0; l_Count < 1000; ++l_Count)
        LogTrace(&m_Logger, "%s %1000d", "count", l_Count);
    EXPECT_EQ(g_Allocations, l_Before);
}

TEST_F(LogLines, TheAllocationCountSeesWhatALongLineNeeds) {
    EXPECT_CALL(m_Logger, Log(3, testing::_, testing::_));
    const int l_Before = g_Allocations;
    LogError(&m_Logger, "%1000d", 1);
    EXPECT_GT(g_Allocations, l_Before);
}

} // namespace
