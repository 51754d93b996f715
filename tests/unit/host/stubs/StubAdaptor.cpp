// An adaptor without hardware: it answers a few groups, and does on Init, Stop or creation what its variant was built
// for. Every call leaves a line "[stub] …" in the log.
#include "host/stubs/StubGroups.h"

#include "bm/BaseAdaptor.h"
#include "bm/Log.h"
#include "bm/OSAL.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#ifndef STUB_CREATE
#define STUB_CREATE Nothing
#endif
#ifndef STUB_INIT
#define STUB_INIT Nothing
#endif
#ifndef STUB_STOP
#define STUB_STOP Nothing
#endif

namespace {

using namespace BM_ADAPTOR;

enum class ACT { Nothing, Fail, Print, PrintAndExit, Exit, ExitElsewhere, Hang, Throw, ThrowNumber, Abort, RunTool };

void Print() {
    printf("printed with stdio \x1B[31m\n");
    printf("an unfinished line");
}

int Do(ACT a_Act) {
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
        return 1;
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
