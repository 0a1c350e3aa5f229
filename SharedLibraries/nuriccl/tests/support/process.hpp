#pragma once

/// @file
/// Child processes that a test talks to, and waiting that comes to an end.
///
/// @code{.cpp}
/// process::Child child([](process::Line& parent) { parent.tell(6 * 7); });
/// EXPECT_EQ(child.line().hear(), 42);
/// @endcode
///
/// Thread safety: the test program has one thread, or the child would start with locks that nobody
/// opens.

#include "files.hpp"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <new>
#include <optional>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace process {

/// What is not there by then never comes. Nothing depends on how much of it is used up.
inline constexpr std::chrono::seconds PATIENCE{30};

/// Whether `predicate` comes to hold.
template <class Predicate>
bool eventually(Predicate predicate) {
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    while (!predicate()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

/// Sends this process, once its patience is at an end, SIGALRM over and over, so that no call of
/// the system keeps it waiting for good. Children do not get it.
class Alarm {
public:
    /// `handler` is called by each signal, and may do what signal handlers may.
    explicit Alarm(void (*handler)(int)) {
        struct sigaction action {};
        action.sa_handler = handler;
        files::checked(sigaction(SIGALRM, &action, &earlier_), "sigaction");
        set(PATIENCE.count(), 1);
    }
    ~Alarm() {
        set(0, 0);
        sigaction(SIGALRM, &earlier_, nullptr);
    }
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

private:
    static void set(time_t first, time_t interval) {
        const itimerval timer{{interval, 0}, {first, 0}};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }

    struct sigaction earlier_ {};
};

/// One end of a line over which two processes send each other numbers.
class Line {
public:
    explicit Line(int descriptor) : descriptor_(descriptor) {}
    ~Line() { close(descriptor_); }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    /// Nothing is sent when nobody listens any more.
    void tell(int number) const { send(descriptor_, &number, SIZE, MSG_NOSIGNAL); }

    /// The next number; none when the other side has gone or keeps silent beyond all patience.
    std::optional<int> hear() const {
        int number = 0;
        if (!eventually([this] { return has_news(); }) ||
            recv(descriptor_, &number, SIZE, 0) != SIZE) {
            return std::nullopt;
        }
        return number;
    }

    /// The same, however long it takes.
    std::optional<int> await() const {
        int number = 0;
        ssize_t size = 0;
        do {
            size = recv(descriptor_, &number, SIZE, 0);
        } while (size == -1 && errno == EINTR);
        return size == SIZE ? std::optional<int>(number) : std::nullopt;
    }

    /// Whether there is a number to hear, or nobody to hear one from.
    bool has_news() const {
        pollfd wanted{descriptor_, POLLIN, 0};
        return poll(&wanted, 1, 0) == 1;
    }

private:
    static constexpr ssize_t SIZE = sizeof(int);

    int descriptor_;
};

/// Memory that a process and those that it forks have in common, with a value in it.
template <class T>
class Shared {
public:
    Shared() {
        void* const place =
            mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (place == MAP_FAILED) {
            throw std::bad_alloc();
        }
        value_ = new (place) T();
    }
    ~Shared() { munmap(value_, sizeof(T)); }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    T& operator*() const { return *value_; }
    T* operator->() const { return value_; }

private:
    T* value_;
};

/// A copy of this process that runs a function and ends, without running what is left to do at the
/// end of a program. It is killed when this object or the test program goes.
class Child {
public:
    static constexpr int THREW = 99; // status of a child whose function did not return

    template <class Body>
    explicit Child(Body body) : Child(Ends(), body) {}
    ~Child() {
        if (pid_ != 0) {
            ::kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t pid() const { return pid_; }
    const Line& line() const { return line_; }

    void signal(int number) const { files::checked(::kill(pid_, number), "kill"); }

    /// Waits for the end: the exit status, or the number of the deadly signal below 0. None when
    /// the child does not end.
    std::optional<int> end() {
        int status = 0;
        if (!eventually([&] { return waitpid(pid_, &status, WNOHANG) == pid_; })) {
            return std::nullopt;
        }
        pid_ = 0;
        return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }

    std::optional<int> kill() {
        signal(SIGKILL);
        return end();
    }

private:
    struct Ends {
        Ends() {
            files::checked(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, of), "line");
        }

        int of[2] = {};
    };

    template <class Body>
    Child(Ends ends, Body body) : line_(ends.of[0]) {
        const pid_t parent = getpid();
        pid_ = files::checked(fork(), "fork");
        if (pid_ == 0) {
            close(ends.of[0]);
            run(parent, ends.of[1], body);
        }
        close(ends.of[1]);
    }

    template <class Body>
    [[noreturn]] static void run(pid_t parent, int descriptor, Body& body) noexcept {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        int status = THREW;
        if (getppid() == parent) {
            try {
                Line line(descriptor);
                body(line);
                status = 0;
            } catch (...) { // the status tells
            }
        }
        _exit(status);
    }

    pid_t pid_ = 0;
    Line line_;
};

} // namespace process
