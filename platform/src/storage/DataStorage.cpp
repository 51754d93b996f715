// The host's storage: rows in XML files, read and changed in transactions.
//
// A transaction holds its turn among the threads of the process and, in it, the folder among processes; so whatever a
// file holds when it is first looked at in a transaction, it still holds at the end. Changes are kept in memory until
// then.
#include "bm/DataStorage.h"

#include "bm_dev/HostStorage.h"
#include "platform/src/storage/DataStorage_Error.h"
#include "platform/src/storage/DataStorage_Folder.h"
#include "platform/src/storage/DataStorage_Rows.h"
#include "platform/src/storage/DataStorage_Text.h"
#include "platform/src/storage/DataStorage_Xml.h"

#include "bm/Log.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <map>
#include <mutex>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace BM_STORAGE {

namespace {

using BM_ADAPTOR::CBMIKeys;
using BM_ADAPTOR::CBMIParam;
using BM_ADAPTOR::CBMIParams;
using BM_ADAPTOR::CBMITable;

// One transaction at a time in the process, whatever the folder.
class TURN {
public:
    TURN() {
        std::unique_lock lock(State().m_Guard);
        State().m_Given.wait(lock, [] { return State().m_Owner == std::thread::id(); });
        State().m_Owner = std::this_thread::get_id();
    }
    TURN(const TURN&) = delete;
    TURN& operator=(const TURN&) = delete;
    ~TURN() {
        const std::lock_guard lock(State().m_Guard);
        State().m_Owner = std::thread::id();
        State().m_Given.notify_one();
    }

    static bool IsMine() {
        const std::lock_guard lock(State().m_Guard);
        return State().m_Owner == std::this_thread::get_id();
    }

private:
    struct STATE {
        std::mutex m_Guard;
        std::condition_variable m_Given;
        std::thread::id m_Owner;
    };

    // Never destroyed: threads may wait for their turn while the process ends.
    static STATE& State() {
        static STATE& state = *new STATE;
        return state;
    }
};

struct TRANSACTION {
    TRANSACTION(const std::string& path, std::chrono::milliseconds lock_wait) : m_Folder(path, lock_wait) {}

    TURN m_Turn;
    FOLDER m_Folder;
};

// A file as it was read, with the changes of the transaction.
struct COPY {
    std::optional<STAMP> m_Stamp;
    ROWS m_Rows;
    bool m_IsChanged = false;
};

// Adds the row's parameters; those that are there already get its values.
void Fill(CBMIParams& target, const CBMIParams& row) {
    for (int i = 0; i < row.GetSize(); ++i) {
        if (CBMIParam* const known = target.GetParamById(row.Get(i)->GetId()); known != nullptr) {
            *known = *row.Get(i);
        } else {
            target.Add(*row.Get(i));
        }
    }
}

// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it is final
class DATA_STORAGE final : public QUB_STORAGE::CDataStorage {
public:
    DATA_STORAGE(std::string folder, std::chrono::milliseconds lock_wait)
        : m_Path(std::move(folder)),
          m_LockWait(lock_wait) {}

    int StartTransaction() override {
        return Guarded("StartTransaction", [&] {
            if (TURN::IsMine()) throw STORAGE_ERROR(NOTHING_DONE, m_Path + ": this thread has a transaction already");
            m_Transaction = std::make_unique<TRANSACTION>(m_Path, m_LockWait);
        });
    }

    // 0 says that nothing of the transaction stands; a doubt about what stands is told in the log alone.
    int EndTransaction() override {
        std::string doubt;
        const int result = Guarded("EndTransaction", [&] {
            Current(m_Path);
            const auto transaction = std::move(m_Transaction); // it ends, whatever the result
            const auto files = TakeChanges();
            doubt = transaction->m_Folder.Replace(files);
        });
        if (!doubt.empty()) Tell("EndTransaction", doubt.c_str());
        return result;
    }

    int RetrieveRow(const std::string& file, const CBMIKeys& keys, CBMIParams& row, int force) override {
        return Guarded("RetrieveRow", [&] {
            const ROWS& rows = Load(file, force != 0).m_Rows;
            const CBMIParams* const found = rows.Find(About(file, [&] { return KeyOf(keys); }));
            if (found == nullptr) throw NO_ROW();
            Fill(row, *found);
        });
    }

    int RetrieveTable(const std::string& file, CBMITable& table, int force) override {
        return Guarded("RetrieveTable", [&] {
            for (const CBMIParams& row : Load(file, force != 0).m_Rows.All()) {
                CBMIParams copy = row;
                table.AddRow(copy);
            }
        });
    }

