// The host's storage: rows in XML files, read and changed in transactions.
//
// A transaction holds a lock among the threads of the process and, inside it, a lock on the folder among processes. So
// a file's contents stay the same from its first use in a transaction to the end. Changes are kept in memory until
// then.
#include "bm/DataStorage.h"

#include "bm_dev/HostStorage.h"
#include "bm_dev/Reason.h"
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

namespace bm_storage {

namespace {

using BM_ADAPTOR::CBMIKeys;
using BM_ADAPTOR::CBMIParam;
using BM_ADAPTOR::CBMIParams;
using BM_ADAPTOR::CBMITable;

// One transaction at a time in the process, whatever the folder.
class Turn {
public:
    Turn() {
        std::unique_lock lock(State().m_guard);
        State().m_given.wait(lock, [] { return State().m_owner == std::thread::id(); });
        State().m_owner = std::this_thread::get_id();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() {
        const std::lock_guard lock(State().m_guard);
        State().m_owner = std::thread::id();
        State().m_given.notify_one();
    }

    static bool IsMine() {
        const std::lock_guard lock(State().m_guard);
        return State().m_owner == std::this_thread::get_id();
    }

private:
    struct SharedState {
        std::mutex m_guard;
        std::condition_variable m_given;
        std::thread::id m_owner;
    };

    // Never destroyed: threads may wait for their turn while the process ends.
    static SharedState& State() {
        static SharedState& state = *new SharedState;
        return state;
    }
};

struct Transaction {
    Transaction(const std::string& path, std::chrono::milliseconds lockWait) : m_folder(path, lockWait) {}

    Turn m_turn;
    Folder m_folder;
};

// A file's contents as they were read, with the changes of the transaction.
struct Copy {
    std::optional<FileStamp> m_stamp;
    Rows m_rows;
    bool m_isChanged = false;
};

// Adds the row's parameters; parameters that exist already get its values.
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
class DataStorage final : public QUB_STORAGE::CDataStorage {
public:
    DataStorage(std::string folder, std::chrono::milliseconds lockWait)
        : m_path(std::move(folder)),
          m_lockWait(lockWait) {}

    int StartTransaction() override {
        return Guarded("StartTransaction", [&] {
            if (Turn::IsMine()) throw StorageError(NothingDone, m_path + ": this thread already has a transaction");
            m_transaction = std::make_unique<Transaction>(m_path, m_lockWait);
        });
    }

    // 0 means that none of the transaction takes effect. Doubts about what has taken effect go to the log only.
    int EndTransaction() override {
        std::string doubt;
        const int result = Guarded("EndTransaction", [&] {
            Current(m_path);
            const auto transaction = std::move(m_transaction); // it ends here, whatever the result
            const auto files = TakeChanges();
            doubt = transaction->m_folder.Replace(files);
        });
        if (!doubt.empty()) Tell("EndTransaction", doubt.c_str());
        return result;
    }

    int RetrieveRow(const std::string& file, const CBMIKeys& keys, CBMIParams& row, int force) override {
        return Guarded("RetrieveRow", [&] {
            const Rows& rows = Load(file, force != 0).m_rows;
            const CBMIParams* const found = rows.Find(About(file, [&] { return KeyOf(keys); }));
            if (found == nullptr) throw NoRow();
            Fill(row, *found);
        });
    }

    int RetrieveTable(const std::string& file, CBMITable& table, int force) override {
        return Guarded("RetrieveTable", [&] {
            for (const CBMIParams& row : Load(file, force != 0).m_rows.All()) {
                CBMIParams copy = row;
                table.AddRow(copy);
            }
        });
    }

    int CreateRow(const std::string& file, const CBMIKeys& keys, const CBMIParams& row) override {
        return Guarded("CreateRow", [&] {
            Copy& copy = Load(file, false);
            if (!copy.m_rows.Add(About(file, [&] { return MakeRow(keys, row); }))) {
                throw StorageError(NothingDone, PathOf(file) + ": a row with these keys already exists");
            }
            copy.m_isChanged = true;
        });
    }

    int SetRow(const std::string& file, const CBMIKeys& keys, const CBMIParams& row) override {
        return Guarded("SetRow", [&] {
            Copy& copy = Load(file, false);
            copy.m_rows.Set(About(file, [&] { return MakeRow(keys, row); }));
            copy.m_isChanged = true;
        });
    }

private:
    // A missing row is a normal answer, with nothing to log.
    struct NoRow {};

