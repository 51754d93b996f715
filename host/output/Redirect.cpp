// The standard descriptors: what of them is bmhost's, and where the adaptor's own prints go.
#include "host/output/Redirect.h"

#include "bm_dev/ByteText.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace BMHOST {

namespace {

int g_Withheld = -1; // a memory file, or -1

int Checked(int a_Result, const char* a_Operation) {
    if (a_Result < 0) throw std::system_error(errno, std::generic_category(), a_Operation);
    return a_Result;
}

// The descriptor under another number; what stood there before is replaced.
int Replace(int a_Standard, int a_Descriptor, const char* a_Operation) {
    const int l_Real = Checked(fcntl(a_Standard, F_DUPFD_CLOEXEC, STDERR_FILENO + 1), a_Operation);
    Checked(dup2(a_Descriptor, a_Standard), a_Operation);
    return l_Real;
}

// Calls it with one piece after the other, until it gives false.
template <typename TAKER>
void ForEachWithheld(const TAKER& a_Taker) {
    std::array<char, 4096> l_Buffer{};
    off_t l_Offset = 0;
    ssize_t l_Read = 0;
    while (g_Withheld >= 0 && (l_Read = pread(g_Withheld, l_Buffer.data(), l_Buffer.size(), l_Offset)) > 0) {
        // Texts of the hardware are among them: none of their bytes may steer a terminal. A character that the buffer
        // cuts is read once more with its rest; when it comes first, there is none.
        const auto l_Size = static_cast<std::size_t>(l_Read);
        constexpr std::string_view KEPT = "\n\t";
        std::size_t l_Whole = BM_PLATFORM::HideControls(l_Buffer.data(), l_Size, KEPT, false);
        if (l_Whole == 0) l_Whole = BM_PLATFORM::HideControls(l_Buffer.data(), l_Size, KEPT, true);
        if (!a_Taker(std::string_view(l_Buffer.data(), l_Whole))) return;
        l_Offset += static_cast<off_t>(l_Whole);
    }
}

} // namespace

void KeepStandardDescriptors() {
    for (const int l_Standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(l_Standard, F_GETFD) >= 0 || errno != EBADF) continue;
        // The wrong way round, and it is the lowest free number.
        Checked(open("/dev/null", l_Standard == STDIN_FILENO ? O_WRONLY : O_RDONLY), "opening /dev/null");
    }
}

int TakeStandardInput() {
    const int l_Empty = Checked(open("/dev/null", O_RDONLY | O_CLOEXEC), "opening /dev/null");
    const int l_Real = Replace(STDIN_FILENO, l_Empty, "keeping standard input");
    close(l_Empty);
    return l_Real;
}

int PrintsToStandardError() {
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // as prompt as standard error itself
    return Replace(STDOUT_FILENO, STDERR_FILENO, "redirecting standard output");
}

int PrintsWithheld() {
    g_Withheld = Checked(memfd_create("bmhost-prints", MFD_CLOEXEC), "withholding the adaptor's prints");
    // Several processes write it, tools among them, and it is emptied in between.
    Checked(fcntl(g_Withheld, F_SETFL, O_APPEND), "withholding the adaptor's prints");
    return Replace(STDOUT_FILENO, g_Withheld, "redirecting standard output");
}

// Allocates nothing: it is also called when a signal ends the process.
void ShowWithheld() {
    ForEachWithheld(
        [](std::string_view a_Prints) { return write(STDERR_FILENO, a_Prints.data(), a_Prints.size()) >= 0; });
    ForgetWithheld();
}

std::string TakeWithheld() {
    std::string l_Prints;
    ForEachWithheld([&](std::string_view a_Prints) {
        l_Prints += a_Prints;
        return true;
    });
    ForgetWithheld();
    return l_Prints;
}

void ShowTaken(std::string_view a_Prints) {
    try {
        WriteAll(STDERR_FILENO, a_Prints);
    } catch (const std::system_error&) { // as with what is shown at the end
    }
}

void ForgetWithheld() {
    if (g_Withheld >= 0) Checked(ftruncate(g_Withheld, 0), "withholding the adaptor's prints");
}

void WriteAll(int a_Descriptor, std::string_view a_Text) {
    while (!a_Text.empty()) {
        const ssize_t l_Written = write(a_Descriptor, a_Text.data(), a_Text.size());
        if (l_Written < 0 && errno == EINTR) continue;
        a_Text.remove_prefix(static_cast<std::size_t>(Checked(static_cast<int>(l_Written), "standard output")));
    }
}

} // namespace BMHOST
