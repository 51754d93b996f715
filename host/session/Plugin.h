// An adaptor's loaded library, and the adaptor from it.
#pragma once

#include "bm/BaseAdaptor.h"

#include <string>

namespace bmhost {

/// Loads on construction, destroys the adaptor on destruction. The library stays loaded: threads of the adaptor may be
/// running in it.
class Plugin {
public:
    /// @param file  the library; empty: the one installed with this program. Throws LoadError.
    explicit Plugin(std::string file);
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;
    ~Plugin();

    BM_ADAPTOR::CBaseAdaptor& Adaptor() { return *m_adaptor; }
    const std::string& File() const { return m_file; }

private:
    void* Symbol(const char* name);

    std::string m_file;
    void* m_library = nullptr;
    void (*m_destroy)(void*) = nullptr;
    BM_ADAPTOR::CBaseAdaptor* m_adaptor = nullptr;
};

} // namespace bmhost
