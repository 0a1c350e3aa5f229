/// @file
/// Preloaded into the program under test: makes system calls fail on demand and logs what a crash
/// would be about. Environment variables say what to do:
///
///     FAULTS_VANISH=NAME        opening NAME in a directory fails: it is not there any more
///     FAULTS_STOP=NAME          the program stops (SIGSTOP) before it opens NAME in a directory
///     FAULTS_READ=NAME:BYTES    reading the file opened as NAME fails after so many bytes
///     FAULTS_WRITE=BYTES        the disk is full after so many bytes, all files together
///     FAULTS_CALL=KIND:K:WHAT   the Kth call of this kind (read: what asks the system for
///                               something; change: what alters a file or directory; any: either)
///                               fails with the error of the number WHAT, or, when that is 0, is
///                               never made: the program is killed
///     FAULTS_LOG=PATH           a line for each call: "open NAME", "write", "flush" (all of the
///                               filesystem), "flush one", "rename NEW-NAME"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

template <class Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

std::string setting(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

ssize_t real_write(int fd, const void* data, std::size_t size) {
    static const auto function = next<ssize_t (*)(int, const void*, std::size_t)>("write");
    return function(fd, data, size);
}

int real_openat(int directory, const char* name, int flags, mode_t mode) {
    static const auto function = next<int (*)(int, const char*, int, ...)>("openat64");
    return function(directory, name, flags, mode);
}

void log(const std::string& line) {
    static const std::string path = setting("FAULTS_LOG");
    if (!path.empty()) {
        static const int file =
            real_openat(AT_FDCWD, path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        const std::string text = line + '\n';
        static_cast<void>(!real_write(file, text.data(), text.size()));
    }
}

constexpr const char* READ = "read";
constexpr const char* CHANGE = "change";

// Whether the call is the one that is to fail.
bool fails(const std::string& kind) {
    static const std::string order = setting("FAULTS_CALL");
    static const std::size_t colon = std::min(order.find(':'), order.size());
    static const std::size_t number = std::min(colon + 1, order.size());
    static char* rest = nullptr;
    static long calls_left = std::strtol(order.c_str() + number, &rest, 10);
    const std::string wanted = order.substr(0, colon);
    if (order.empty() || (wanted != kind && wanted != "any") || --calls_left != 0) {
        return false;
    }
    const int error = std::atoi(rest + 1);
    if (error == 0) {
        std::raise(SIGKILL);
    }
    errno = error;
    return true;
}

int doomed_file = -1; // whose reading will fail
long long readable_bytes = 0;

} // namespace

extern "C" {

int openat(int directory, const char* name, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (setting("FAULTS_VANISH") == name) {
        errno = ENOENT;
        return -1;
    }
    if (setting("FAULTS_STOP") == name) {
        std::raise(SIGSTOP);
    }
    log(std::string("open ") + name);
    if (fails((flags & O_CREAT) != 0 ? CHANGE : READ)) {
        return -1;
    }
    const int file = real_openat(directory, name, flags, mode);
    const std::string doom = setting("FAULTS_READ");
    const std::size_t colon = doom.find(':');
    if (colon != std::string::npos && doom.substr(0, colon) == name) {
        doomed_file = file;
        readable_bytes = std::atoll(doom.c_str() + colon + 1);
    } else if (file == doomed_file) {
        doomed_file = -1; // the number was given anew
    }
    return file;
}

ssize_t read(int file, void* data, std::size_t size) {
    static const auto function = next<ssize_t (*)(int, void*, std::size_t)>("read");
    if (fails(READ)) {
        return -1;
    }
    if (file != doomed_file) {
        return function(file, data, size);
    }
    if (readable_bytes <= 0) {
        errno = EIO;
        return -1;
    }
    const ssize_t count = function(file, data, size);
    readable_bytes -= count;
    return count;
}

ssize_t write(int file, const void* data, std::size_t size) {
    static const std::string limit = setting("FAULTS_WRITE");
    static long long room = std::atoll(limit.c_str());
    if (file <= STDERR_FILENO) {
        return real_write(file, data, size);
    }
    log("write");
    if (fails(CHANGE)) {
        return -1;
    }
    if (!limit.empty()) {
        if (room == 0) {
            errno = ENOSPC;
            return -1;
        }
        size = static_cast<std::size_t>(std::min<long long>(room, static_cast<long long>(size)));
        room -= static_cast<long long>(size);
    }
    return real_write(file, data, size);
}

int syncfs(int file) noexcept {
    log("flush");
    return fails(CHANGE) ? -1 : next<int (*)(int)>("syncfs")(file);
}

int fsync(int file) {
    log("flush one");
    return fails(CHANGE) ? -1 : next<int (*)(int)>("fsync")(file);
}

int renameat(int from_directory, const char* from, int to_directory, const char* to) noexcept {
    log(std::string("rename ") + to);
    return fails(CHANGE) ? -1
                         : next<int (*)(int, const char*, int, const char*)>("renameat")(
                               from_directory, from, to_directory, to);
}

int mkdirat(int directory, const char* name, mode_t mode) noexcept {
    return fails(CHANGE)
               ? -1
               : next<int (*)(int, const char*, mode_t)>("mkdirat")(directory, name, mode);
}

int unlinkat(int directory, const char* name, int flags) noexcept {
    return fails(CHANGE) ? -1
                         : next<int (*)(int, const char*, int)>("unlinkat")(directory, name, flags);
}

ssize_t readlinkat(int directory, const char* name, char* target, std::size_t size) noexcept {
    return fails(READ) ? -1
                       : next<ssize_t (*)(int, const char*, char*, std::size_t)>("readlinkat")(
                             directory, name, target, size);
}

dirent* readdir(DIR* directory) {
    return fails(READ) ? nullptr : next<dirent* (*)(DIR*)>("readdir64")(directory);
}

} // extern "C"
