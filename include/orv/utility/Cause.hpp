#pragma once

namespace orv {

/// The cause of a failure, for programs to act on. More causes may follow.
enum class Cause {
    none,           ///< not known
    invalid,        ///< the request makes no sense, such as a folder into itself
    locked,         ///< another request of this process holds the item
    taken,          ///< the name is taken
    missing,        ///< there is no such item
    wrong_kind,     ///< a folder where a file is needed, or the other way round
    denied,         ///< the user lacks the permission
    read_only,      ///< the volume is read-only
    no_space,       ///< the volume or the user's quota is full
    too_large,      ///< the item or its name is more than its place can hold
    needs_password, ///< the archive is encrypted
    wrong_password,
    damaged,      ///< the file's content does not fit its kind
    unsupported,  ///< the item, the volume or the system does not allow for it
    changed,      ///< another program changed the item meanwhile
    busy,         ///< another program or the system uses the item
    disconnected, ///< the volume is gone or does not answer
    exhausted,    ///< the process or the system is out of memory, threads or open files
    failed,       ///< the volume or the device reports a fault
};

} // namespace orv
