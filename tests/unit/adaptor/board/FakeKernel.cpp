// The kernel as tests play it; see the header.
#include "adaptor/board/FakeKernel.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <set>
#include <string_view>

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/sysctl.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr std::string_view DRIVER_FILE = "/proc/mavkpcidrv/pstn.cfg";
constexpr std::string_view OVERRIDE_FILE = "/usr/korvel/cfg/rtmdata.cfg";

// Of what the board's calls note, on whichever thread; the test's own accesses are for the time when none runs.
std::recursive_mutex& KernelGuard() {
    static std::recursive_mutex& s_Guard = *new std::recursive_mutex;
    return s_Guard;
}

std::set<int> g_Sockets;
std::map<int, int> g_DriverFiles; // descriptor, number of the opening
std::set<FILE*> g_OverrideFiles;

int Fails(int a_Error) {
    errno = a_Error;
    return -1;
}

void SetIP(sockaddr& a_Address, const FAKE_INTERFACE& a_Interface) {
    sockaddr_in l_Address{};
    l_Address.sin_family = static_cast<sa_family_t>(a_Interface.m_Family);
    inet_pton(AF_INET, a_Interface.m_IP.c_str(), &l_Address.sin_addr);
    std::memcpy(&a_Address, &l_Address, sizeof(l_Address));
}

int List(ifconf& a_List) {
    int l_Length = 0;
    for (const FAKE_INTERFACE& l_Interface : Kernel().m_Interfaces) {
        if (l_Interface.m_IP.empty()) continue;
        ifreq l_Entry{};
        l_Interface.m_Name.copy(l_Entry.ifr_name, sizeof(l_Entry.ifr_name));
        SetIP(l_Entry.ifr_addr, l_Interface);
        if (l_Length + static_cast<int>(sizeof(l_Entry)) > a_List.ifc_len) break;
        std::memcpy(a_List.ifc_buf + l_Length, &l_Entry, sizeof(l_Entry));
        l_Length += static_cast<int>(sizeof(l_Entry));
    }
    a_List.ifc_len = Kernel().m_ListLength >= 0 ? Kernel().m_ListLength : l_Length;
    return 0;
}

int Describe(unsigned long a_Request, ifreq& a_Entry) {
    const std::string_view l_Name(a_Entry.ifr_name, strnlen(a_Entry.ifr_name, sizeof(a_Entry.ifr_name)));
    const auto& l_All = Kernel().m_Interfaces;
    const auto l_Found = std::ranges::find(l_All, l_Name, &FAKE_INTERFACE::m_Name);
    if (l_Found == l_All.end()) return Fails(ENODEV);
    if (a_Request == SIOCGIFHWADDR) {
        std::ranges::copy(l_Found->m_Mac, a_Entry.ifr_hwaddr.sa_data);
        return 0;
    }
    if (l_Found->m_IP.empty()) return Fails(EADDRNOTAVAIL);
    SetIP(a_Entry.ifr_addr, *l_Found);
    return 0;
}

} // namespace

FAKE_KERNEL& Kernel() {
    static FAKE_KERNEL s_Kernel;
    return s_Kernel;
}

std::size_t FAKE_KERNEL::SelectCount() const {
    const std::lock_guard l_Lock(KernelGuard());
    return m_Selects.size();
}

