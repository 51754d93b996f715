// The way from a C callback into its object: whatever is thrown there ends there, but for a thread that is cancelled.
#include "ipmi/model/IPMI_Callback.h"

#include "ipmi/domain/ThreadTest.h"

#include <pthread.h>

#include <stdexcept>

using namespace BM_ADAPTOR;

namespace {

using Callback = THREAD_TEST;

TEST_F(Callback, ReachesItsObjectAndIsTraced) {
    int l_Object = 1;
    EnterCallback<int>(&l_Object, "a callback", [](int& a_Object) { a_Object = InCallback() ? 2 : 3; });
    EXPECT_EQ(l_Object, 2);
    EXPECT_FALSE(InCallback());
    EXPECT_EQ(m_Log.Lines(), std::vector<LOG_LINE>{Trace("a callback")});
}

TEST_F(Callback, LogsTheExceptionThatItEndsBy) {
    int l_Object = 0;
    EnterCallback<int>(&l_Object, "a callback", [](int&) { throw std::runtime_error("no memory"); });
    EXPECT_EQ(m_Log.Lines().back(), Warning("a callback - no memory"));
    EXPECT_FALSE(InCallback());
}

TEST_F(Callback, LogsWhateverElseIsThrown) {
    int l_Object = 0;
    EnterCallback<int>(&l_Object, "a callback", [](int&) { throw 7; });
    EXPECT_EQ(m_Log.Lines().back(), Warning("a callback - unknown exception"));
    EXPECT_FALSE(InCallback());
}

TEST_F(Callback, LetsACancelledThreadEnd) {
    pthread_t l_Thread{};
    const auto l_Body = [](void* a_Object) -> void* {
        EnterCallback<int>(a_Object, "a callback", [](int&) {
            pthread_cancel(pthread_self());
            pthread_testcancel();
        });
        return nullptr; // not reached
    };
    int l_Object = 0;
    ASSERT_EQ(pthread_create(&l_Thread, nullptr, l_Body, &l_Object), 0);
    void* l_Result = nullptr;
    ASSERT_EQ(pthread_join(l_Thread, &l_Result), 0);
    EXPECT_EQ(l_Result, PTHREAD_CANCELED);
}

} // namespace
