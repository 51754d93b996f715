// The host's side of the storage: a folder of XML files behind the interface that adaptors see.
#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace QUB_STORAGE {
class CDataStorage;
}

namespace bm_dev {

/// The storage whose files stand in `folder`; a relative one is taken from the current folder of this moment. Nothing
/// is touched before the first transaction, which makes the folder when it is missing. Layout and results:
/// docs/storage.md. Keep the object as long as an adaptor may use it: a transaction that is still open at its end is
/// dropped. A transaction waits for other processes no longer than `lockWait`.
std::shared_ptr<QUB_STORAGE::CDataStorage> MakeStorage(const std::string& folder,
                                                       std::chrono::milliseconds lockWait = std::chrono::seconds(10));

} // namespace bm_dev
