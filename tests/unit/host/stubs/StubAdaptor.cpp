// An adaptor without hardware: it answers a few groups, and does on Init, Stop or creation what its variant was built
// for. Every call leaves a line "[stub] …" in the log.
#include "host/stubs/StubGroups.h"

#include "bm/BaseAdaptor.h"
#include "bm/Log.h"
#include "bm/OSAL.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

#ifndef STUB_CREATE
#define STUB_CREATE Nothing
#endif
#ifndef STUB_INIT
#define STUB_INIT Nothing
#endif
#ifndef STUB_START
#define STUB_START Nothing
#endif
#ifndef STUB_STOP
#define STUB_STOP Nothing
#endif

namespace {

using namespace BM_ADAPTOR;

enum class ACT {
    Nothing,
    Fail,
    Print,
    PrintAndExit,
    Exit,
    ExitElsewhere,
    Hang,
    Throw,
    ThrowNumber,
    Abort,
    RunTool,
    ToolInterrupts,
    ToolFails,
    ToolOutgrows,
    SendAndFault
};

void Print() {
    printf("printed with stdio \x1B[31m\n");
    printf("an unfinished line");
}

// An event, a fault that the health monitor finds, and the end.
int SendAndFault(IBMAdaptorMgr* a_Manager) {
    CBMIEvParams l_Params;
    for (const auto& [l_Id, l_Value] : {std::pair{0x30208U, 4}, {0x30201U, 3}}) {
        CBMIParam l_Param(BMI_PARAM_INT, l_Id, l_Id == 0x30201U);
        l_Param.SetInt(l_Value);
        l_Params.Add(l_Param);
    }
    a_Manager->SendEvent(0x70402, 5, &l_Params);
    bmiLog(BM_LOG_ERROR, "IPMI Adaptor", "Monitor Thread started");
    printf("the report\n");
    bmiLog(BM_LOG_ERROR, "Monitor Thread", "AMC failed");
    bmiLog(BM_LOG_ERROR, "IPMI Adaptor", "Monitor Thread stopped");
    kill(getpid(), SIGTERM);
    return 1;
}

int Do(ACT a_Act, IBMAdaptorMgr* a_Manager = nullptr) {
    switch (a_Act) {
    case ACT::Nothing:
        return 1;
    case ACT::Fail:
        return 0;
    case ACT::Print:
        Print();
        return 1;
    case ACT::PrintAndExit:
        Print();
        exit(1);
    case ACT::Exit:
        exit(1);
    case ACT::ExitElsewhere:
        std::thread([] { exit(5); }).join();
        return 1;
    case ACT::Hang: {
        OSAL::OSALMutex l_Mutex;
        l_Mutex.Lock();
        l_Mutex.Lock();
        return 1;
    }
    case ACT::Throw:
        throw std::runtime_error("no controller");
    case ACT::ThrowNumber:
        throw 5;
    case ACT::Abort:
        abort();
    case ACT::RunTool: // one that reads all of its input, and prints
        return system("cat; echo printed by a tool") == 0 ? 1 : 0;
    case ACT::ToolInterrupts: // the host, once it waits for the tool; then a signal has to end the tool
        return WTERMSIG(system("sleep 0.3; kill -INT $PPID; sleep 0.3; kill -TERM $$; exit 7")) == SIGTERM ? 1 : 0;
    case ACT::ToolFails:
        return system("echo the tool says why; exit 2") == 0 ? 1 : 0;
    case ACT::ToolOutgrows: // a file that may not grow: SIGXFSZ has to end the tool, as without this host
        return WEXITSTATUS(
                   system("f=$(mktemp) || exit; (ulimit -c 0; ulimit -f 0; echo x >$f); s=$?; rm $f; exit $s")) ==
                       128 + SIGXFSZ
                   ? 1
                   : 0;
    case ACT::SendAndFault:
        return SendAndFault(a_Manager);
    }
    return 0;
}

CBMIParam Text(unsigned a_Id, const std::string& a_Text) {
    CBMIParam l_Param(BMI_PARAM_STRING, a_Id, false);
    l_Param.SetString(a_Text);
    return l_Param;
}

class STUB_ADAPTOR final : public CBaseAdaptor {
public:
    int Init(IBMAdaptorMgr* a_Manager) override {
        Note("Init");
        m_Manager = a_Manager;
        m_Manager->RegisterGroup(STUB_ECHO, this);
        m_Manager->RegisterEventClass(5, this);
        return Do(ACT::STUB_INIT);
    }

