// What every probe test needs: a probe with its domain thread and start-up mutex, the fake OpenIPMI, a recording
// logger with traces on, and an empty model before and after.
#pragma once

#include "ipmi/IPMI_Probe.h"
#include "ipmi/IPMI_Thread.h"

#include "ScriptedController.h"
#include "fake/TestAccess.h"
#include "fake/openipmi/FakeOpenIPMI.h"
#include "fake/openipmi/ModelReset.h"
#include "ipmi/LogText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>

using ACCESS = IPMI_TEST_ACCESS;

/// A reply for calling a member handler by hand.
struct REPLY_ITEM {
    ipmi_msgi_t m_Item{};
    BYTES m_Bytes;

    explicit REPLY_ITEM(BYTES a_Bytes, intptr_t a_SecondDatum = 0) : m_Bytes(std::move(a_Bytes)) {
        m_Item.msg.data = m_Bytes.data();
        m_Item.msg.data_len = static_cast<unsigned short>(m_Bytes.size());
        m_Item.data2 = reinterpret_cast<void*>(a_SecondDatum);
    }
    REPLY_ITEM(const REPLY_ITEM&) = delete;
    REPLY_ITEM& operator=(const REPLY_ITEM&) = delete;
};

class PROBE_TEST : public ::testing::Test {
protected:
    PROBE_TEST() { SetUpAgain(); }
    ~PROBE_TEST() override {
        m_Probe.reset(); // before the model, which it looks at
        ResetModel();
    }

    std::unique_ptr<BM_ADAPTOR::ENTITYCAPTURE> MakeProbe() {
        return std::make_unique<BM_ADAPTOR::ENTITYCAPTURE>(Fake().Domain(), m_Thread.get(), &m_Log);
    }

    /// A new probe, an empty model and log, as at the test's beginning: for tables of cases.
    void SetUpAgain() {
        m_Probe.reset();
        ResetModel();
        Fake().Reset();
        m_Log.Clear();
        m_StartupMutex.Unlock();
        m_StartupMutex.Lock();
        m_Thread = std::make_unique<BM_ADAPTOR::IPMITHREAD>(&m_Log, &m_StartupMutex);
        m_Probe = MakeProbe();
    }

    int State() { return ACCESS::State(*m_Probe); }
    void SetState(int a_State) { ACCESS::State(*m_Probe) = a_State; }
    /// The domain thread was told that the probe is over, and has released the adaptor.
    bool IsOver() { return ACCESS::bDomainReady(*m_Thread) == 1 && ACCESS::pStartupMutex(*m_Thread) == nullptr; }

    /// Puts an entity with this many LEDs under a FRU id, as the steps before would have.
    IPMI_ENTITY& GiveEntity(uint8_t a_FRUID, int a_NumLEDs) {
        auto l_Entity = std::make_unique<IPMI_ENTITY>(0, 0x20, ENTITY_ID_AMC, a_FRUID);
        for (int i = 0; i < a_NumLEDs; ++i) {
            l_Entity->m_LEDMap[i] = new IPMI_LED;
            l_Entity->m_LEDMap[i]->m_LEDID = i;
        }
        IPMI_ENTITY*& l_Place = ACCESS::FRUEntities(*m_Probe)[a_FRUID];
        delete l_Place;
        l_Place = l_Entity.release();
        return *l_Place;
    }

    /// The whole inventory; returns the number of replies delivered.
    std::size_t Capture(std::size_t a_Limit = 100000) {
        m_Probe->StartCapture();
        return Fake().Run(a_Limit);
    }

    /// The lines stand in the log in this order, others may stand between them.
    void ExpectInOrder(const std::vector<LOG_LINE>& a_Expected) const {
        const std::vector<LOG_LINE> l_Lines = m_Log.Lines();
        auto l_From = l_Lines.begin();
        for (const LOG_LINE& l_Line : a_Expected) {
            const auto l_Found = std::find(l_From, l_Lines.end(), l_Line);
            if (l_Found == l_Lines.end()) {
                ADD_FAILURE() << "not in the log, or not in this order: " << ::testing::PrintToString(l_Line)
                              << "\nthe log: " << ::testing::PrintToString(l_Lines);
                return;
            }
            l_From = l_Found + 1;
        }
    }
    void ExpectLogged(const LOG_LINE& a_Line) const { ExpectInOrder({a_Line}); }
    void ExpectNotLogged(std::string_view a_Beginning) const {
        EXPECT_THAT(m_Log.Texts(a_Beginning), ::testing::IsEmpty());
    }

    LOG_LEVEL_GUARD m_TracesOn;
    RECORDING_LOG m_Log;
    OSAL::OSALMutex m_StartupMutex;
    std::unique_ptr<BM_ADAPTOR::IPMITHREAD> m_Thread;
    std::unique_ptr<BM_ADAPTOR::ENTITYCAPTURE> m_Probe;
};
