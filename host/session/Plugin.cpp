// An adaptor's library, loaded, and the adaptor in it.
#include "host/session/Plugin.h"

#include "host/session/EndNotice.h"
#include "host/words/Error.h"

#include <dlfcn.h>
#include <exception>
#include <filesystem>
#include <memory>
#include <system_error>

namespace BMHOST {

namespace {

constexpr const char* DEFAULT_LIBRARY = "libipmi_adaptor.so";

// Beside this program: in a build folder's lib, or where it is installed under the same prefix; else the loader's own
// way.
std::string DefaultLibrary() {
    std::error_code l_Error;
    const auto l_Program = std::filesystem::read_symlink("/proc/self/exe", l_Error);
    const auto l_Prefix = l_Program.parent_path().parent_path();
    for (const char* const l_Folder : {"lib", BMHOST_PLUGIN_FOLDER}) {
        const auto l_File = l_Prefix / l_Folder / DEFAULT_LIBRARY;
        if (std::filesystem::exists(l_File, l_Error)) return l_File;
    }
    return DEFAULT_LIBRARY;
}

std::string LastError() {
    const char* l_Text = dlerror();
    return l_Text != nullptr ? l_Text : "unknown error";
}

struct CLOSE_LIBRARY {
    void operator()(void* a_Library) const { dlclose(a_Library); }
};

} // namespace

PLUGIN::PLUGIN(std::string a_File) : m_File(a_File.empty() ? DefaultLibrary() : std::move(a_File)) {
    // A file name without a folder is looked for here, not on the loader's path.
    std::error_code l_Ignored;
    const bool l_IsFile = std::filesystem::exists(m_File, l_Ignored);
    if (!l_IsFile && m_File != DEFAULT_LIBRARY) throw LOAD_ERROR("adaptor " + m_File + ": no such file");
    const std::string l_Path = l_IsFile ? std::filesystem::absolute(m_File).string() : m_File;
    const CALL_UNDER_WAY l_Loading("loading");
    m_Library = dlopen(l_Path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_Library == nullptr) throw LOAD_ERROR("adaptor " + m_File + ": not a loadable library: " + LastError());
    std::unique_ptr<void, CLOSE_LIBRARY> l_Guard(m_Library);
    auto* l_Create = reinterpret_cast<void* (*)()>(Symbol("CreateAdaptor"));
    m_Destroy = reinterpret_cast<void (*)(void*)>(Symbol("DestroyAdaptor"));
    try {
        m_Adaptor = static_cast<BM_ADAPTOR::CBaseAdaptor*>(l_Create());
    } catch (const std::exception& l_Error) {
        throw LOAD_ERROR("adaptor " + m_File + ": CreateAdaptor failed: " + l_Error.what());
    } catch (...) {
        throw LOAD_ERROR("adaptor " + m_File + ": CreateAdaptor failed");
    }
    if (m_Adaptor == nullptr) throw LOAD_ERROR("adaptor " + m_File + ": CreateAdaptor gave no adaptor");
    l_Guard.release();
}

PLUGIN::~PLUGIN() {
    const CALL_UNDER_WAY l_Destroying("DestroyAdaptor");
    m_Destroy(m_Adaptor);
}

void* PLUGIN::Symbol(const char* a_Name) {
    dlerror();
    void* l_Symbol = dlsym(m_Library, a_Name);
    if (l_Symbol == nullptr) {
        throw LOAD_ERROR("adaptor " + m_File + ": no adaptor: it does not export " + a_Name);
    }
    return l_Symbol;
}

} // namespace BMHOST
