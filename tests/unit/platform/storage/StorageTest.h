// A storage in its own folder, its files as a person sees them, and its log.
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
constexpr int NothingDone = 0;
constexpr int Success = 1;
constexpr int NoSuchRow = 4;
constexpr int NotReadable = 21;
constexpr int MissingParam = 23;

constexpr unsigned Number = 0x30d12;
constexpr unsigned Address = 0x30d14;
constexpr const char* FileName = "addresses.xml";

inline BM_ADAPTOR::CBMIKeys Keys(int32_t number) {
    return Row<BM_ADAPTOR::CBMIKeys>(Int(Number, number, true));
}

class StorageTest : public testing::Test {
protected:
    explicit StorageTest(const std::string& around = testing::TempDir())
        : m_root(MakeFolder(around)),
          m_folder(m_root + "/storage"),
          m_storage(bm_dev::MakeStorage(m_folder)) {}
    ~StorageTest() override { std::filesystem::remove_all(m_root); }

    int Set(int32_t number, const std::string& address, const std::string& file = FileName) {
        return m_storage->SetRow(file, Keys(number), Row(Text(Address, address)));
    }

    int Create(int32_t number, const std::string& address) {
        return m_storage->CreateRow(FileName, Keys(number), Row(Text(Address, address)));
    }

    // The address that is stored for the number, or the result of the failed call.
    std::string Get(int32_t number, int force = 0) {
        BM_ADAPTOR::CBMIParams row;
        const int result = m_storage->RetrieveRow(FileName, Keys(number), row, force);
        return result == Success ? row.GetParamById(Address)->GetString() : std::to_string(result);
    }

    // Runs `calls` in a transaction; the result of its end.
    template <typename Calls>
    int Transaction(const Calls& calls) {
        EXPECT_EQ(Success, m_storage->StartTransaction());
        calls();
        return m_storage->EndTransaction();
    }

    // The same outside any transaction.
    void SetNow(int32_t number, const std::string& address) {
        EXPECT_EQ(Success, Transaction([&] { EXPECT_EQ(Success, Set(number, address)); }));
    }
    std::string GetNow(int32_t number, int force = 0) {
        std::string address;
        EXPECT_EQ(Success, Transaction([&] { address = Get(number, force); }));
        return address;
    }

    std::string PathOf(const std::string& file) const { return m_folder + "/" + file; }

    void Write(const std::string& text, const std::string& file = FileName) const {
        std::filesystem::create_directories(m_folder);
        std::filesystem::remove(PathOf(file)); // cutting it would wait for the disk
        std::ofstream(PathOf(file), std::ios::binary) << text;
    }

    std::string Read(const std::string& file = FileName) const {
        std::ostringstream text;
        text << std::ifstream(PathOf(file), std::ios::binary).rdbuf();
        return text.str();
    }

    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder))
            names.push_back(entry.path().filename());
        return names;
    }

    // What the storage logged, without time and level: "StartTransaction - …".
    std::vector<std::string> Logged() const {
        const std::string before = "<3> [Storage] CDataStorage :: ";
        std::vector<std::string> texts;
        for (const std::string& line : m_log.Lines()) {
            const auto found = line.find(before);
            texts.push_back(found == std::string::npos ? line : line.substr(found + before.size()));
        }
        return texts;
    }

    const std::string m_root;
    const std::string m_folder;
    std::shared_ptr<QUB_STORAGE::CDataStorage> m_storage;
    const LogFile m_log;

private:
    static std::string MakeFolder(const std::string& around) {
        std::string folder = around + "storage-XXXXXX";
        return mkdtemp(folder.data());
    }
};
