// A thread in the fake's event loop, as the domain thread would be: it delivers replies, completions and reports.
#pragma once

#include "fake/openipmi/FakeOpenIPMI.h"

#include <thread>

/// Runs while it lives; the destructor lets everything outstanding be delivered first. One at a time.
class EVENT_LOOP {
public:
    EVENT_LOOP();
    EVENT_LOOP(const EVENT_LOOP&) = delete;
    EVENT_LOOP& operator=(const EVENT_LOOP&) = delete;
    ~EVENT_LOOP();

    std::thread::id Thread() const { return m_Thread.get_id(); }

private:
    os_handler_t* m_Handler;
    std::thread m_Thread;
};
