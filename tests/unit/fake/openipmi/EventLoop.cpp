// A thread in the fake's event loop.
#include "fake/openipmi/EventLoop.h"

EVENT_LOOP::EVENT_LOOP() : m_Handler(Fake().MakeOsHandler()) {
    Fake().EndLoopWhenIdle(false);
    m_Thread = std::thread([this] {
        try {
            for (;;)
                m_Handler->perform_one_op(m_Handler, nullptr);
        } catch (const LOOP_ENDED&) {
            // told by the destructor
        }
    });
}

EVENT_LOOP::~EVENT_LOOP() {
    Fake().EndLoopWhenIdle();
    m_Thread.join();
    Fake().EndLoopWhenIdle(false);
}
