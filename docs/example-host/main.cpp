// A complete host, as small as it can be: loads the adaptor, reads a table and a row, lets it go.
// usage: example_host BAY [PLUGIN]
#include <bm/BaseAdaptor.h>
#include <bm/Log.h>
#include <ipmi_adaptor/Protocol.h> // every group, parameter and result; tables.md explains them

#include <dlfcn.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

using namespace BM_ADAPTOR;

namespace {

constexpr int g_LookOnly = 2; // in modes 1 and 3 the adaptor touches the board

/// What the host offers to its adaptor. A board manager keeps the registrations and passes events on; it may give its
/// own storage, in which addresses and port states are kept.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final
class HOST final : public IBMAdaptorMgr {
public:
    explicit HOST(CBaseOsLog& a_Log) : m_Log(a_Log) {}

    int RegisterGroup(unsigned, CBaseAdaptor*) override { return RESULT_OK; }
    int UnregisterGroup(unsigned) override { return RESULT_OK; }
    int RegisterEventClass(unsigned, CBaseAdaptor*) override { return RESULT_OK; }
    int UnregisterEventClass(unsigned) override { return RESULT_OK; }
    QUB_STORAGE::CDataStorage* GetStorage() override { return nullptr; }
    CBaseOsLog* GetLogger() override { return &m_Log; }
    int GetMode() override { return g_LookOnly; }

    /// Called from any thread; the parameters stay the adaptor's.
    int SendEvent(unsigned a_Event, unsigned a_Number, CBMIEvParams*) override {
        std::fprintf(stderr, "event 0x%x number %u\n", a_Event, a_Number);
        return RESULT_OK;
    }

private:
    CBaseOsLog& m_Log;
};

// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final
class LOG final : public CBaseOsLog {
public:
    void Log(int a_Level, const char* a_Component, const char* a_Text) override {
        std::fprintf(stderr, "<%d> [%s] %s\n", a_Level, a_Component, a_Text);
    }
};

/// The adaptor, from CreateAdaptor to DestroyAdaptor and, within, from Init to Fin.
class ADAPTOR {
public:
    ADAPTOR(const char* a_File, IBMAdaptorMgr& a_Host) {
        // Never closed: threads of the adaptor may run in it until the process ends.
        void* const l_Library = dlopen(a_File, RTLD_NOW | RTLD_LOCAL);
        if (l_Library == nullptr) throw std::runtime_error(dlerror());
        const auto l_Create = Entry<void* (*)()>(l_Library, "CreateAdaptor");
        const auto l_Destroy = Entry<void (*)(void*)>(l_Library, "DestroyAdaptor");
        m_Adaptor = {static_cast<CBaseAdaptor*>(l_Create()), l_Destroy};
        if (!m_Adaptor) throw std::runtime_error("CreateAdaptor gave no adaptor");
        // Blocks until the hardware has answered.
        const int l_Result = m_Adaptor->Init(&a_Host);
        if (l_Result != RESULT_OK) throw std::runtime_error("Init: " + std::to_string(l_Result));
    }
    ADAPTOR(const ADAPTOR&) = delete;
    ADAPTOR& operator=(const ADAPTOR&) = delete;
    ~ADAPTOR() { m_Adaptor->Fin(); }

    CBaseAdaptor* operator->() const { return m_Adaptor.get(); }

private:
    template <typename FUNCTION>
    static FUNCTION Entry(void* a_Library, const char* a_Name) {
        void* const l_Entry = dlsym(a_Library, a_Name);
        if (l_Entry == nullptr) throw std::runtime_error(dlerror());
        return reinterpret_cast<FUNCTION>(l_Entry);
    }

    std::unique_ptr<CBaseAdaptor, void (*)(void*)> m_Adaptor{nullptr, nullptr};
};

void Print(const CBMIParams& a_Row) {
    for (int i = 0; i < a_Row.GetSize(); ++i) {
        const CBMIParam& l_Param = *a_Row.Get(i);
        std::printf("  0x%x%s ", l_Param.GetId(), l_Param.IsKey() ? " (key)" : "");
        switch (l_Param.GetType()) {
        case BMI_PARAM_BOOL:
            std::printf("%s\n", l_Param.GetBool() ? "true" : "false");
            break;
        case BMI_PARAM_INT:
        case BMI_PARAM_UINT:
            std::printf("%d\n", l_Param.GetInt());
            break;
        case BMI_PARAM_STRING:
            std::printf("%s\n", l_Param.GetString().c_str());
            break;
        }
    }
}

/// A whole table. Whatever the result, what the adaptor made is the caller's.
bool PrintTable(const ADAPTOR& a_Adaptor, unsigned a_Group) {
    CBMITable* l_Made = nullptr;
    const int l_Result = a_Adaptor->GetParamTable(a_Group, l_Made);
    const std::unique_ptr<const CBMITable> l_Table(l_Made);
    std::printf("table 0x%x: %d\n", a_Group, l_Result);
    for (int i = 0; l_Table && i < l_Table->GetSize(); ++i)
        Print(*l_Table->Get(i));
    return l_Result == RESULT_OK;
}

/// The row of the module in a bay: the key selects it.
bool PrintModule(const ADAPTOR& a_Adaptor, int a_Bay) {
    CBMIParam l_Bay(BMI_PARAM_INT, BMI_HW_AMC_BAY, true);
    l_Bay.SetInt(a_Bay);
    CBMIKeys l_Keys;
    l_Keys.Add(l_Bay);

    CBMIParams* l_Made = nullptr;
    const int l_Result = a_Adaptor->ReadParams(BMI_GROUP_HARDWARE_AMC_TABLE, &l_Keys, l_Made);
    const std::unique_ptr<const CBMIParams> l_Row(l_Made);
    std::printf("AMC in bay %d: %d\n", a_Bay, l_Result);
    if (l_Row) Print(*l_Row);
    return l_Result == RESULT_OK;
}

std::optional<int> Number(std::string_view a_Text) {
    const char* const l_TextEnd = a_Text.data() + a_Text.size();
    int l_Number = 0;
    const auto [l_End, l_Error] = std::from_chars(a_Text.data(), l_TextEnd, l_Number);
    if (l_Error != std::errc() || l_End != l_TextEnd) return std::nullopt;
    return l_Number;
}

} // namespace

int main(int a_Count, char** a_Arguments) {
    const auto l_Bay = a_Count == 2 || a_Count == 3 ? Number(a_Arguments[1]) : std::nullopt;
    if (!l_Bay) {
        std::fprintf(stderr, "usage: example_host BAY [PLUGIN]\n");
        return 2;
    }
    try {
        // The log has to outlive every thread of the adaptor, and those end with the process.
        static LOG s_Log;
        HOST l_Host(s_Log);
        const ADAPTOR l_Adaptor(a_Count == 3 ? a_Arguments[2] : PLUGIN_FILE, l_Host);
        const bool l_BoardRead = PrintTable(l_Adaptor, BMI_GROUP_HARDWARE_BOARD);
        const bool l_ModuleRead = PrintModule(l_Adaptor, *l_Bay);
        return l_BoardRead && l_ModuleRead ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& l_Error) {
        std::fprintf(stderr, "example_host: %s\n", l_Error.what());
        return EXIT_FAILURE;
    }
}
