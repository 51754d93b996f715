// An adaptor's library, loaded, and the adaptor in it.
#pragma once

#include "bm/BaseAdaptor.h"

#include <string>

namespace BMHOST {

/// Loads on construction, destroys the adaptor on destruction. The library stays: threads of the adaptor may be in it.
class PLUGIN {
public:
    /// @param a_File  the library; empty: the one installed with this program. Throws LOAD_ERROR.
    explicit PLUGIN(std::string a_File);
    PLUGIN(const PLUGIN&) = delete;
    PLUGIN& operator=(const PLUGIN&) = delete;
    ~PLUGIN();

    BM_ADAPTOR::CBaseAdaptor& Adaptor() { return *m_Adaptor; }

private:
    void* Symbol(const char* a_Name);

    std::string m_File;
    void* m_Library = nullptr;
    void (*m_Destroy)(void*) = nullptr;
    BM_ADAPTOR::CBaseAdaptor* m_Adaptor = nullptr;
};

} // namespace BMHOST
