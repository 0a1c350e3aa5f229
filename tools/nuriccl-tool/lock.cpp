#include "commands.hpp"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <minibackup/system/names.hpp>
#include <minibackup/system/os.hpp>
#include <minibackup/system/path_lock.hpp>
#include <nuriccl/SingleInstance.hpp>
#include <nuriccl/util.hpp>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace nuriccl_tool {

namespace {

using minibackup::check;
using minibackup::readable;

// As shells have it.
constexpr int CANNOT_BE_RUN = 126;
constexpr int NOT_FOUND = 127;
constexpr int SIGNALLED = 128;

// Holds the signals that end or steer programs, and that of a child's end, back from this process
// until it asks for them. Its child gets them as they were.
class HeldSignals {
public:
    HeldSignals() {
        // A parent may have had its children forgotten by themselves.
        std::signal(SIGCHLD, SIG_DFL);
        sigemptyset(&held_);
        for (const int signal : {SIGCHLD, SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2}) {
            sigaddset(&held_, signal);
        }
        sigprocmask(SIG_BLOCK, &held_, &earlier_);
    }

    const sigset_t& earlier() const { return earlier_; }

    siginfo_t wait() const {
        siginfo_t info{};
        while (sigwaitinfo(&held_, &info) < 0 && errno == EINTR) {
        }
        return info;
    }

private:
    sigset_t held_{};
    sigset_t earlier_{};
};

// Starts the program that is named by the first argument.
// @return 0, or an error of the system
int start(const std::vector<std::string>& command, const sigset_t& mask, pid_t& child) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str())); // which are not written
    }
    arguments.push_back(nullptr);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    posix_spawnattr_setsigmask(&attributes, &mask);
    const int error =
        posix_spawnp(&child, arguments[0], nullptr, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    return error;
}

// Hands signals on to the child until it ends.
// @return its exit status
int attend(pid_t child, const HeldSignals& signals) {
    int status = 0;
    while (check(waitpid(child, &status, WNOHANG), "command", "cannot wait") == 0) {
        const siginfo_t info = signals.wait();
        // What the kernel sends, for a key of the terminal, it sends to the child as well.
        if (info.si_signo != SIGCHLD && info.si_code <= 0) {
            kill(child, info.si_signo);
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : SIGNALLED + WTERMSIG(status);
}

int run_command(const Call& call, const std::vector<std::string>& command) {
    const HeldSignals signals;
    pid_t child = 0;
    const int error = start(command, signals.earlier(), child);
    if (error != 0) {
        call.complain(readable(command[0]) + ": cannot run: " + std::strerror(error));
        return error == ENOENT ? NOT_FOUND : CANNOT_BE_RUN;
    }
    return attend(child, signals);
}

std::string text_of(pid_t holder) {
    return holder != 0 ? "process " + nuriccl::to_str(holder) : "another process";
}

int test(const Call& call, const std::string& path) {
    check(nuriccl::ftokey(path.c_str()) != -1 ? 0 : -1, path, "cannot lock");
    const auto holder = minibackup::holder_of(path);
    call.print(holder ? "held by " + text_of(*holder) : "free");
    return holder ? NO : YES;
}

int run(const Call& call) {
    const std::string path = call.arguments[0];
    const std::vector<std::string> command(call.arguments.begin() + 1, call.arguments.end());
    if (command.empty() != call.has('q')) {
        throw UsageError("takes PATH, and COMMAND unless there is --query");
    }
    if (call.has('q')) {
        return test(call, path);
    }
    const bool wait = !call.has('t');
    const auto tell = [&](pid_t holder) {
        call.complain(readable(path) + ": " + text_of(holder) + " holds the lock" +
                      (wait ? "; waiting for it" : ""));
    };
    nuriccl::SingleInstance instance;
    return minibackup::acquire_lock_of(instance, path, path, wait, tell)
               ? run_command(call, command)
               : NO;
}

} // namespace

const Command LOCK = {
    "lock",
    "run a command while no other one has the lock of a path",
    {{"", "PATH -- COMMAND [ARGUMENT]...", 1, ANY_NUMBER, "", run}},
    {{'q', "query", nullptr, "tell who holds the lock; status 0 if it is free, 1 if not"},
     {'t', "try", nullptr, "do not wait for the lock: end with status 1 if it is held"}},
    "Acquires the lock of PATH, an existing file or directory, waits for it if need be, runs\n"
    "COMMAND and gives the lock back. Each spelling of a path is a lock of its own: give PATH as\n"
    "the agent has it. Signals are handed on to COMMAND. When nuriccl-tool itself is killed\n"
    "(SIGKILL), the lock is free although COMMAND goes on.\n"
    "\n"
    "The exit status is that of COMMAND, and 128 + N after signal N; 126 when it cannot be run,\n"
    "127 when there is none; 2 when PATH cannot be locked.\n",
    "$ touch job; nuriccl-tool lock job -- echo working\n"
    "working\n"
    "$ nuriccl-tool lock job -- nuriccl-tool lock --try job -- echo never || echo busy\n"
    "busy\n"
    "$ nuriccl-tool lock --query job\n"
    "free\n",
};

} // namespace nuriccl_tool
