// The smallest complete host: loads the adaptor, reads a table and a row, and releases it.
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

/// The host's side of the interface. A board manager keeps the registrations and passes events on; it may offer a
/// storage, which keeps addresses and port states.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final
class Host final : public IBMAdaptorMgr {
public:
    explicit Host(CBaseOsLog& log) : m_log(log) {}

    int RegisterGroup(unsigned, CBaseAdaptor*) override { return RESULT_OK; }
    int UnregisterGroup(unsigned) override { return RESULT_OK; }
    int RegisterEventClass(unsigned, CBaseAdaptor*) override { return RESULT_OK; }
    int UnregisterEventClass(unsigned) override { return RESULT_OK; }
    QUB_STORAGE::CDataStorage* GetStorage() override { return nullptr; }
    CBaseOsLog* GetLogger() override { return &m_log; }
    int GetMode() override { return HOST_MODE_LOOK_ONLY; }

    /// Called from any thread. The adaptor owns the parameters and deletes them.
    int SendEvent(unsigned event, unsigned number, CBMIEvParams*) override {
        std::fprintf(stderr, "event 0x%x number %u\n", event, number);
        return RESULT_OK;
    }

private:
    CBaseOsLog& m_log;
};

// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final
class HostLog final : public CBaseOsLog {
public:
    void Log(int level, const char* component, const char* text) override {
        std::fprintf(stderr, "<%d> [%s] %s\n", level, component, text);
    }
};

/// The adaptor, from CreateAdaptor to DestroyAdaptor and, within, from Init to Fin.
class Adaptor {
public:
    Adaptor(const char* file, IBMAdaptorMgr& host) {
        // Never closed: threads of the adaptor may run in it until the process ends.
        void* const library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) throw std::runtime_error(dlerror());
        const auto create = Entry<void* (*)()>(library, "CreateAdaptor");
        const auto destroy = Entry<void (*)(void*)>(library, "DestroyAdaptor");
        m_adaptor = {static_cast<CBaseAdaptor*>(create()), destroy};
        if (!m_adaptor) throw std::runtime_error("CreateAdaptor gave no adaptor");
        // Blocks until the hardware has answered.
        const int result = m_adaptor->Init(&host);
        if (result != RESULT_OK) throw std::runtime_error("Init: " + std::to_string(result));
    }
    Adaptor(const Adaptor&) = delete;
    Adaptor& operator=(const Adaptor&) = delete;
    ~Adaptor() { m_adaptor->Fin(); }

    CBaseAdaptor* operator->() const { return m_adaptor.get(); }

private:
    template <typename Function>
    static Function Entry(void* library, const char* name) {
        void* const entry = dlsym(library, name);
        if (entry == nullptr) throw std::runtime_error(dlerror());
        return reinterpret_cast<Function>(entry);
    }

    std::unique_ptr<CBaseAdaptor, void (*)(void*)> m_adaptor{nullptr, nullptr};
};

void Print(const CBMIParams& row) {
    for (int i = 0; i < row.GetSize(); ++i) {
        const CBMIParam& param = *row.Get(i);
        std::printf("  0x%x%s ", param.GetId(), param.IsKey() ? " (key)" : "");
        switch (param.GetType()) {
        case BMI_PARAM_BOOL:
            std::printf("%s\n", param.GetBool() ? "true" : "false");
            break;
        case BMI_PARAM_INT:
        case BMI_PARAM_UINT:
            std::printf("%d\n", param.GetInt());
            break;
        case BMI_PARAM_STRING:
            std::printf("%s\n", param.GetString().c_str());
            break;
        }
    }
}

/// Prints a whole table. Whatever the result, the caller owns the table that the adaptor made.
bool PrintTable(const Adaptor& adaptor, unsigned group) {
    CBMITable* made = nullptr;
    const int result = adaptor->GetParamTable(group, made);
    const std::unique_ptr<const CBMITable> table(made);
    std::printf("table 0x%x: %d\n", group, result);
    for (int i = 0; table && i < table->GetSize(); ++i)
        Print(*table->Get(i));
    return result == RESULT_OK;
}

/// Prints the row of the module in a bay, which the key selects.
bool PrintModule(const Adaptor& adaptor, int wanted) {
    CBMIParam bay(BMI_PARAM_INT, BMI_HW_AMC_BAY, true);
    bay.SetInt(wanted);
    CBMIKeys keys;
    keys.Add(bay);

    CBMIParams* made = nullptr;
    const int result = adaptor->ReadParams(BMI_GROUP_HARDWARE_AMC_TABLE, &keys, made);
    const std::unique_ptr<const CBMIParams> row(made);
    std::printf("AMC in bay %d: %d\n", wanted, result);
    if (row) Print(*row);
    return result == RESULT_OK;
}

std::optional<int> Number(std::string_view text) {
    const char* const textEnd = text.data() + text.size();
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), textEnd, number);
    if (error != std::errc() || end != textEnd) return std::nullopt;
    return number;
}

} // namespace

int main(int count, char** arguments) {
    const auto bay = count == 2 || count == 3 ? Number(arguments[1]) : std::nullopt;
    if (!bay) {
        std::fprintf(stderr, "usage: example_host BAY [PLUGIN]\n");
        return 2;
    }
    try {
        // The log must outlive every thread of the adaptor, and those run until the process ends.
        static HostLog log;
        Host host(log);
        const Adaptor adaptor(count == 3 ? arguments[2] : PLUGIN_FILE, host);
        const bool boardRead = PrintTable(adaptor, BMI_GROUP_HARDWARE_BOARD);
        const bool moduleRead = PrintModule(adaptor, *bay);
        return boardRead && moduleRead ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "example_host: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