    static void Tell(const char* operation, const char* reason) {
        bmiLog(BM_LOG_ERROR, "Storage", "CDataStorage :: %s - %s", operation, reason);
    }

    template <typename Work>
    static int Guarded(const char* operation, const Work& work) {
        const auto failed = [&](ResultCode result, const char* reason) {
            Tell(operation, reason);
            return result;
        };
        try {
            work();
            return Success;
        } catch (const NoRow&) {
            return NoSuchRow;
        } catch (const StorageError& error) {
            return failed(error.Result(), error.what());
        } catch (const std::exception& error) {
            return failed(NothingDone, bm_dev::ReasonOf(error).c_str());
        }
    }

    Transaction& Current(const std::string& path) const {
        // Only the thread whose turn it is reads the member, and only that thread writes it.
        if (!Turn::IsMine() || m_transaction == nullptr) {
            throw StorageError(NothingDone, path + ": this thread has no transaction");
        }
        return *m_transaction;
    }

    // An earlier copy if the file is unchanged, or if this transaction has changed the copy.
    Copy& Load(const std::string& file, bool again) {
        const Folder& folder = Current(PathOf(Shown(file))).m_folder;
        folder.CheckName(file);
        const auto known = m_copies.find(file);
        if (known != m_copies.end() &&
            (known->second.m_isChanged || (!again && known->second.m_stamp == folder.Stamp(file)))) {
            return known->second;
        }
        const Content content = folder.Read(file);
        Copy copy{content.m_stamp, {}};
        try {
            if (content.m_stamp) copy.m_rows = RowsFromXml(content.m_text);
        } catch (const XmlError& error) {
            throw StorageError(NotReadable, PathOf(file) + ":" + std::to_string(error.Line()) + ": " + error.what());
        }
        return m_copies.insert_or_assign(file, std::move(copy)).first->second;
    }

    // The changed files with their new texts. The copies are dropped, so what was written is read again.
    std::vector<Replacement> TakeChanges() {
        std::vector<Replacement> files;
        auto copies = std::exchange(m_copies, {});
        for (const auto& [name, copy] : copies) {
            if (!copy.m_isChanged) continue;
            files.push_back({name, copy.m_stamp, XmlFromRows(copy.m_rows)});
            if (files.back().m_text.size() > MostBytes) {
                throw StorageError(NothingDone,
                                   PathOf(name) + ": would have more than " + std::to_string(MostBytes) + " bytes");
            }
        }
        if (files.empty()) m_copies = std::move(copies);
        return files;
    }

    // Adds the file to the error when parameters are refused.
    template <typename Call>
    std::invoke_result_t<Call> About(const std::string& file, const Call& call) const {
        try {
            return call();
        } catch (const StorageError& error) {
            throw StorageError(error.Result(), PathOf(file) + ": " + error.what());
        }
    }

    std::string PathOf(const std::string& file) const { return m_path + "/" + file; }

    const std::string m_path;
    const std::chrono::milliseconds m_lockWait;
    std::unique_ptr<Transaction> m_transaction;
    std::map<std::string, Copy> m_copies;
};

} // namespace

} // namespace bm_storage

std::shared_ptr<QUB_STORAGE::CDataStorage> bm_dev::MakeStorage(const std::string& folder,
                                                               std::chrono::milliseconds lockWait) {
    return std::make_shared<bm_storage::DataStorage>(
        folder.empty() ? folder : std::filesystem::absolute(folder).string(), lockWait);
}

bm_dev::StoredRows bm_dev::LookAtStored(const std::string& folder, const std::string& file) {
    StoredRows stored;
    try {
        const bm_storage::Content content = bm_storage::Folder::Look(folder, file);
        if (!content.m_stamp) return stored;
        const bm_storage::Rows rows = bm_storage::RowsFromXml(content.m_text);
        for (const BM_ADAPTOR::CBMIParams& row : rows.All()) {
            BM_ADAPTOR::CBMIParams copy = row;
            stored.m_rows.AddRow(copy);
        }
    } catch (const bm_storage::XmlError& error) {
        stored.m_refusal = folder + "/" + file + ":" + std::to_string(error.Line()) + ": " + error.what();
    } catch (const std::exception& error) {
        stored.m_refusal = error.what();
    }
    return stored;
}
