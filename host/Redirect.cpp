// Where the adaptor's own prints on standard output go.
#include "host/Redirect.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace BMHOST {

namespace {

int g_Withheld = -1; // a memory file, or -1

int Checked(int a_Result, const char* a_Operation) {
    if (a_Result < 0) throw std::system_error(errno, std::generic_category(), a_Operation);
    return a_Result;
}

int ReplaceStandardOutput(int a_Descriptor) {
    fflush(stdout);
    const int l_Real = Checked(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1), "keeping standard output");
    Checked(dup2(a_Descriptor, STDOUT_FILENO), "redirecting standard output");
    return l_Real;
}

} // namespace

int PrintsToStandardError() {
    return ReplaceStandardOutput(STDERR_FILENO);
}

int PrintsWithheld() {
    g_Withheld = Checked(memfd_create("bmhost-prints", MFD_CLOEXEC), "withholding the adaptor's prints");
    return ReplaceStandardOutput(g_Withheld);
}

void ShowWithheld() {
    if (g_Withheld < 0) return;
    std::array<char, 4096> l_Buffer{};
    off_t l_Offset = 0;
    ssize_t l_Read = 0;
    while ((l_Read = pread(g_Withheld, l_Buffer.data(), l_Buffer.size(), l_Offset)) > 0) {
        if (write(STDERR_FILENO, l_Buffer.data(), static_cast<std::size_t>(l_Read)) < 0) return;
        l_Offset += l_Read;
    }
}

} // namespace BMHOST
