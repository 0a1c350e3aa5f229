#pragma once

/// @file
/// The lock of a store: one save at a time.
///
/// It is a `nuriccl::SingleInstance`, which lives and dies with its process, on this machine only,
/// and leaves one hole: two processes may hold it when one is held up for a moment between the
/// steps of acquiring it. Both, and saves over a network, are why a store stands two saves at once
/// (see store.hpp); the lock only spares them that.
///
/// The lock is named by the directory of the store under its canonical path:
///  - It is there before anything else is: two first saves find each other. The file that marks the
///    store would not do, since each of them makes one and the last one stays.
///  - It stays the same file for as long as there is the store, and the lock depends on that.
///  - Every spelling of STORE leads to the one path, links followed; the lock depends on the path,
///    too. A directory that is mounted in two places has two, and so two locks.

#include <nuriccl/SingleInstance.hpp>

#include <string>

namespace minibackup {

/// Holds the lock of one store, or none. It is given back in the end, also by the signals by which
/// users end programs; the kernel does it when there is no time for that. All that is left then is
/// a free semaphore set, which the next save of the store takes over within two seconds.
///
/// There is one object in a process.
class StoreLock {
public:
    StoreLock() = default;
    StoreLock(const StoreLock&) = delete;
    StoreLock& operator=(const StoreLock&) = delete;
    ~StoreLock();

    /// Makes the directory of the store if it is missing, and acquires the lock of it. When another
    /// process holds it, this is said on standard error.
    ///
    /// @param wait  whether to wait for that process. If not, the answer is given at once, with two
    ///              exceptions: it takes about a second to take over the lock of a process that was
    ///              killed, and somewhat more when another process acquires the lock at this very
    ///              moment.
    /// @return false when another process holds the lock and there was to be no waiting
    /// @throws Error
    bool acquire(const std::string& store, bool wait);

private:
    nuriccl::SingleInstance instance_;
};

} // namespace minibackup