// What the linker puts in the place of the calls, and the real ones. It looks for them from shared libraries too, those
// of the sanitizers: they must not be hidden.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming,readability-inconsistent-declaration-parameter-name)
#pragma GCC visibility push(default)
extern "C" {

int __real_socket(int a_Domain, int a_Type, int a_Protocol);
int __real_ioctl(int a_Descriptor, unsigned long a_Request, ...);
int __real_open(const char* a_Path, int a_Flags, ...);
ssize_t __real_write(int a_Descriptor, const void* a_Bytes, size_t a_Size);
int __real_close(int a_Descriptor);
FILE* __real_fopen(const char* a_Path, const char* a_Mode);
int __real_fclose(FILE* a_File);
long __real_syscall(long a_Number, ...);
int __real_select(int a_Count, fd_set* a_Read, fd_set* a_Write, fd_set* a_Except, timeval* a_TimeOut);

int __wrap_socket(int a_Domain, int a_Type, int a_Protocol) {
    const std::lock_guard l_Lock(KernelGuard());
    if (Kernel().m_bNoSocket) return Fails(EMFILE);
    Kernel().m_SocketType = a_Type;
    const int l_Socket = __real_socket(a_Domain, a_Type, a_Protocol);
    g_Sockets.insert(l_Socket);
    ++Kernel().m_Sockets;
    return l_Socket;
}

int __wrap_ioctl(int a_Descriptor, unsigned long a_Request, ...) {
    const std::lock_guard l_Lock(KernelGuard());
    va_list l_Arguments;
    va_start(l_Arguments, a_Request);
    void* const l_Argument = va_arg(l_Arguments, void*);
    va_end(l_Arguments);
    if (!g_Sockets.contains(a_Descriptor)) return __real_ioctl(a_Descriptor, a_Request, l_Argument);
    Kernel().m_Ioctls.push_back(a_Request);
    const auto l_Error = Kernel().m_IoctlErrors.find(a_Request);
    if (l_Error != Kernel().m_IoctlErrors.end()) return Fails(l_Error->second);
    if (a_Request == SIOCGIFCONF) return List(*static_cast<ifconf*>(l_Argument));
    return Describe(a_Request, *static_cast<ifreq*>(l_Argument));
}

int __wrap_open(const char* a_Path, int a_Flags, ...) {
    const std::lock_guard l_Lock(KernelGuard());
    va_list l_Arguments;
    va_start(l_Arguments, a_Flags);
    const unsigned l_Mode = (a_Flags & O_CREAT) != 0 ? va_arg(l_Arguments, unsigned) : 0;
    va_end(l_Arguments);
    if (a_Path != DRIVER_FILE) return __real_open(a_Path, a_Flags, l_Mode);
    const int l_Opening = ++Kernel().m_Openings;
    Kernel().m_OpenFlags = a_Flags;
    const auto l_Error = Kernel().m_OpenErrors.find(l_Opening);
    if (l_Error != Kernel().m_OpenErrors.end()) return Fails(l_Error->second);
    const int l_File = __real_open("/dev/null", O_RDWR | O_CLOEXEC);
    g_DriverFiles[l_File] = l_Opening;
    ++Kernel().m_OpenFiles;
    return l_File;
}

ssize_t __wrap_write(int a_Descriptor, const void* a_Bytes, size_t a_Size) {
    const std::lock_guard l_Lock(KernelGuard());
    const auto l_File = g_DriverFiles.find(a_Descriptor);
    if (l_File == g_DriverFiles.end()) return __real_write(a_Descriptor, a_Bytes, a_Size);
    const std::string l_Record =
        std::to_string(l_File->second) + " " + std::string(static_cast<const char*>(a_Bytes), a_Size);
    const auto l_Scripted = Kernel().m_Writes.find(l_Record);
    if (l_Scripted != Kernel().m_Writes.end()) return l_Scripted->second;
    Kernel().m_Records.push_back(l_Record);
    return static_cast<ssize_t>(a_Size);
}

int __wrap_close(int a_Descriptor) {
    const std::lock_guard l_Lock(KernelGuard());
    if (g_Sockets.erase(a_Descriptor) != 0) --Kernel().m_Sockets;
    if (g_DriverFiles.erase(a_Descriptor) != 0) --Kernel().m_OpenFiles;
    return __real_close(a_Descriptor);
}

FILE* __wrap_fopen(const char* a_Path, const char* a_Mode) {
    const std::lock_guard l_Lock(KernelGuard());
    if (a_Path != OVERRIDE_FILE) return __real_fopen(a_Path, a_Mode);
    Kernel().m_OverrideMode = a_Mode;
    auto& l_Content = Kernel().m_OverrideFile;
    if (!l_Content) return nullptr;
    FILE* const l_File =
        l_Content->empty() ? __real_fopen("/dev/null", a_Mode) : fmemopen(l_Content->data(), l_Content->size(), "r");
    g_OverrideFiles.insert(l_File);
    ++Kernel().m_OpenStreams;
    return l_File;
}

int __wrap_fclose(FILE* a_File) {
    const std::lock_guard l_Lock(KernelGuard());
    if (g_OverrideFiles.erase(a_File) != 0) --Kernel().m_OpenStreams;
    return __real_fclose(a_File);
}

// Only as many words are taken as the call has.
long __wrap_syscall(long a_Number, ...) {
    va_list l_Arguments;
    va_start(l_Arguments, a_Number);
    if (a_Number == SYS__sysctl) {
        const __sysctl_args& l_Request = *va_arg(l_Arguments, const __sysctl_args*);
        va_end(l_Arguments);
        const std::lock_guard l_Lock(KernelGuard());
        if (Kernel().m_bNoParameter) return Fails(ENOSYS);
        Kernel().m_ParameterName.assign(l_Request.name, l_Request.name + l_Request.nlen);
        if (l_Request.newlen == sizeof(int)) Kernel().m_Parameter = *static_cast<int*>(l_Request.newval);
        return 0;
    }
    std::array<long, 6> l_Words{};
    for (long& l_Word : l_Words)
        l_Word = va_arg(l_Arguments, long);
    va_end(l_Arguments);
    return __real_syscall(a_Number, l_Words[0], l_Words[1], l_Words[2], l_Words[3], l_Words[4], l_Words[5]);
}

int __wrap_select(int a_Count, fd_set* a_Read, fd_set* a_Write, fd_set* a_Except, timeval* a_TimeOut) {
    {
        const std::lock_guard l_Lock(KernelGuard());
        Kernel().m_Selects.push_back({a_Count, a_Read != nullptr && FD_ISSET(a_Count - 1, a_Read),
                                      a_TimeOut->tv_sec * 1000L + a_TimeOut->tv_usec / 1000});
        if (!Kernel().m_SelectEnds.empty()) {
            const KERNEL_SELECT_END l_End = Kernel().m_SelectEnds.front();
            Kernel().m_SelectEnds.pop_front();
            *a_TimeOut = l_End.m_Left;
            FD_ZERO(a_Read); // what an ended call leaves there is nothing to rely on
            errno = l_End.m_Error;
            return l_End.m_Result;
        }
    }
    return __real_select(a_Count, a_Read, a_Write, a_Except, a_TimeOut);
}
}
#pragma GCC visibility pop
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming,readability-inconsistent-declaration-parameter-name)
