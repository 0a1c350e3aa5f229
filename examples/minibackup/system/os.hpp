#pragma once

/// @file
/// The system calls of this program with whole results: interrupted and short reads and writes are
/// carried on, failures are thrown, descriptors close themselves.
///
/// What a call works on is told by a descriptor and a name; a `path` is for messages only.

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <utility>

namespace minibackup {

/// Something that could not be done: what it was about (a path, as a rule), and why.
class Error : public std::runtime_error {
public:
    Error(const std::string& subject, const std::string& reason);
};

/// Hands on the result of a system call; a negative one is thrown, with the words of the system.
template <class Result>
Result check(Result result, const std::string& path, const char* what) {
    return result >= 0 ? result
                       : throw Error(path, std::string(what) + ": " + std::strerror(errno));
}

/// Owns a file descriptor.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) noexcept : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Descriptor();

    int get() const noexcept { return fd_; }
    bool is_open() const noexcept { return fd_ >= 0; }
    int release() noexcept { return std::exchange(fd_, -1); }

private:
    int fd_;
};

constexpr int OPEN_DIRECTORY = O_RDONLY | O_DIRECTORY;

/// Opens or creates, always close-on-exec.
Descriptor open_at(int directory, const std::string& name, int flags, const std::string& path,
                   mode_t mode = 0);

/// Makes a directory for the owner alone, unless there is something of this name.
void make_directory(int directory, const std::string& name, const std::string& path);

struct stat status_of(int fd, const std::string& path);

/// Device and inode: tells directories apart, whatever paths lead to them.
using Identity = std::pair<dev_t, ino_t>;
inline Identity identity_of(const struct stat& status) { return {status.st_dev, status.st_ino}; }

/// Reads until `size` bytes are there or the file ends.
/// @return the number of bytes read
std::size_t read_whole(int fd, void* to, std::size_t size, const std::string& path);

void write_whole(int fd, const std::string& bytes, const std::string& path);

/// Closes a file that was written: some filesystems tell only now that they could not keep the
/// data.
void close_written(Descriptor file, const std::string& path);

void seek(int fd, std::uint64_t position, const std::string& path);

/// The names in a directory but "." and "..", in no order.
class DirectoryNames {
public:
    DirectoryNames(int directory, const std::string& name, std::string path);

    /// @return false at the end
    bool next(std::string& name);

private:
    std::unique_ptr<DIR, int (*)(DIR*)> stream_;
    std::string path_;
};

timespec now();

/// The time stamp in UTC as `nuriccl::to_str` writes it: `nuriccl::BAD_TIME` outside the years 1 to
/// 9999.
std::string time_text(const timespec& time);

/// The same of a whole second in local time, with its distance from UTC.
std::string local_time_text(std::time_t time);

} // namespace minibackup
