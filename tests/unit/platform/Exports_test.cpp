// The built platform as a linker sees it: it exports what its public headers declare. PLATFORM_FILE is its path,
// PLATFORM_HEADERS the folder of the headers.
#include "common/ElfFile.h"

#include <cxxabi.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <set>
#include <string>

namespace {

using testing::IsEmpty;
using testing::IsSupersetOf;

/// The name without parameters, and without what the compiler adds for a class: "BM_ADAPTOR::CBMITable::Get".
std::string DeclaredName(const std::string& symbol) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status), &std::free);
    if (status != 0) return symbol;
    return std::regex_replace(std::string(text.get()), std::regex("^.* for |[(\\[].*$|~"), "");
}

/// Without the C++ library's templates of our types, of which a build without optimisation leaves some, and without the
/// types of functions ("typeinfo for bool (int)"), which a sanitizer compares.
std::set<std::string> ExportedNames() {
    const std::regex library(" (std|__gnu_cxx)::");
    std::set<std::string> names;
    for (const std::string& symbol : ELF_FILE(PLATFORM_FILE).Exports()) {
        const std::string name = DeclaredName(symbol);
        if (!name.ends_with(' ') && !std::regex_search(name, library)) names.insert(name);
    }
    return names;
}

/// The words of the headers' code.
std::set<std::string> DeclaredWords() {
    std::set<std::string> words;
    const std::regex word("operator *[^\\w\\s(]+|\\w+");
    for (const auto& header : std::filesystem::recursive_directory_iterator(PLATFORM_HEADERS)) {
        std::ifstream file(header.path());
        for (std::string line; std::getline(file, line);) {
            line.erase(std::min(line.find("//"), line.size()));
            for (std::sregex_iterator found(line.begin(), line.end(), word), none; found != none; ++found)
                words.insert(found->str());
        }
    }
    return words;
}

TEST(PlatformExports, AreDeclaredInItsPublicHeaders) {
    const auto words = DeclaredWords();
    std::set<std::string> undeclared;
    for (const std::string& name : ExportedNames()) {
        for (std::size_t begin = 0; begin < name.size();) {
            const std::size_t end = std::min(name.find("::", begin), name.size());
            if (!words.contains(name.substr(begin, end - begin))) undeclared.insert(name);
            begin = end + 2;
        }
    }
    EXPECT_THAT(undeclared, IsEmpty());
}

TEST(PlatformExports, HaveWhatHostsAndAdaptorsCall) {
    EXPECT_THAT(ExportedNames(), IsSupersetOf({"BM_ADAPTOR::CBMIParam::CBMIParam",
                                               "BM_ADAPTOR::CBMIParam::GetBool",
                                               "BM_ADAPTOR::CBMIParam::GetId",
                                               "BM_ADAPTOR::CBMIParam::GetInt",
                                               "BM_ADAPTOR::CBMIParam::GetString",
                                               "BM_ADAPTOR::CBMIParam::GetType",
                                               "BM_ADAPTOR::CBMIParam::IsKey",
                                               "BM_ADAPTOR::CBMIParam::SetBool",
                                               "BM_ADAPTOR::CBMIParam::SetInt",
                                               "BM_ADAPTOR::CBMIParam::SetString",
                                               "BM_ADAPTOR::CBMIParams::Add",
                                               "BM_ADAPTOR::CBMIParams::CBMIParams",
                                               "BM_ADAPTOR::CBMIParams::Get",
                                               "BM_ADAPTOR::CBMIParams::GetParam",
                                               "BM_ADAPTOR::CBMIParams::GetParamById",
                                               "BM_ADAPTOR::CBMIParams::GetSize",
                                               "BM_ADAPTOR::CBMIParams::operator=",
                                               "BM_ADAPTOR::CBMITable::AddRow",
                                               "BM_ADAPTOR::CBMITable::CBMITable",
                                               "BM_ADAPTOR::CBMITable::Get",
                                               "BM_ADAPTOR::CBMITable::GetSize",
                                               "BM_ADAPTOR::CBMITable::operator=",
                                               "BM_LOG_LEVEL",
                                               "bm_dev::ChangeSwitch",
                                               "bm_dev::HostLog",
                                               "bm_dev::LogToConsole",
                                               "bm_dev::LogToFile",
                                               "bm_dev::LogToListener",
                                               "bm_dev::MakeStorage",
                                               "bm_dev::ReadSwitch",
                                               "bm_dev::SwitchState::FailureOf",
                                               "bm_dev::SwitchState::SetFailure",
                                               "bm_dev::SwitchFile",
                                               "bm_dev::SwitchOfText",
                                               "bm_dev::TextOfSwitch",
                                               "OSAL::OSALMonitor::Lock",
                                               "OSAL::OSALMonitor::Notify",
                                               "OSAL::OSALMonitor::Unlock",
                                               "OSAL::OSALMonitor::Wait",
                                               "OSAL::OSALMutex::Lock",
                                               "OSAL::OSALMutex::Unlock",
                                               "OSAL::OSALThread::Join",
                                               "OSAL::OSALThread::Start",
                                               "bmiLog",
                                               "mavkAmcSwitchMACLearn",
                                               "mavkAmcSwitchMACLearnByDSP",
                                               "mavkAmcSwitchPortCheckLink",
                                               "mavkAmcSwitchPortEnable",
                                               "qDrvSetInterface",
                                               "qMsgAllocate",
                                               "qMsgFree",
                                               "qMsgRead",
                                               "qMsgSource",
                                               "qMsgType",
                                               "qMsgVarFieldGet",
                                               "qMsgVarFieldPut",
                                               "qMsgWrite",
                                               "qQueueBind",
                                               "qQueueClose",
                                               "qQueueOpen",
                                               "qStatusErrorGet",
                                               "qStatusErrorName",
                                               "uPCIMemClose",
                                               "uPCIMemOpen"}));
}

} // namespace
