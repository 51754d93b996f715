// What the code under test prints to standard output: descriptor 1 leads to a memory file meanwhile.
#include "fake/process/StdoutCapture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <sstream>
#include <stdexcept>

STDOUT_CAPTURE::STDOUT_CAPTURE() {
    fflush(stdout);
    m_Real = dup(STDOUT_FILENO);
    m_File = memfd_create("stdout", MFD_CLOEXEC);
    if (m_Real < 0 || m_File < 0 || dup2(m_File, STDOUT_FILENO) < 0) throw std::runtime_error("cannot capture stdout");
}

STDOUT_CAPTURE::~STDOUT_CAPTURE() {
    Stop();
}

std::string STDOUT_CAPTURE::Stop() {
    if (m_Real < 0) return m_Text;
    fflush(stdout);
    dup2(m_Real, STDOUT_FILENO);
    close(m_Real);
    m_Real = -1;
    lseek(m_File, 0, SEEK_SET);
    std::array<char, 4096> l_Bytes{};
    for (ssize_t l_Count = 0; (l_Count = read(m_File, l_Bytes.data(), l_Bytes.size())) > 0;)
        m_Text.append(l_Bytes.data(), static_cast<std::size_t>(l_Count));
    close(m_File);
    return m_Text;
}

std::vector<std::string> STDOUT_CAPTURE::StopLines() {
    std::istringstream l_Stream(Stop());
    std::vector<std::string> l_Lines;
    for (std::string l_Line; std::getline(l_Stream, l_Line);)
        l_Lines.push_back(l_Line);
    return l_Lines;
}
