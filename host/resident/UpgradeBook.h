// The firmware upgrades of a blade: the one under way, and the history, which is kept on disk.
#pragma once

#include "host/orders/UpgradeHistory.h"
#include "host/orders/UpgradeLock.h"
#include "host/picture/Picture.h"
#include "host/resident/PictureKeeper.h"

#include "bm/Params.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace bmhost {

/// Every member on any thread.
class UpgradeBook {
public:
    /// How many are kept.
    static constexpr std::size_t Most = 100;

    /// Reads the history; what was under way when an earlier host died has no end that anybody knows.
    /// @param folder  where the history and the images are
    UpgradeBook(PictureKeeper& picture, std::string folder);

    /// What the client said of the image of the next upgrade with this file.
    struct Image {
        std::string m_path;   ///< as the adaptor gets it
        std::string m_name;   ///< as the client named it
        std::string m_sha256; ///< in hexadecimal
    };

    /// Has the right to upgrade, and the folder of images, from now on. Throws UsageError where another process
    /// upgrades, or the tool of a dead one is still at work; std::runtime_error where the folder cannot be had.
    void Claim();

    /// An upgrade is about to be given to the adaptor, which may tell of its end before it has returned.
    /// Throws UsageError as Claim does.
    /// @param values  of the write
    void Begin(const BM_ADAPTOR::CBMIParams& values, const Image& image, const std::string& asker);
    /// The adaptor has accepted what was begun last, or not.
    void Began(bool accepted);
    /// The adaptor has told of one, by an event. Returns it when it has ended; of one that is not in the book, only
    /// what the event says.
    std::optional<UpgradeFacts> Told(const BM_ADAPTOR::CBMIParams& params);
    /// The inventory was taken anew: the modules tell their new versions.
    void Inventoried();

    bool IsUnderWay() const;
    /// Where images are, until their upgrades have ended.
    std::string ImageFolder() const;

private:
    void Load();
    void Keep(const UpgradeFacts& upgrade) const;

    PictureKeeper& m_picture;
    const std::string m_folder;
    const UpgradeHistory m_history;
    std::mutex m_guard; ///< protects what follows
    std::unique_ptr<UpgradeLock> m_lock;
    std::string m_image; ///< of the upgrade under way
};

} // namespace bmhost
