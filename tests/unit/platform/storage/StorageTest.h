// A storage in a folder of its own, its files as a person sees them, and its log.
#pragma once

#include "bm/DataStorage.h"
#include "bm_dev/HostStorage.h"
#include "host/HostParams.h"
#include "platform/log/LogFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

// The results.
constexpr int NOTHING_DONE = 0;
constexpr int SUCCESS = 1;
constexpr int NO_SUCH_ROW = 4;
constexpr int NOT_READABLE = 21;
constexpr int MISSING_PARAM = 23;

constexpr unsigned NUMBER = 0x30d12;
constexpr unsigned ADDRESS = 0x30d14;
constexpr const char* FILE_NAME = "addresses.xml";

inline BM_ADAPTOR::CBMIKeys Keys(int32_t a_Number) {
    return Row<BM_ADAPTOR::CBMIKeys>(Int(NUMBER, a_Number, true));
}

class STORAGE_TEST : public testing::Test {
protected:
    explicit STORAGE_TEST(const std::string& a_Around = testing::TempDir())
        : m_Root(MakeFolder(a_Around)),
          m_Folder(m_Root + "/storage"),
          m_Storage(BM_PLATFORM::MakeStorage(m_Folder)) {}
    ~STORAGE_TEST() override { std::filesystem::remove_all(m_Root); }

    int Set(int32_t a_Number, const std::string& a_Address, const std::string& a_File = FILE_NAME) {
        return m_Storage->SetRow(a_File, Keys(a_Number), Row(Text(ADDRESS, a_Address)));
    }

    int Create(int32_t a_Number, const std::string& a_Address) {
        return m_Storage->CreateRow(FILE_NAME, Keys(a_Number), Row(Text(ADDRESS, a_Address)));
    }

    // The address that is stored for the number, or the result of the failed call.
    std::string Get(int32_t a_Number, int a_Force = 0) {
        BM_ADAPTOR::CBMIParams l_Row;
        const int l_Result = m_Storage->RetrieveRow(FILE_NAME, Keys(a_Number), l_Row, a_Force);
        return l_Result == SUCCESS ? l_Row.GetParamById(ADDRESS)->GetString() : std::to_string(l_Result);
    }

    // Runs `a_Calls` in a transaction; the result of its end.
    template <typename CALLS>
    int Transaction(const CALLS& a_Calls) {
        EXPECT_EQ(SUCCESS, m_Storage->StartTransaction());
        a_Calls();
        return m_Storage->EndTransaction();
    }

    // The same out of any transaction.
    void SetNow(int32_t a_Number, const std::string& a_Address) {
        EXPECT_EQ(SUCCESS, Transaction([&] { EXPECT_EQ(SUCCESS, Set(a_Number, a_Address)); }));
    }
    std::string GetNow(int32_t a_Number, int a_Force = 0) {
        std::string l_Address;
        EXPECT_EQ(SUCCESS, Transaction([&] { l_Address = Get(a_Number, a_Force); }));
        return l_Address;
    }

    std::string PathOf(const std::string& a_File) const { return m_Folder + "/" + a_File; }

    void Write(const std::string& a_Text, const std::string& a_File = FILE_NAME) const {
        std::filesystem::create_directories(m_Folder);
        std::filesystem::remove(PathOf(a_File)); // the disk would be waited for when it were cut
        std::ofstream(PathOf(a_File), std::ios::binary) << a_Text;
    }

    std::string Read(const std::string& a_File = FILE_NAME) const {
        std::ostringstream l_Text;
        l_Text << std::ifstream(PathOf(a_File), std::ios::binary).rdbuf();
        return l_Text.str();
    }

    std::vector<std::string> Names() const {
        std::vector<std::string> l_Names;
        for (const auto& l_Entry : std::filesystem::directory_iterator(m_Folder))
            l_Names.push_back(l_Entry.path().filename());
        return l_Names;
    }

    // What the storage logged, without time and level: "StartTransaction - …".
    std::vector<std::string> Logged() const {
        const std::string l_Before = "<3> [Storage] CDataStorage :: ";
        std::vector<std::string> l_Texts;
        for (const std::string& l_Line : m_Log.Lines()) {
            const auto l_Found = l_Line.find(l_Before);
            l_Texts.push_back(l_Found == std::string::npos ? l_Line : l_Line.substr(l_Found + l_Before.size()));
        }
        return l_Texts;
    }

    const std::string m_Root;
    const std::string m_Folder;
    std::shared_ptr<QUB_STORAGE::CDataStorage> m_Storage;
    const LOG_FILE m_Log;

private:
    static std::string MakeFolder(const std::string& a_Around) {
        std::string l_Folder = a_Around + "storage-XXXXXX";
        return mkdtemp(l_Folder.data());
    }
};
