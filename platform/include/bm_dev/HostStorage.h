// The host's side of the storage: a folder of XML files that implements the adaptors' interface.
#pragma once

#include "bm/Params.h"

#include <chrono>
#include <memory>
#include <string>

// NOLINTNEXTLINE(readability-identifier-naming): it is the hosts'
namespace QUB_STORAGE {
class CDataStorage;
}

namespace bm_dev {

/// The storage whose files are in `folder`; a relative path is resolved now, from the current folder. The first
/// transaction creates a missing folder; nothing is touched before. docs/storage.md describes layout and results. Keep
/// the object as long as an adaptor may use it: its end drops an open transaction. A transaction waits for other
/// processes no longer than `lockWait`.
std::shared_ptr<QUB_STORAGE::CDataStorage> MakeStorage(const std::string& folder,
                                                       std::chrono::milliseconds lockWait = std::chrono::seconds(10));

/// What a file of a storage holds.
struct StoredRows {
    BM_ADAPTOR::CBMITable m_rows;
    std::string m_refusal; ///< why it cannot be read: "FILE: Permission denied"; empty when it can, or is missing
};
/// Looks at a file of the storage in `folder` without a transaction: nothing there is made, locked or changed.
StoredRows LookAtStored(const std::string& folder, const std::string& file);

} // namespace bm_dev
