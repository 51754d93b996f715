// A scripted OpenIPMI for tests: link fake_openipmi, and every ipmi_* function that the adaptor calls is answered here.
// Fake() is the only entry point: script what should happen, run the code under test, look at what it called.
//
//   Fake().Reset();                                              first line of every test (a fixture's SetUp)
//   Fake().OnRequest({0x2C, 0x00, 0x00}, {0x00, 0x00, 0x22, 0x02});   netfn, command, data -> completion code, data
//   ENTITYCAPTURE l_Probe(Fake().Domain(), &l_Thread, &l_Log);
//   l_Probe.StartCapture();
//   Fake().Run();                                                answers until nothing is outstanding
//   EXPECT_EQ(Fake().Sent().back().Bytes(), (BYTES{0x2C, 0x05, 0x00, 0x00}));
//
// Threads: every operation may be called from any thread. The records of the scripts below are the test's: change them
// before the code under test runs, read them after.
#pragma once

#include "fake/openipmi/FakeObjects.h"

#include <OpenIPMI/ipmi_conn.h>
#include <OpenIPMI/ipmi_posix.h>
#include <OpenIPMI/ipmiif.h>

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using BYTES = std::vector<uint8_t>;

/// One call of ipmi_send_command_addr.
struct SENT_REQUEST {
    ipmi_domain_t* m_Domain = nullptr;
    BYTES m_Address; ///< as many bytes of the address as its length said
    uint8_t m_NetFn = 0;
    uint8_t m_Command = 0;
    BYTES m_Data;
    ipmi_addr_response_handler_t m_Trampoline = nullptr;
    void* m_Data1 = nullptr;
    void* m_Data2 = nullptr;

    /// Network function, command, data: what the scripts match.
    BYTES Bytes() const;
};

/// A row of a scripted conversation. The request matches every request that begins with its bytes.
struct SCRIPTED_REPLY {
    BYTES m_Request; ///< network function, command, data
    BYTES m_Reply;   ///< completion code, data; the code under test gets exactly these bytes
    int m_Nth = 0;   ///< 0: every time; n: the n-th time that this row's request is sent, counted from 1
};

/// Computes a reply; nothing means that the reply is lost.
using REPLIER = std::function<std::optional<BYTES>(const SENT_REQUEST&)>;

/// The arguments of ipmi_open_domain.
struct OPEN_DOMAIN_CALL {
    std::string m_Name;
    std::vector<ipmi_con_t*> m_Connections;
    ipmi_domain_con_cb m_ConnectionChanged = nullptr;
    void* m_ConnectionChangedData = nullptr;
    ipmi_domain_ptr_cb m_FullyUp = nullptr;
    void* m_FullyUpData = nullptr;
    std::vector<std::pair<int, long>> m_Options;
    bool m_bWantsDomainID = false;
};

/// Results of the set-up functions, and what they were called with.
struct SETUP_SCRIPT {
    bool m_bOsHandlerFails = false;
    int m_InitResult = 0;
    int m_SmiResult = 0;
    int m_OpenResult = 0;
    bool m_bReportsConnection = true;        ///< an opened domain reports its connection from the event loop
    int m_ConnectionError = 0;               ///< with this error
    std::deque<int> m_PerformOneOpResults{}; ///< these come first, without anything being done

    bool m_bTimeOutGiven = false; ///< perform_one_op was ever called with one
    int m_WakeSignal = 0;
    int m_SmiInterface = -1;
    os_handler_t* m_SmiOsHandler = nullptr;
    void* m_SmiUserData = nullptr;
    os_handler_t* m_InitOsHandler = nullptr;
    os_vlog_t m_LogHandler = nullptr; ///< what set_log_handler got
    std::vector<OPEN_DOMAIN_CALL> m_OpenCalls{};
    std::vector<std::string> m_Calls{}; ///< the names of the set-up functions and of an entity's registrations, in the
                                        ///< order of their calls
};

/// How controls answer.
struct CONTROL_SCRIPT {
    /// Results of the functions, by name and call: the first ones; every later call succeeds.
    std::map<std::string, std::deque<int>> m_Results{};
    bool m_bCompletesAtOnce = false;   ///< completions come before the request returns, not from the event loop
    int m_CompletionError = 0;         ///< what the completions tell
    bool m_bCompletesWithNull = false; ///< a read completes without settings
    bool m_bAllocFails = false;

    std::vector<std::string> m_Calls{}; ///< the names of the control and light functions, in the order of their calls
    std::vector<ipmi_light_setting_s> m_SetLights{}; ///< what every ipmi_control_set_light that succeeded set
};

/// Thrown out of perform_one_op when the loop was told to end; catch it around run().
struct LOOP_ENDED {};

class FAKE_OPENIPMI {
public:
    /// Forgets scripts, records, objects and outstanding replies. A thread in the event loop must be idle (see
    /// WaitUntilIdle); it stays there, asleep, for the rest of the process.
    void Reset();