    int CreateRow(const std::string& file, const CBMIKeys& keys, const CBMIParams& row) override {
        return Guarded("CreateRow", [&] {
            COPY& copy = Load(file, false);
            if (!copy.m_Rows.Add(About(file, [&] { return MakeRow(keys, row); }))) {
                throw STORAGE_ERROR(NOTHING_DONE, PathOf(file) + ": there is a row with these keys");
            }
            copy.m_IsChanged = true;
        });
    }

    int SetRow(const std::string& file, const CBMIKeys& keys, const CBMIParams& row) override {
        return Guarded("SetRow", [&] {
            COPY& copy = Load(file, false);
            copy.m_Rows.Set(About(file, [&] { return MakeRow(keys, row); }));
            copy.m_IsChanged = true;
        });
    }

private:
    // A row that is not there is an answer, and nothing to log.
    struct NO_ROW {};

    static void Tell(const char* operation, const char* reason) {
        bmiLog(BM_LOG_ERROR, "Storage", "CDataStorage :: %s - %s", operation, reason);
    }

    template <typename WORK>
    static int Guarded(const char* operation, const WORK& work) {
        const auto failed = [&](RESULT_e result, const char* reason) {
            Tell(operation, reason);
            return result;
        };
        try {
            work();
            return SUCCESS;
        } catch (const NO_ROW&) {
            return NO_SUCH_ROW;
        } catch (const STORAGE_ERROR& error) {
            return failed(error.Result(), error.what());
        } catch (const std::exception& error) {
            return failed(NOTHING_DONE, error.what());
        }
    }

    TRANSACTION& Current(const std::string& path) const {
        // Only the thread whose turn it is looks at the member: it is the one that writes it.
        if (!TURN::IsMine() || m_Transaction == nullptr) {
            throw STORAGE_ERROR(NOTHING_DONE, path + ": this thread has no transaction");
        }
        return *m_Transaction;
    }

    // An earlier copy when the file is still the same; always one that this transaction has changed.
    COPY& Load(const std::string& file, bool again) {
        const FOLDER& folder = Current(PathOf(Shown(file))).m_Folder;
        folder.CheckName(file);
        const auto known = m_Copies.find(file);
        if (known != m_Copies.end() &&
            (known->second.m_IsChanged || (!again && known->second.m_Stamp == folder.Stamp(file)))) {
            return known->second;
        }
        const CONTENT content = folder.Read(file);
        COPY copy{content.m_Stamp, {}};
        try {
            if (content.m_Stamp) copy.m_Rows = RowsFromXml(content.m_Text);
        } catch (const XML_ERROR& error) {
            throw STORAGE_ERROR(NOT_READABLE, PathOf(file) + ":" + std::to_string(error.Line()) + ": " + error.what());
        }
        return m_Copies.insert_or_assign(file, std::move(copy)).first->second;
    }

    // The changed files with their new texts. The copies go with them: what was written is read again.
    std::vector<REPLACEMENT> TakeChanges() {
        std::vector<REPLACEMENT> files;
        auto copies = std::exchange(m_Copies, {});
        for (const auto& [name, copy] : copies) {
            if (!copy.m_IsChanged) continue;
            files.push_back({name, copy.m_Stamp, XmlFromRows(copy.m_Rows)});
            if (files.back().m_Text.size() > MOST_BYTES) {
                throw STORAGE_ERROR(NOTHING_DONE,
                                    PathOf(name) + ": would have more than " + std::to_string(MOST_BYTES) + " bytes");
            }
        }
        if (files.empty()) m_Copies = std::move(copies);
        return files;
    }

    // What is refused for its parameters tells of the file, too.
    template <typename CALL>
    std::invoke_result_t<CALL> About(const std::string& file, const CALL& call) const {
        try {
            return call();
        } catch (const STORAGE_ERROR& error) {
            throw STORAGE_ERROR(error.Result(), PathOf(file) + ": " + error.what());
        }
    }

    std::string PathOf(const std::string& file) const { return m_Path + "/" + file; }

    const std::string m_Path;
    const std::chrono::milliseconds m_LockWait;
    std::unique_ptr<TRANSACTION> m_Transaction;
    std::map<std::string, COPY> m_Copies;
};

} // namespace

} // namespace BM_STORAGE

std::shared_ptr<QUB_STORAGE::CDataStorage> BM_PLATFORM::MakeStorage(const std::string& folder,
                                                                    std::chrono::milliseconds lock_wait) {
    return std::make_shared<BM_STORAGE::DATA_STORAGE>(
        folder.empty() ? folder : std::filesystem::absolute(folder).string(), lock_wait);
}
