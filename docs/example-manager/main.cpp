// A host that takes a blade into service and keeps it there until a signal: Start, a storage of its own, events, a
// logger, and a controller that may go and come back. usage: example_manager STORAGE [PLUGIN]
#include "Controller.h"
#include "Host.h"
#include "Storage.h"

#include <ipmi_adaptor/Protocol.h>

#include <dlfcn.h>
#include <pthread.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

using namespace BM_ADAPTOR;

namespace {

/// Signals that end the host. They are blocked before any thread starts, so that no thread of the adaptor gets them.
sigset_t BlockSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

template <typename Function>
Function Entry(void* library, const char* name) {
    void* const entry = dlsym(library, name);
    if (entry == nullptr) throw std::runtime_error(dlerror());
    return reinterpret_cast<Function>(entry);
}

using Adaptor = std::unique_ptr<CBaseAdaptor, void (*)(void*)>;

Adaptor Load(const char* file) {
    // Never closed: threads of the adaptor may run in it until the process ends.
    void* const library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw std::runtime_error(dlerror());
    const auto create = Entry<void* (*)()>(library, "CreateAdaptor");
    return {static_cast<CBaseAdaptor*>(create()), Entry<void (*)(void*)>(library, "DestroyAdaptor")};
}

/// The result of Start or Stop with the protocol's name.
std::string NameOf(int result) {
    if (result == RESULT_OK) return "1";
    const auto* const found = std::find_if(g_StartupResultNames.begin(), g_StartupResultNames.end(),
                                           [&](const RESULT_NAME& name) { return name.m_Result == result; });
    return found != g_StartupResultNames.end() ? std::string(found->m_Name) : std::to_string(result);
}

/// The blade is in service from here until a signal comes.
bool Serve(CBaseAdaptor& adaptor, const sigset_t& signals) {
    const int started = adaptor.Start(nullptr);
    Say("start: " + NameOf(started));
    if (started == RESULT_OK) {
        const ControllerWatch watch(adaptor);
        int signal = 0;
        sigwait(&signals, &signal);
    }
    const int stopped = adaptor.Stop(nullptr);
    Say("stop: " + NameOf(stopped));
    return started == RESULT_OK && stopped == RESULT_OK;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2 && count != 3) {
        std::fprintf(stderr, "usage: example_manager STORAGE [PLUGIN]\n");
        return 2;
    }
    try {
        const sigset_t signals = BlockSignals();
        // All three must outlive every thread of the adaptor, and those run until the process ends.
        static HostLog log;
        static Storage storage(arguments[1]);
        static Host host(log, storage);
        const Adaptor adaptor = Load(count == 3 ? arguments[2] : PLUGIN_FILE);
        if (!adaptor) throw std::runtime_error("CreateAdaptor gave no adaptor");
        const int result = adaptor->Init(&host); // blocks until the hardware has answered
        Say("init: " + std::to_string(result));
        if (result != RESULT_OK) return EXIT_FAILURE;
        const bool good = Serve(*adaptor, signals);
        adaptor->Fin();
        return good ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "example_manager: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
