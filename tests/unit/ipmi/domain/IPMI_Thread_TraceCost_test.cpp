// What the traces of domain thread and probe cost while they are off: nothing is allocated, nobody is called.
#include "ipmi/IPMI_Probe.h"
#include "ipmi/IPMI_Thread.h"

#include "fake/RecordingLog.h"
#include "fake/openipmi/FakeOpenIPMI.h"
#include "fake/openipmi/ModelReset.h"
#include "fake/process/StdoutCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <new>

namespace {

std::atomic<int> g_Allocations = 0; // of this whole program

} // namespace

// Not inlined: with its body in sight, the compiler takes free for the wrong partner of new.
[[gnu::noinline]] void* operator new(std::size_t a_Size) {
    ++g_Allocations;
    if (void* const l_Memory = std::malloc(a_Size)) return l_Memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* a_Memory) noexcept {
    std::free(a_Memory);
}

[[gnu::noinline]] void operator delete(void* a_Memory, std::size_t) noexcept {
    std::free(a_Memory);
}

using namespace BM_ADAPTOR;

namespace {

/// Operations that do nothing but trace.
class SilentTrace : public ::testing::Test {
protected:
    SilentTrace() {
        Fake().Reset();
        ResetModel();
        g_Logger2 = &m_Log;
        BuildSimulatedData();
        const STDOUT_CAPTURE l_Capture;
        m_Thread.DomainFullyUp(nullptr, &m_Thread); // vendor records to trace
        m_Entity = Fake().AddEntity(0, 142, 160, 96, std::string(79, 'n'));
        m_Control = Fake().AddControl(m_Entity, std::string(63, 'c'), 1);
    }
    ~SilentTrace() override { ResetModel(); }

    static int AllocationsOf(const std::function<void()>& a_Operation) {
        const int l_Before = g_Allocations;
        a_Operation();
        return g_Allocations - l_Before;
    }

    RECORDING_LOG m_Log;
    IPMITHREAD m_Thread{&m_Log, nullptr};
    ENTITYCAPTURE m_Probe{Fake().Domain(), &m_Thread, &m_Log};
    ipmi_entity_t* m_Entity = nullptr;
    ipmi_control_t* m_Control = nullptr;
    ipmi_msgi_t m_Reply{}; // of no length; the idle probe does not look at it
    const std::pair<const char*, std::function<void()>> m_Operations[16] = {
        {"TranslateFramerType", [] { TranslateFramerType(1); }},
        {"TranslateDSPType", [] { TranslateDSPType(1); }},
        {"hot swap", [this] { m_Thread.IPMIEntityHotSwapHandler(m_Entity, {}, {}, &m_Thread, nullptr); }},
        {"known entity", [this] { m_Thread.EntityAdded(IPMI_ADDED, nullptr, m_Entity, &m_Thread); }},
        {"removed entity", [this] { m_Thread.EntityAdded(IPMI_DELETED, nullptr, m_Entity, &m_Thread); }},
        {"control", [this] { m_Thread.ControlAdded(IPMI_ADDED, m_Entity, m_Control, &m_Thread); }},
        {"removed control", [this] { m_Thread.ControlAdded(IPMI_DELETED, m_Entity, m_Control, &m_Thread); }},
        {"removed FRU", [this] { m_Thread.FruAdded(IPMI_DELETED, m_Entity, &m_Thread); }},
        {"captured model", [this] { m_Thread.EntityCaptured(); }},
        {"unexpected properties", [this] { m_Probe.ReceivedPICMCProperties(m_Reply); }},
        {"unexpected address", [this] { m_Probe.ReceivedPICMCAddrInfo(m_Reply); }},
        {"unexpected LED properties", [this] { m_Probe.ReceivedPICMCLEDProps(m_Reply); }},
        {"unexpected LED colours", [this] { m_Probe.ReceivedPICMCLEDColorCaps(m_Reply); }},
        {"unexpected FRU size", [this] { m_Probe.ReceivedFRUSize(m_Reply); }},
        {"unexpected FRU bytes", [this] { m_Probe.ReceivedFRUChunk(m_Reply); }},
        {"unexpected FRU control", [this] { m_Probe.ReceivedFRUControl(m_Reply); }},
    };
};

TEST_F(SilentTrace, AllocatesNothingAndCallsNobody) {
    for (const int l_Level : {0, 2, 4, 7}) {
        const LOG_LEVEL_GUARD l_Guard(l_Level);
        for (const auto& [l_Name, l_Operation] : m_Operations)
            EXPECT_EQ(AllocationsOf(l_Operation), 0) << l_Name << " at level " << l_Level;
    }
    EXPECT_TRUE(m_Log.Lines().empty());
}

// The other way round, so that the count above cannot be 0 for want of traces.
TEST_F(SilentTrace, WouldHaveSpokenAtLevel3) {
    const LOG_LEVEL_GUARD l_Guard;
    for (const auto& [l_Name, l_Operation] : m_Operations) {
        m_Log.Clear();
        EXPECT_GT(AllocationsOf(l_Operation), 0) << l_Name;
        EXPECT_FALSE(m_Log.Lines().empty()) << l_Name;
    }
}

} // namespace
