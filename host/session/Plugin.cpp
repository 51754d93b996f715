// An adaptor's loaded library, and the adaptor from it.
#include "host/session/Plugin.h"

#include "host/session/EndNotice.h"
#include "host/words/Error.h"

#include <dlfcn.h>
#include <exception>
#include <filesystem>
#include <memory>
#include <system_error>

namespace bmhost {

namespace {

constexpr const char* LibraryName = "libipmi_adaptor.so";

// Relative to this program: in the lib of a build folder, or under the same prefix as the program; otherwise by the
// loader's own search.
std::string DefaultLibrary() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    const auto prefix = program.parent_path().parent_path();
    for (const char* const folder : {"lib", BMHOST_PLUGIN_FOLDER}) {
        const auto file = prefix / folder / LibraryName;
        if (std::filesystem::exists(file, error)) return file;
    }
    return LibraryName;
}

std::string LastError() {
    const char* text = dlerror();
    return text != nullptr ? text : "unknown error";
}

struct CloseLibrary {
    void operator()(void* library) const { dlclose(library); }
};

} // namespace

Plugin::Plugin(std::string file) : m_file(file.empty() ? DefaultLibrary() : std::move(file)) {
    // A file name without a folder means the current folder, not the loader's path.
    std::error_code ignored;
    const bool isFile = std::filesystem::exists(m_file, ignored);
    if (!isFile && m_file != LibraryName) throw LoadError("adaptor " + m_file + ": no such file");
    const std::string path = isFile ? std::filesystem::absolute(m_file).string() : m_file;
    const CallUnderWay loading("loading");
    m_library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_library == nullptr) throw LoadError("adaptor " + m_file + ": not a loadable library: " + LastError());
    std::unique_ptr<void, CloseLibrary> guard(m_library);
    auto* create = reinterpret_cast<void* (*)()>(Symbol("CreateAdaptor"));
    m_destroy = reinterpret_cast<void (*)(void*)>(Symbol("DestroyAdaptor"));
    try {
        m_adaptor = static_cast<BM_ADAPTOR::CBaseAdaptor*>(create());
    } catch (const std::exception& error) {
        throw LoadError("adaptor " + m_file + ": CreateAdaptor failed: " + error.what());
    } catch (...) {
        throw LoadError("adaptor " + m_file + ": CreateAdaptor failed");
    }
    if (m_adaptor == nullptr) throw LoadError("adaptor " + m_file + ": CreateAdaptor gave no adaptor");
    guard.release();
}

Plugin::~Plugin() {
    const CallUnderWay destroying("DestroyAdaptor");
    m_destroy(m_adaptor);
}

void* Plugin::Symbol(const char* name) {
    dlerror();
    void* symbol = dlsym(m_library, name);
    if (symbol == nullptr) {
        throw LoadError("adaptor " + m_file + ": no adaptor: it does not export " + name);
    }
    return symbol;
}

} // namespace bmhost
