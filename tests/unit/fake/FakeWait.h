// The host's threads and monitors as tests play them: a timed wait ends at once, or lasts until somebody notifies; a
// thread is not to be had.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

/// For the whole test program. No time passes: a wait that is told to time out does so at once, any other one ends only
/// when it is notified.
class FAKE_WAIT {
public:
    /// How many of the next waits time out.
    void LetTimeOut(int a_Count);
    /// Comes back when so many waits have begun since the last Reset; notifications after that find the waiter.
    void WaitForBegun(std::size_t a_Count) const;
    /// The milliseconds asked for.
    std::vector<int> Asked() const;
    void Reset();
};

FAKE_WAIT& FakeWait();

/// The next OSALThread::Start of the test program gives this error and starts nothing.
void FailNextThreadStart(int a_Error);
/// What the next OSALThread::Start does before anything else, on its caller's thread; it may throw.
void BeforeNextThreadStart(std::function<void()> a_Call);
/// What the next OSALThread::Start does when the thread runs and it has not come back yet: it looks at its object after
/// that.
void WithinNextThreadStart(std::function<void()> a_Call);
