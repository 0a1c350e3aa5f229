#include "path_lock.hpp"

#include "os.hpp"

#include <algorithm>
#include <csignal>
#include <ctime>
#include <sys/ipc.h>
#include <sys/sem.h>

namespace minibackup {

namespace {

// Interrupts what this process waits for, more than once: the first time it may not wait yet.
class Interrupter {
public:
    Interrupter() {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, &earlier_);
        sigevent event{};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = SIGALRM;
        check(timer_create(CLOCK_MONOTONIC, &event, &timer_), "timer", "cannot make it");
        // The library sleeps for a second before it waits, which is not to be cut short.
        const itimerspec times{{1, 500000000}, {1, 500000000}};
        timer_settime(timer_, 0, &times, nullptr);
    }
    Interrupter(const Interrupter&) = delete;
    Interrupter& operator=(const Interrupter&) = delete;
    ~Interrupter() {
        timer_delete(timer_);
        sigaction(SIGALRM, &earlier_, nullptr);
    }

private:
    timer_t timer_{};
    struct sigaction earlier_ {};
};

// Acquires the lock of the path. An error: EINTR when that took longer than it should, and was to
// be interrupted then; ENOENT or EIDRM when the set was removed in the middle of it.
int attempt(nuriccl::SingleInstance& instance, const std::string& path, bool interrupted) {
    std::optional<Interrupter> interrupter;
    if (interrupted) {
        interrupter.emplace();
    }
    const int error = instance.checkForSingleInstance(path.c_str());
    return error == 0 && !instance.isSingleInstanceAvailable(path.c_str()) ? EIDRM : error;
}

} // namespace

// The semaphore is 0 while it is held, and keeps the process that made it so: the kernel's word,
// unlike that of a file, which outlives its writer.
std::optional<pid_t> holder_of(const std::string& path) {
    const int set = semget(nuriccl::ftokey(path.c_str()), 1, 0);
    if (set == -1) {
        return {};
    }
    const pid_t process = semctl(set, 0, GETPID);
    const bool taken = semctl(set, 0, GETVAL) == 0; // asked last: so it was when this was told
    return taken ? std::optional(std::max(process, 0)) : std::nullopt;
}

bool acquire_lock_of(nuriccl::SingleInstance& instance, const std::string& path,
                     const std::string& subject, bool wait,
                     const std::function<void(pid_t)>& tell) {
    bool told = false;
    int error = 0;
    do {
        // ENOENT when the file is gone. One path of 2^32 has no key for all that.
        check(nuriccl::ftokey(path.c_str()) != -1 ? 0 : -1, subject, "cannot lock");
        const auto holder = holder_of(path);
        if (holder && !told) {
            tell(*holder);
            told = true;
        }
        if (holder && !wait) {
            return false;
        }
        // Who comes between the look and the call is told of, too, after a second look.
        error = attempt(instance, path, !told);
    } while (error == EINTR || error == ENOENT || error == EIDRM);
    errno = error;
    check(error == 0 ? 0 : -1, subject, "cannot lock");
    return true;
}

} // namespace minibackup
