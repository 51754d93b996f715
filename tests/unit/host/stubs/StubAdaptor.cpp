// An adaptor without hardware: it answers a few groups; its variant says what it does in Init, Start, Stop, a read or
// on creation. Every call leaves a line "[stub] …" in the log.
#include "host/stubs/StubGroups.h"
#include "host/stubs/Variant.h"

#include "bm/BaseAdaptor.h"
#include "bm/Log.h"
#include "bm/OSAL.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

using namespace BM_ADAPTOR;

void Print() {
    printf("printed with stdio \x1B[31m\n");
    printf("an unfinished line");
}

// An event, a fault that the health monitor finds, and the end.
int SendAndFault(IBMAdaptorMgr* manager) {
    CBMIEvParams params;
    for (const auto& [id, value] : {std::pair{BMI_HW_AMC_RUN_STATUS, int{RUN_STATUS_RUNNING}}, {BMI_HW_AMC_BAY, 3}}) {
        CBMIParam param(BMI_PARAM_INT, id, id == BMI_HW_AMC_BAY);
        param.SetInt(value);
        params.Add(param);
    }
    manager->SendEvent(BMI_EVENT_AMC_RUN_STATUS, BMI_EVENT_NUMBER, &params);
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "%s", MONITOR_STARTED_TEXT);
    printf("the report\n");
    bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD, "AMC failed");
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "%s", MONITOR_STOPPED_TEXT);
    kill(getpid(), SIGTERM);
    return 1;
}

int Do(Act act, IBMAdaptorMgr* manager = nullptr) {
    switch (act) {
    case Act::Nothing:
        return 1;
    case Act::Fail:
        return 0;
    case Act::Print:
        Print();
        return 1;
    case Act::PrintAndExit:
        Print();
        exit(1);
    case Act::Exit:
        exit(1);
    case Act::ExitElsewhere:
        std::thread([] { exit(5); }).join();
        return 1;
    case Act::Hang: {
        OSAL::OSALMutex mutex;
        mutex.Lock();
        mutex.Lock();
        return 1;
    }
    case Act::Throw:
        throw std::runtime_error("no controller");
    case Act::ThrowNumber:
        throw 5;
    case Act::Abort:
        abort();
    case Act::RunTool: // one that reads all of its input, and prints
        return system("cat; echo printed by a tool") == 0 ? 1 : 0;
    case Act::ToolInterrupts: // interrupts the host, once it waits for the tool; then a signal has to end the tool
        return WTERMSIG(system("sleep 0.3; kill -INT $PPID; sleep 0.3; kill -TERM $$; exit 7")) == SIGTERM ? 1 : 0;
    case Act::ToolFails:
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to initialize DSP");
        return system("echo the tool says why; exit 2") == 0 ? 1 : 0;
    case Act::ToolOutgrows: // a file that cannot grow: SIGXFSZ has to end the tool, as without this host
        return WEXITSTATUS(
                   system("f=$(mktemp) || exit; (ulimit -c 0; ulimit -f 0; echo x >$f); s=$?; rm $f; exit $s")) ==
                       128 + SIGXFSZ
                   ? 1
                   : 0;
    case Act::SendAndFault:
        return SendAndFault(manager);
    }
    return 0;
}

CBMIParam Text(unsigned id, const std::string& text) {
    CBMIParam param(BMI_PARAM_STRING, id, false);
    param.SetString(text);
    return param;
}

class StubAdaptor final : public CBaseAdaptor {
public:
    int Init(IBMAdaptorMgr* manager) override {
        Note("Init");
        m_manager = manager;
        m_manager->RegisterGroup(StubEcho, this);
        m_manager->RegisterEventClass(BMI_EVENT_CLASS, this);
        return Do(TheVariant.m_init);
    }

    int Fin() override {
        Note("Fin");
        return 1;
    }

    int Start(structBmiDeviceInfoType*) override {
        Note("Start");
        return Do(TheVariant.m_start, m_manager);
    }

    int Stop(structBmiDeviceInfoType*) override {
        Note("Stop");
        return Do(TheVariant.m_stop);
    }

    int ReadParams(unsigned group, const CBMIKeys* keys, CBMIParams*& row) override {
        Note("Read");
        row = nullptr;
        if (group == StubNotFound) return RESULT_NOT_FOUND;
        if (group != StubEcho || Do(TheVariant.m_read) != 1) return 0;
        row = new CBMIParams(*keys);
        return 1;
    }

    // Every parameter becomes one of an event, keys first; from a thread of the adaptor when the group says so.
    int WriteParams(unsigned group, CBMIKeys* keys, CBMIParams* values) override {
        Note("Write");
        if (group == StubUpgrade) return Upgrade(*values);
        if (group != StubEcho && group != StubEventLater) return RESULT_NO_VALUE;
        CBMIEvParams params;
        for (const CBMIParams* row : {static_cast<CBMIParams*>(keys), values}) {
            for (int i = 0; i < row->GetSize(); ++i)
                params.Add(*row->Get(i));
        }
        if (m_manager == nullptr) return 0;
        auto send = [manager = m_manager, params]() mutable {
            manager->SendEvent(BMI_EVENT_AMC_RUN_STATUS, BMI_EVENT_NUMBER, &params);
        };
        if (group == StubEcho) {
            send();
        } else {
            std::thread(send).detach();
        }
        return 1;
    }

    int CreateParams(unsigned, const CBMIKeys*, CBMIParams*) override { return 0; }
    int DeleteParams(unsigned, const CBMIKeys*) override { return 1; }

    int GetParamTable(unsigned group, CBMITable*& table) override {
        Note("Table");
        if (group != StubEcho && group != StubNotFound) return 0;
        table = new CBMITable;
        if (group == StubNotFound) return RESULT_NOT_FOUND;
        for (const char* text : {"one", "\x1B[31mtwo\xE9 "}) {
            CBMIParams row;
            row.Add(Text(StubText, text));
            table->AddRow(row);
        }
        return 1;
    }

    int ProcessEvent(unsigned, CBMIEvParams*) override { return 1; }

private:
    int Upgrade(const CBMIParams& values) {
        std::ifstream stream(values.GetParamById(BMI_FW_UPDATE_FILE)->GetString());
        const std::string image((std::istreambuf_iterator<char>(stream)), {});
        if (image.find("refused") != std::string::npos) return 0;
        CBMIEvParams params;
        for (const unsigned id : {BMI_FW_UPDATE_TARGET, BMI_FW_UPDATE_BAY})
            params.Add(*values.GetParamById(id));
        CBMIParam state(BMI_PARAM_UINT, BMI_FW_UPDATE_STATE, false);
        state.SetInt(image.find("bad") != std::string::npos ? UPGRADE_FAILED : UPGRADE_DONE);
        params.Add(state);
        printf("the firmware tool's words\n");
        std::thread([manager = m_manager, params]() mutable {
            manager->SendEvent(StubUpgrade, BMI_EVENT_NUMBER, &params);
        }).detach();
        return 1;
    }

    static void Note(const char* call) { bmiLog(BM_LOG_ERROR, "stub", "%s", call); }

    IBMAdaptorMgr* m_manager = nullptr;
};

} // namespace

void* CreateStub() {
    return Do(TheVariant.m_create) == 1 ? static_cast<CBaseAdaptor*>(new StubAdaptor) : nullptr;
}

void DestroyStub(void* adaptor) {
    bmiLog(BM_LOG_ERROR, "stub", "Destroy");
    delete static_cast<StubAdaptor*>(static_cast<CBaseAdaptor*>(adaptor));
}
