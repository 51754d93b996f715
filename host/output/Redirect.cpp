// The standard descriptors: which of them bmhost uses, and where the adaptor's own prints go.
#include "host/output/Redirect.h"

#include "bm_dev/ByteText.h"
#include "bm_dev/UniqueFd.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace bmhost {

namespace {

int withheld = -1; // a memory file, or -1

int Checked(int result, const char* operation) {
    if (result < 0) throw std::system_error(errno, std::generic_category(), operation);
    return result;
}

// Puts `descriptor` under the number `standard`, and returns a new number for the former one.
int Replace(int standard, int descriptor, const char* operation) {
    const int real = Checked(fcntl(standard, F_DUPFD_CLOEXEC, STDERR_FILENO + 1), operation);
    Checked(dup2(descriptor, standard), operation);
    return real;
}

// Calls `taker` with one piece after the other, until it returns false.
template <typename Taker>
void ForEachWithheld(const Taker& taker) {
    std::array<char, 4096> buffer{};
    off_t offset = 0;
    ssize_t read = 0;
    while (withheld >= 0 && (read = pread(withheld, buffer.data(), buffer.size(), offset)) > 0) {
        // They may contain texts from the hardware, none of whose bytes may control a terminal. A character that the
        // buffer cuts is read again with its rest, unless it is alone in the buffer.
        const auto size = static_cast<std::size_t>(read);
        constexpr std::string_view keptControls = "\n\t";
        std::size_t whole = bm_dev::HideControls(buffer.data(), size, keptControls, false);
        if (whole == 0) whole = bm_dev::HideControls(buffer.data(), size, keptControls, true);
        if (!taker(std::string_view(buffer.data(), whole))) return;
        offset += static_cast<off_t>(whole);
    }
}

} // namespace

void KeepStandardDescriptors() {
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(standard, F_GETFD) >= 0 || errno != EBADF) continue;
        // Opened the wrong way round, so that its use fails; it gets the lowest free number, which is this one.
        Checked(open("/dev/null", standard == STDIN_FILENO ? O_WRONLY : O_RDONLY), "opening /dev/null");
    }
}

int TakeStandardInput() {
    const bm_dev::UniqueFd empty(Checked(open("/dev/null", O_RDONLY | O_CLOEXEC), "opening /dev/null"));
    return Replace(STDIN_FILENO, empty.Get(), "keeping standard input");
}

int PrintsToStandardError() {
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // as prompt as standard error itself
    return Replace(STDOUT_FILENO, STDERR_FILENO, "redirecting standard output");
}

int PrintsWithheld() {
    withheld = Checked(memfd_create("bmhost-prints", MFD_CLOEXEC), "withholding the adaptor's prints");
    // Several processes write to it, including tools, and it is emptied in between.
    Checked(fcntl(withheld, F_SETFL, O_APPEND), "withholding the adaptor's prints");
    return Replace(STDOUT_FILENO, withheld, "redirecting standard output");
}

// Allocates nothing: it is also called when a signal ends the process.
void ShowWithheld() {
    ForEachWithheld([](std::string_view prints) { return write(STDERR_FILENO, prints.data(), prints.size()) >= 0; });
    ForgetWithheld();
}

std::string TakeWithheld() {
    std::string taken;
    ForEachWithheld([&](std::string_view prints) {
        taken += prints;
        return true;
    });
    ForgetWithheld();
    return taken;
}

void ShowTaken(std::string_view prints) {
    try {
        WriteAll(STDERR_FILENO, prints);
    } catch (const std::system_error&) { // ignored, as for the prints that are shown at the end
    }
}

void ForgetWithheld() {
    if (withheld >= 0) Checked(ftruncate(withheld, 0), "withholding the adaptor's prints");
}

void WriteAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        text.remove_prefix(static_cast<std::size_t>(Checked(static_cast<int>(written), "standard output")));
    }
}

} // namespace bmhost
