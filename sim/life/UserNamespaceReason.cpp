// Why this machine gives an ordinary user no user namespace, in words for him.
#include "sim/life/UserNamespaceReason.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <optional>

namespace bladesim {
namespace {

/// A setting that forbids user namespaces while it has this value, and one with which it allows them.
struct Setting {
    const char* m_name;
    int64_t m_forbids;
    const char* m_allows;
};

// The first is Debian's, the last Ubuntu's; other kernels have neither.
constexpr Setting Settings[] = {
    {"kernel.unprivileged_userns_clone", 0, "1"},
    {"user.max_user_namespaces", 0, "1000"},
    {"kernel.apparmor_restrict_unprivileged_userns", 1, "0"},
};

std::optional<int64_t> ValueOf(const std::string& settings, std::string name) {
    std::ranges::replace(name, '.', '/');
    std::ifstream file(settings + "/" + name);
    int64_t value = 0;
    if (file >> value) return value;
    return std::nullopt;
}

std::string Forbidden(const Setting& setting) {
    const std::string name = setting.m_name;
    return name + " is " + std::to_string(setting.m_forbids) + "; root may allow them: sysctl -w " + name + "=" +
           setting.m_allows;
}

} // namespace

std::string WhyNoUserNamespace(int error, const std::string& settings) {
    for (const Setting& setting : Settings) {
        if (ValueOf(settings, setting.m_name) == setting.m_forbids) return Forbidden(setting);
    }
    if (error == ENOSPC) {
        const auto most = ValueOf(settings, "user.max_user_namespaces");
        return "all of user.max_user_namespaces" + (most ? " (" + std::to_string(*most) + ")" : "") +
               " are in use, or too many lie within each other";
    }
    if (error == EINVAL) return "this kernel is built without them";
    return "none of the kernel's settings forbids them, but a chroot does, and a container may";
}

} // namespace bladesim
