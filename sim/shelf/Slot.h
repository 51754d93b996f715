// A slot of the shelf: brings its blade up with resident host and web door, and takes it out.
#pragma once

#include "bm_dev/UniqueFd.h"
#include "sim/base/Paths.h"
#include "sim/shelf/Backplane.h"
#include "sim/shelf/BladeFolder.h"
#include "sim/shelf/ShelfPlan.h"

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

namespace bladesim {

/// What the slots of a shelf share.
struct ShelfParts {
    const Paths& m_paths;
    const ShelfFiles& m_files;
    Backplane& m_backplane;
    std::string m_bmhost; ///< the program
    std::string m_account;
};

/// All calls come from the shelf's one thread, which reaps all processes. Nothing here waits for a blade.
class Slot {
public:
    using Clock = std::chrono::steady_clock;

    Slot(ShelfPlace place, BladeFolder folder, const ShelfParts& parts);

    const ShelfPlace& Place() const { return m_place; }
    const BladeFolder& Folder() const { return m_folder; }
    /// "waiting", "coming up", "up", "frozen", "pulled", "ending" or "failed".
    std::string State() const;
    const std::string& Reason() const { return m_reason; } ///< of a failure
    pid_t Inside() const { return m_inside; }              ///< process 1 of the blade; -1 without one

    bool IsWaiting() const { return m_phase == Phase::Waiting; }
    bool IsRising() const {
        return m_phase == Phase::Booting || m_phase == Phase::Starting || m_phase == Phase::Proving;
    }
    /// It is to be told to Step before long.
    bool IsBusy() const { return IsRising() || HasLostDoor(); }
    bool IsUp() const { return m_phase == Phase::Up; }
    bool IsOut() const { return m_phase == Phase::Out; }
    /// Whether it has failed since this was asked last.
    bool TakeNewsOfFailure();
    /// Nothing changes in it without an order or an accident.
    bool IsSettled() const { return IsUp() || IsOut() || m_phase == Phase::Failed; }

    /// An empty slot waits until it is told to Rise.
    void Insert();
    void Rise();
    void Pull();
    /// The controller stands still, or goes on. Throws a BladeError when the blade has no running controller.
    void Freeze(bool frozen);

    /// Goes on with what can go on now.
    void Step();
    /// A process has ended, perhaps one of this blade's.
    void HasEnded(pid_t process, int status);

    /// The end of what the blade and its programs have said.
    std::string LogTail() const;

private:
    enum class Phase { Waiting, Booting, Starting, Proving, Up, Ending, Out, Failed };

    bool HasLostDoor() const { return !m_doorEnd.empty() && m_phase != Phase::Ending; }
    void StepOn();
    [[noreturn]] void BeInside(bm_dev::UniqueFd outside) const;
    void TakeLog(int kept) const;
    void OpenDoor();
    void ProveDoor(const char* look);
    void ProofHasEnded(int status);
    void Fail(const std::string& reason);
    void End(Phase then);

    ShelfPlace m_place;
    BladeFolder m_folder;
    const ShelfParts& m_parts;
    Phase m_phase = Phase::Waiting;
    Phase m_afterEnd = Phase::Out;
    bool m_frozen = false;
    std::string m_reason;
    bool m_isNews = false;
    bm_dev::UniqueFd m_socket; ///< to the inside
    pid_t m_inside = -1;
    pid_t m_door = -1;
    pid_t m_proof = -1;    ///< a client that asks the door
    std::string m_doorEnd; ///< how it ended; empty while it runs, and without a blade
    Clock::time_point m_doorEnded;
    Clock::time_point m_begun;
    Clock::time_point m_nextProof;
};

} // namespace bladesim