    // Requests and replies. Without a matching row a request is answered with completion code 0xC1.
    /// The newest matching row answers.
    void OnRequest(BYTES a_Request, BYTES a_Reply, int a_Nth = 0);
    void OnRequest(BYTES a_Request, REPLIER a_Replier, int a_Nth = 0);
    void OnRequests(const std::vector<SCRIPTED_REPLY>& a_Rows);
    /// The request is taken and never answered.
    void LoseReply(BYTES a_Request, int a_Nth = 0);
    /// What ipmi_send_command_addr returns from now on. Not 0: the request is recorded, no reply comes.
    void SetSendResult(int a_Result);
    /// Off for endless conversations: Sent() then holds nothing more, SentCount() goes on counting.
    void RecordRequests(bool a_On);

    std::vector<SENT_REQUEST> Sent() const;
    /// Bytes() of every request, in order.
    std::vector<BYTES> SentBytes() const;
    std::size_t SentCount() const;
    /// Requests whose replies were neither delivered nor lost.
    std::size_t Outstanding() const;

    /// Delivers the reply to the oldest outstanding request: the scripted one, or these bytes. False: none outstanding.
    bool DeliverReply();
    bool DeliverReply(const BYTES& a_Reply);
    /// Delivers until nothing is outstanding, at most `a_Limit` replies; returns their number.
    std::size_t Run(std::size_t a_Limit = 1000000);
    /// Calls the request's trampoline with a reply item of these bytes; returns what the trampoline returns. Change a
    /// copy of a recorded request to deliver what OpenIPMI would not.
    static int Deliver(const SENT_REQUEST& a_Request, const BYTES& a_Reply);

    // Set-up, event loop and reports.
    SETUP_SCRIPT& Setup() { return m_Setup; }
    /// The domain that the fake opens.
    ipmi_domain_t* Domain() { return &m_Domain; }
    /// The connection that ipmi_smi_setup_con gives.
    ipmi_con_t* Connection() { return &m_Connection; }
    /// Something for perform_one_op to do, before any reply.
    void Post(std::function<void()> a_Event);
    /// perform_one_op throws LOOP_ENDED once there is nothing to do. Without it, it waits.
    void EndLoopWhenIdle(bool a_End = true);
    /// Waits until a thread in the event loop has nothing left to do.
    void WaitUntilIdle();

    // Objects that live until Reset.
    ipmi_entity_t* AddEntity(int a_Channel, int a_Address, int a_EntityID, int a_Instance, std::string a_Id);
    ipmi_mc_t* AddMC(unsigned a_Channel, unsigned a_Address, std::string a_Name);
    ipmi_control_t* AddControl(ipmi_entity_t* a_Entity, std::string a_Name, int a_Type);
    /// Gives the entity FRU data with these multirecords.
    ipmi_fru_t* AddFRU(ipmi_entity_t* a_Entity, std::vector<FAKE_MULTIRECORD> a_Records);

    // Controls: they do as they are told and complete from the event loop.
    CONTROL_SCRIPT& Controls() { return m_ControlScript; }

    // For the functions that stand for OpenIPMI's.
    int Send(SENT_REQUEST a_Request);
    void NoteCall(const char* a_Name);
    os_handler_t* MakeOsHandler();
    int PerformOneOp(os_handler_t* a_Handler);
    int OpenDomain(OPEN_DOMAIN_CALL a_Call);
    /// Notes the call of a control function; the result that the script has for it.
    int ControlCall(const char* a_Name);
    void CompleteControl(std::function<void()> a_Completion);
    ipmi_control_t* FindControl(const ipmi_control_id_t& a_Id);
    ipmi_light_setting_t* AllocLightSettings();

private:
    struct ROW {
        BYTES m_Request;
        REPLIER m_Replier;
        int m_Nth = 0;
        int m_Seen = 0;
    };

    std::optional<BYTES> ReplyTo(const SENT_REQUEST& a_Request);
    std::optional<std::pair<SENT_REQUEST, BYTES>> NextReply();
    [[noreturn]] void SleepForEver(std::unique_lock<std::mutex>& a_Guard);

    mutable std::mutex m_Guard;
    std::condition_variable m_Changed;
    std::condition_variable m_Never;
    std::vector<ROW> m_Rows;
    std::vector<SENT_REQUEST> m_Sent;
    std::size_t m_SentCount = 0;
    bool m_bRecordRequests = true;
    int m_SendResult = 0;
    std::deque<std::pair<SENT_REQUEST, BYTES>> m_Replies; ///< decided when the request was sent
    SETUP_SCRIPT m_Setup;
    std::deque<std::function<void()>> m_Events;
    bool m_bEndLoopWhenIdle = false;
    bool m_bIdle = false;
    std::intptr_t m_Generation = 0; ///< of the OS handlers; older ones sleep
    std::vector<std::unique_ptr<os_handler_t>> m_OsHandlers;
    ipmi_con_t m_Connection{};
    ipmi_domain_s m_Domain;
    std::deque<ipmi_entity_s> m_Entities;
    std::deque<ipmi_mc_s> m_MCs;
    std::deque<ipmi_control_s> m_Controls;
    std::deque<ipmi_fru_s> m_FRUs;
    std::deque<ipmi_light_setting_s> m_LightSettings;
    CONTROL_SCRIPT m_ControlScript;
};

/// The fake. Never destroyed: a domain thread may sleep in it until the process ends.
FAKE_OPENIPMI& Fake();
