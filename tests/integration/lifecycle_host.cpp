// A host that loads the adaptor, brings the blade into service, takes it out again and unloads the adaptor, once for
// each line of its standard input. Prints each cycle's results and the bytes that the heap holds after it, as JSON.
//
// usage: lifecycle_host PLUGIN STORAGE
#include "common/veldo_common_protocol.h"
#include "tests/DrivingHost.h"

#include "bm/BaseAdaptor.h"

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>

#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

using namespace BM_ADAPTOR;

namespace {

template <typename FUNCTION>
FUNCTION Entry(void* library, const char* name) {
    return reinterpret_cast<FUNCTION>(::dlsym(library, name));
}

/// The results of the lifecycle calls, in their order; empty when the adaptor cannot be loaded.
std::string Cycle(const char* plugin, DrivingHost& host) {
    void* const library = ::dlopen(plugin, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return "";
    auto* const adaptor = static_cast<CBaseAdaptor*>(Entry<void* (*)()>(library, "CreateAdaptor")());
    std::string results;
    for (const int result : {adaptor->Init(&host), adaptor->Start(nullptr), adaptor->Stop(nullptr), adaptor->Fin()})
        results += (results.empty() ? "" : ", ") + std::to_string(result);
    Entry<void (*)(void*)>(library, "DestroyAdaptor")(adaptor);
    ::dlclose(library);
    return results;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3) return 2;
    // The adaptor and its tools print on standard output; the lines of JSON are to be alone.
    const int out = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (out < 0 || nowhere < 0 || ::dup2(nowhere, STDOUT_FILENO) < 0) return 1;
    auto& host = *new DrivingHost(arguments[2]); // never destroyed: the domain thread logs as long as the process lives
    for (std::string line; std::getline(std::cin, line);) {
        const std::string results = Cycle(arguments[1], host);
        ::dprintf(out,
                  R"({"results": [%s], "used": %zu})"
                  "\n",
                  results.c_str(), ::mallinfo2().uordblks);
    }
    return 0;
}