    int Fin() override {
        Note("Fin");
        return 1;
    }

    int Start(structBmiDeviceInfoType*) override {
        Note("Start");
        return Do(ACT::STUB_START, m_Manager);
    }

    int Stop(structBmiDeviceInfoType*) override {
        Note("Stop");
        return Do(ACT::STUB_STOP);
    }

    int ReadParams(unsigned a_Group, const CBMIKeys* a_Keys, CBMIParams*& a_Row) override {
        Note("Read");
        a_Row = nullptr;
        if (a_Group == STUB_NOT_FOUND) return 12;
        if (a_Group != STUB_ECHO) return 0;
        a_Row = new CBMIParams(*a_Keys);
        return 1;
    }

    // Every parameter becomes one of an event, keys first; from a thread of the adaptor when the group says so.
    int WriteParams(unsigned a_Group, CBMIKeys* a_Keys, CBMIParams* a_Values) override {
        Note("Write");
        if (a_Group == STUB_UPGRADE) return Upgrade(*a_Values);
        if (a_Group != STUB_ECHO && a_Group != STUB_EVENT_LATER) return 23;
        CBMIEvParams l_Params;
        for (const CBMIParams* l_Row : {static_cast<CBMIParams*>(a_Keys), a_Values}) {
            for (int i = 0; i < l_Row->GetSize(); ++i)
                l_Params.Add(*l_Row->Get(i));
        }
        if (m_Manager == nullptr) return 0;
        auto l_Send = [l_Manager = m_Manager, l_Params]() mutable { l_Manager->SendEvent(0x70402, 5, &l_Params); };
        if (a_Group == STUB_ECHO) {
            l_Send();
        } else {
            std::thread(l_Send).detach();
        }
        return 1;
    }

    int CreateParams(unsigned, const CBMIKeys*, CBMIParams*) override { return 0; }
    int DeleteParams(unsigned, const CBMIKeys*) override { return 1; }

    int GetParamTable(unsigned a_Group, CBMITable*& a_Table) override {
        Note("Table");
        if (a_Group != STUB_ECHO && a_Group != STUB_NOT_FOUND) return 0;
        a_Table = new CBMITable;
        if (a_Group == STUB_NOT_FOUND) return 12;
        for (const char* l_Text : {"one", "\x1B[31mtwo\xE9 "}) {
            CBMIParams l_Row;
            l_Row.Add(Text(STUB_TEXT, l_Text));
            a_Table->AddRow(l_Row);
        }
        return 1;
    }

    int ProcessEvent(unsigned, CBMIEvParams*) override { return 1; }

private:
    int Upgrade(const CBMIParams& a_Values) {
        const std::string l_File = a_Values.GetParamById(0x605)->GetString();
        if (l_File.find("refused") != std::string::npos) return 0;
        CBMIEvParams l_Params;
        for (const unsigned l_Id : {0x601U, 0x606U})
            l_Params.Add(*a_Values.GetParamById(l_Id));
        CBMIParam l_State(BMI_PARAM_UINT, 0x602, false);
        l_State.SetInt(l_File.find("bad") != std::string::npos ? 3 : 2);
        l_Params.Add(l_State);
        printf("the firmware tool's words\n");
        std::thread([l_Manager = m_Manager, l_Params]() mutable {
            l_Manager->SendEvent(STUB_UPGRADE, 5, &l_Params);
        }).detach();
        return 1;
    }

    static void Note(const char* a_Call) { bmiLog(BM_LOG_ERROR, "stub", "%s", a_Call); }

    IBMAdaptorMgr* m_Manager = nullptr;
};

} // namespace

#define STUB_EXPORT extern "C" __attribute__((visibility("default")))

#ifndef STUB_NO_CREATE
STUB_EXPORT void* CreateAdaptor() {
    Do(ACT::STUB_CREATE);
#ifdef STUB_NO_ADAPTOR
    return nullptr;
#else
    return static_cast<CBaseAdaptor*>(new STUB_ADAPTOR);
#endif
}
#endif

#ifndef STUB_NO_DESTROY
STUB_EXPORT void DestroyAdaptor(void* a_Adaptor) {
    bmiLog(BM_LOG_ERROR, "stub", "Destroy");
    delete static_cast<STUB_ADAPTOR*>(static_cast<CBaseAdaptor*>(a_Adaptor));
}
#endif
