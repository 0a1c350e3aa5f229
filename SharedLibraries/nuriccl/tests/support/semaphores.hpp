#pragma once

/// @file
/// System V semaphore sets as anybody can see them, and what a library asks of the system about
/// them.
///
/// Include it in the one source file of a test program: it puts functions in front of the C
/// library's semget, semop, semctl and sleep. They pass on, and a Watch sees them.
///
/// Thread safety: one thread at a time.

#include "files.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <string>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace semaphores {

inline constexpr int NONE = -1;

union Argument { // of semctl
    int value;
    semid_ds* status;
    unsigned short* values;
};

/// Set by a test whose patience is at an end: semget fails with ETIME for the library, so that it
/// does not go round for good.
inline volatile std::sig_atomic_t refused = 0;

/// The functions of the C library.
namespace real {

template <class Function>
Function* next_in_process(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

inline int get(key_t key, int count, int flags) {
    return next_in_process<int(key_t, int, int)>("semget")(key, count, flags);
}

inline int operate(int set, sembuf* operations, std::size_t count) {
    return next_in_process<int(int, sembuf*, std::size_t)>("semop")(set, operations, count);
}

// The name suits the width of time_t, as the symbol does that the headers give to semctl.
inline int control(int set, int number, int command, Argument argument = {}) {
    const char* const name = sizeof(long) == 4 ? "__semctl64" : "semctl";
    return next_in_process<int(int, int, int, ...)>(name)(set, number, command, argument);
}

inline unsigned int pause(unsigned int seconds) {
    return next_in_process<unsigned int(unsigned int)>("sleep")(seconds);
}

} // namespace real

/// @name A look from outside
/// They need the right to read the set; `find` does not.
/// @{

/// The set of a key, NONE when there is none.
inline int find(key_t key) { return real::get(key, 0, 0); }

/// Value of the semaphore, -1 when the set is gone.
inline int value(int set) { return real::control(set, 0, GETVAL); }

/// Number of processes that wait for the value to become larger, -1 when the set is gone.
inline int waiting(int set) { return real::control(set, 0, GETNCNT); }

/// Process that operated on the semaphore last, or set its value.
inline pid_t last_process(int set) { return real::control(set, 0, GETPID); }

/// @throws std::system_error when the set is gone
inline semid_ds status(int set) {
    semid_ds status{};
    Argument argument{};
    argument.status = &status;
    files::checked(real::control(set, 0, IPC_STAT, argument), "status of a semaphore set");
    return status;
}
/// @}

/// @name Meddling
/// @{

/// Removes a set; whether it was there.
inline bool remove(int set) { return real::control(set, 0, IPC_RMID) == 0; }

/// @throws std::system_error
inline void set_value(int set, int value) {
    Argument argument{};
    argument.value = value;
    files::checked(real::control(set, 0, SETVAL, argument), "value of a semaphore");
}

/// What stands in the way of sets: the error, when the system has none of them (not in the kernel,
/// shut off by a filter or a policy) or not `count` more; otherwise 0. @throws std::system_error
/// when it is another error
inline int shortage(int count) {
    std::vector<int> sets;
    for (int i = 0; i < count; ++i) {
        sets.push_back(real::get(IPC_PRIVATE, 1, 0600));
    }
    const int error = sets.back() == NONE ? errno : 0;
    for (const int set : sets) {
        remove(set);
    }
    if (error != ENOSYS && error != EPERM && error != EACCES && error != ENOSPC) {
        files::checked(error == 0 ? 0 : -1, "semaphore sets");
    }
    return error;
}

/// A new set of `count` semaphores, the first of which has a value and the others have 0.
/// @throws std::system_error also when the key has a set
inline int make(key_t key, int value, int count = 1) {
    const int set =
        files::checked(real::get(key, count, IPC_CREAT | IPC_EXCL | 0666), "new semaphore set");
    set_value(set, value);
    return set;
}

/// Rights of a set of this user, which it keeps.
/// @throws std::system_error when it is another's
inline void set_rights(int set, unsigned short rights) {
    semid_ds changed{}; // looking at what there is may be forbidden
    changed.sem_perm.uid = geteuid();
    changed.sem_perm.gid = getegid();
    changed.sem_perm.mode = rights;
    Argument argument{};
    argument.status = &changed;
    files::checked(real::control(set, 0, IPC_SET, argument), "rights of a semaphore set");
}
/// @}

/// Records the calls of the library while it lives, and may act before each and stand in for it.
///
/// The record names the calls of a lock on semaphore 0 of a set; whatever differs from them in any
/// argument is written out:
///
///     create A      semget(key, 1, IPC_CREAT | IPC_EXCL | 0666) made a set. The sets are called
///                   A, B and so on as they turn up.
///     open A        semget(key, 1, 0)
///     free A        semctl(A, 0, SETALL, {1})
///     take A        semop(A, -1 with SEM_UNDO)
///     give back A   semop(A, +1 with SEM_UNDO)
///     remove A      semctl(A, 0, IPC_RMID)
///     look A        semctl(A, 0, GETVAL)
///     pause         sleep(1)
///
/// The name of the error follows a call that failed, as in "take A EIDRM".
class Watch {
public:
    /// Gets the name of the call without its set. A result other than 0 is the error that the call
    /// fails with instead of being made; a pause is left out.
    using Hook = std::function<int(const std::string&)>;

