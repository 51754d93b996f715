// Where the host's storage is when nobody names a folder, and how root's former one is taken over.
#pragma once

#include <string>

namespace bmhost {

/// A file of bmhost's own in the user's state folder: $XDG_STATE_HOME, or ~/.local/state.
std::string StateFile(const std::string& name);

/// In a simulated blade, the folder for what bmhost keeps: the one that `bladesim --keep` names, else one that goes
/// with the blade. Otherwise empty.
std::string BladeStorage();

/// The folder of the storage unless --storage names another: in a simulated blade that blade's; /var/lib/bmhost for
/// root, since all who are root share one blade; with $XDG_STATE_HOME and for any other user, the one in the user's
/// state folder.
std::string StorageHome();

/// What it depends on.
struct StorageSurroundings {
    bool m_root = false;
    std::string m_bladeStorage; ///< in a simulated blade
    std::string m_stateFolder;  ///< $XDG_STATE_HOME
    std::string m_userStorage;  ///< in the user's state folder
    std::string m_boardStorage; ///< the one that all of root's hosts share
};
std::string StorageHomeOf(const StorageSurroundings& surroundings);

/// When `storage` is the one that all of root's hosts share, it gets the files of root's own former folder, once,
/// unless it has files already; the log says so. The former folder stays as it is.
void TakeStorageOver(const std::string& storage);

/// The same for any two folders. True when files were taken over. What cannot be copied is told in the log.
bool TakeStorageOver(const std::string& former, const std::string& storage);

} // namespace bmhost
