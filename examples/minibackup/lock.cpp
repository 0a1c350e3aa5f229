#include "lock.hpp"

#include "names.hpp"
#include "os.hpp"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <nuriccl/util.hpp>
#include <optional>
#include <sys/ipc.h>
#include <sys/sem.h>

namespace minibackup {

namespace {

std::string canonical(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> result(realpath(path.c_str(), nullptr),
                                                             &std::free);
    check(result ? 0 : -1, path, "cannot be reached");
    return result.get();
}

// The process that holds the lock of the path, 0 for one that cannot be told from here; none when
// the lock is free. The semaphore is 0 while it is held, and keeps the process that made it so: the
// kernel's word, unlike that of a file, which outlives its writer.
std::optional<pid_t> holder_of(const std::string& path) {
    const int set = semget(nuriccl::ftokey(path.c_str()), 1, 0);
    if (set == -1) {
        return {};
    }
    const pid_t process = semctl(set, 0, GETPID);
    const bool taken = semctl(set, 0, GETVAL) == 0; // asked last: so it was when this was told
    return taken ? std::optional(std::max(process, 0)) : std::nullopt;
}

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

void tell(const std::string& store, pid_t holder, bool wait) {
    const std::string who = holder != 0 ? "process " + nuriccl::to_str(holder) : "another process";
    std::fprintf(stderr, "minibackup: %s: %s is saving in it%s\n", readable(store).c_str(),
                 who.c_str(), wait ? "; waiting for its end" : "");
}

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

// The signals by which users, terminals and readers of the output end a program.
constexpr int DEADLY_SIGNALS[] = {SIGHUP, SIGINT, SIGPIPE, SIGTERM};

nuriccl::SingleInstance* held = nullptr; // for the signal handler

// Nothing but system calls.
void release_and_die(int signal) {
    held->ReleaseMutex();
    std::raise(signal); // which has its default action again
}

// Sets the handler of the deadly signals that have not been given another, as `nohup` does.
void replace_handler(void (*from)(int), void (*to)(int)) {
    for (const int signal : DEADLY_SIGNALS) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler == from) {
            action.sa_handler = to;
            action.sa_flags = SA_RESETHAND;
            sigaction(signal, &action, nullptr);
        }
    }
}

} // namespace

StoreLock::~StoreLock() { replace_handler(release_and_die, SIG_DFL); }

bool StoreLock::acquire(const std::string& store, bool wait) {
    make_directory(AT_FDCWD, store, store);
    const std::string path = canonical(store);
    bool told = false;
    int error = 0;
    do {
        // ENOENT when the store was removed. One path of 2^32 has no key for all that.
        check(nuriccl::ftokey(path.c_str()) != -1 ? 0 : -1, store, "cannot lock");
        const auto holder = holder_of(path);
        if (holder && !told) {
            tell(store, *holder, wait);
            told = true;
        }
        if (holder && !wait) {
            return false;
        }
        // Who comes between the look and the call is told of, too, after a second look.
        error = attempt(instance_, path, !told);
    } while (error == EINTR || error == ENOENT || error == EIDRM);
    errno = error;
    check(error == 0 ? 0 : -1, store, "cannot lock");
    held = &instance_;
    replace_handler(SIG_DFL, release_and_die);
    return true;
}

} // namespace minibackup