    explicit Watch(key_t key, Hook hook = {})
        : key_(key), hook_(std::move(hook)), earlier_(current()) {
        current() = this;
    }
    ~Watch() { current() = earlier_; }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    const std::vector<std::string>& calls() const { return calls_; }

    /// Identifier of the set that the latest call was about, in a hook that of the call to come;
    /// NONE while there is none, as before one is made or opened.
    int set() const { return set_; }

    /// The living Watch, or null.
    static Watch*& current() {
        static Watch* watch = nullptr;
        return watch;
    }

    /// @name For the functions in front of the C library's
    /// @{
    int get(key_t key, int count, int flags) {
        std::string call = "semget(" + std::to_string(count) + ", " + octal(flags) + ')';
        if (count == 1 && flags == (IPC_CREAT | IPC_EXCL | 0666)) {
            call = "create";
        } else if (count == 1 && flags == 0) {
            call = "open";
        }
        if (key != key_) {
            call += " for another key";
        }
        set_ = NONE;
        set_ = run(call, [&] { return real::get(key, count, flags); });
        note(set_ != NONE ? call + ' ' + label(set_) : call, set_);
        return set_;
    }

    int operate(int set, sembuf* operations, std::size_t count) {
        std::string call = "semop";
        for (std::size_t i = 0; i < count; ++i) {
            const sembuf& one = operations[i];
            call += '(' + std::to_string(one.sem_num) + ' ' + std::to_string(one.sem_op) + ' ' +
                    octal(one.sem_flg) + ')';
        }
        if (call == "semop(0 -1 010000)") {
            call = "take";
        } else if (call == "semop(0 1 010000)") {
            call = "give back";
        }
        set_ = set;
        const int result = run(call, [&] { return real::operate(set, operations, count); });
        note(call + ' ' + label(set), result);
        return result;
    }

    int control(int set, int number, int command, Argument argument) {
        std::string call =
            "semctl(" + std::to_string(number) + ", " + std::to_string(command) + ')';
        if (number == 0 && command == SETALL && argument.values[0] == 1) {
            call = "free";
        } else if (number == 0 && command == IPC_RMID) {
            call = "remove";
        } else if (number == 0 && command == GETVAL) {
            call = "look";
        }
        set_ = set;
        const int result = run(call, [&] { return real::control(set, number, command, argument); });
        note(call + ' ' + label(set), result);
        return result;
    }

    unsigned int pause(unsigned int seconds) {
        const std::string call = seconds == 1 ? "pause" : "sleep(" + std::to_string(seconds) + ')';
        calls_.push_back(call);
        return hook_ && hook_(call) != 0 ? 0 : real::pause(seconds);
    }
    /// @}

private:
    template <class Real>
    int run(const std::string& call, Real real) {
        const int error = hook_ ? hook_(call) : 0;
        if (error == 0) {
            return real();
        }
        errno = error;
        return -1;
    }

    // Leaves errno as the call left it.
    void note(std::string text, int result) {
        const int error = errno;
        if (result == -1) {
            const char* const name = strerrorname_np(error);
            text += ' ' + (name != nullptr ? std::string(name) : std::to_string(error));
        }
        calls_.push_back(std::move(text));
        errno = error;
    }

    std::string label(int set) {
        const int error = errno;
        const auto known = std::find(sets_.begin(), sets_.end(), set);
        const auto index = known - sets_.begin();
        if (known == sets_.end()) {
            sets_.push_back(set);
        }
        errno = error;
        return {static_cast<char>('A' + index)};
    }

    static std::string octal(int number) {
        std::string digits;
        for (auto rest = static_cast<unsigned int>(number); rest != 0; rest /= 8) {
            digits.insert(digits.begin(), static_cast<char>('0' + rest % 8));
        }
        return '0' + digits;
    }

    key_t key_;
    Hook hook_;
    Watch* earlier_;
    int set_ = NONE;
    std::vector<int> sets_; // by label
    std::vector<std::string> calls_;
};

} // namespace semaphores

extern "C" int semget(key_t key, int count, int flags) noexcept {
    using semaphores::Watch;
    if (semaphores::refused != 0) {
        errno = ETIME;
        return semaphores::NONE;
    }
    return Watch::current() != nullptr ? Watch::current()->get(key, count, flags)
                                       : semaphores::real::get(key, count, flags);
}

extern "C" int semop(int set, sembuf* operations, std::size_t count) noexcept {
    using semaphores::Watch;
    return Watch::current() != nullptr ? Watch::current()->operate(set, operations, count)
                                       : semaphores::real::operate(set, operations, count);
}

extern "C" int semctl(int set, int number, int command, ...) noexcept {
    using semaphores::Watch;
    semaphores::Argument argument{};
    if (command == SETALL || command == SETVAL || command == IPC_STAT || command == IPC_SET) {
        std::va_list arguments;
        va_start(arguments, command);
        argument = va_arg(arguments, semaphores::Argument);
        va_end(arguments);
    }
    return Watch::current() != nullptr ? Watch::current()->control(set, number, command, argument)
                                       : semaphores::real::control(set, number, command, argument);
}

extern "C" unsigned int sleep(unsigned int seconds) {
    using semaphores::Watch;
    return Watch::current() != nullptr ? Watch::current()->pause(seconds)
                                       : semaphores::real::pause(seconds);
}
