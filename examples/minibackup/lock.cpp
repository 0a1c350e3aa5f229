#include "lock.hpp"

#include "system/names.hpp"
#include "system/os.hpp"
#include "system/path_lock.hpp"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <nuriccl/util.hpp>

namespace minibackup {

namespace {

std::string canonical(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> result(realpath(path.c_str(), nullptr),
                                                             &std::free);
    check(result ? 0 : -1, path, "cannot be reached");
    return result.get();
}

void tell(const std::string& store, pid_t holder, bool wait) {
    const std::string who = holder != 0 ? "process " + nuriccl::to_str(holder) : "another process";
    std::fprintf(stderr, "minibackup: %s: %s is saving in it%s\n", readable(store).c_str(),
                 who.c_str(), wait ? "; waiting for its end" : "");
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
            action.sa_flags = static_cast<int>(SA_RESETHAND);
            sigaction(signal, &action, nullptr);
        }
    }
}

} // namespace

StoreLock::~StoreLock() { replace_handler(release_and_die, SIG_DFL); }

bool StoreLock::acquire(const std::string& store, bool wait) {
    make_directory(AT_FDCWD, store, store);
    const std::string path = canonical(store);
    const auto tell_of = [&](pid_t holder) { tell(store, holder, wait); };
    if (!acquire_lock_of(instance_, path, store, wait, tell_of)) {
        return false;
    }
    held = &instance_;
    replace_handler(SIG_DFL, release_and_die);
    return true;
}

} // namespace minibackup
