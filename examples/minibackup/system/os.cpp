#include "os.hpp"

#include "names.hpp"

#include <nuriccl/util.hpp>
#include <unistd.h>

namespace minibackup {

namespace {

using nuriccl::BAD_TIME;

// Repeats a call that a signal interrupted.
template <class Call>
auto retried(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

std::string text_of(const tm& parts, long nanoseconds) {
    if (parts.tm_year <= -1900 || parts.tm_year > 8099) {
        return BAD_TIME; // not in the years 1 to 9999; tm counts from 1900
    }
    isotime record{};
    record.zone_flag = 1; // the zone is known
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion" // a day has 1440 minutes, which 12 bits hold
    record.zone_offset = static_cast<std::int16_t>(parts.tm_gmtoff / 60);
#pragma GCC diagnostic pop
    record.year = static_cast<std::uint16_t>(parts.tm_year + 1900);
    record.month = static_cast<std::uint8_t>(parts.tm_mon + 1);
    record.day = static_cast<std::uint8_t>(parts.tm_mday);
    record.hour = static_cast<std::uint8_t>(parts.tm_hour);
    record.minute = static_cast<std::uint8_t>(parts.tm_min);
    record.second = static_cast<std::uint8_t>(parts.tm_sec);
    record.hundredths = static_cast<std::uint8_t>(nanoseconds / 10000000);
    return nuriccl::to_str(record);
}

} // namespace

Error::Error(const std::string& subject, const std::string& reason)
    : std::runtime_error(readable(subject) + ": " + reason) {}

Descriptor::~Descriptor() {
    if (is_open()) {
        close(fd_);
    }
}

Descriptor open_at(int directory, const std::string& name, int flags, const std::string& path,
                   mode_t mode) {
    const auto open = [&] { return openat(directory, name.c_str(), flags | O_CLOEXEC, mode); };
    return Descriptor(
        check(retried(open), path, (flags & O_CREAT) != 0 ? "cannot create" : "cannot open"));
}

void make_directory(int directory, const std::string& name, const std::string& path) {
    const bool there = mkdirat(directory, name.c_str(), 0700) == 0 || errno == EEXIST;
    check(there ? 0 : -1, path, "cannot create");
}

struct stat status_of(int fd, const std::string& path) {
    struct stat status;
    check(fstat(fd, &status), path, "cannot get the status");
    return status;
}

std::size_t read_whole(int fd, void* to, std::size_t size, const std::string& path) {
    std::size_t done = 0;
    std::size_t count = 1;
    while (done < size && count != 0) {
        const auto part = [&] { return read(fd, static_cast<char*>(to) + done, size - done); };
        count = static_cast<std::size_t>(check(retried(part), path, "cannot read"));
        done += count;
    }
    return done;
}

void write_whole(int fd, const std::string& bytes, const std::string& path) {
    for (std::size_t done = 0; done < bytes.size();) {
        const auto part = [&] { return write(fd, bytes.data() + done, bytes.size() - done); };
        done += static_cast<std::size_t>(check(retried(part), path, "cannot write"));
    }
}

void close_written(Descriptor file, const std::string& path) {
    check(close(file.release()), path, "cannot write");
}

void seek(int fd, std::uint64_t position, const std::string& path) {
    check(lseek(fd, static_cast<off_t>(position), SEEK_SET), path, "cannot seek");
}

DirectoryNames::DirectoryNames(int directory, const std::string& name, std::string path)
    : stream_(nullptr, closedir), path_(std::move(path)) {
    Descriptor own = open_at(directory, name, OPEN_DIRECTORY, path_);
    stream_.reset(fdopendir(own.get()));
    check(stream_ ? own.release() : -1, path_, "cannot read"); // the stream closes it
}

bool DirectoryNames::next(std::string& name) {
    do {
        errno = 0;
        const dirent* const entry = readdir(stream_.get());
        if (entry == nullptr) {
            check(-errno, path_, "cannot read");
            return false;
        }
        name = entry->d_name;
    } while (name == "." || name == "..");
    return true;
}

timespec now() {
    timespec time;
    clock_gettime(CLOCK_REALTIME, &time);
    return time;
}

std::string time_text(const timespec& time) {
    tm parts;
    return gmtime_r(&time.tv_sec, &parts) != nullptr ? text_of(parts, time.tv_nsec) : BAD_TIME;
}

std::string local_time_text(std::time_t time) {
    tm parts;
    return localtime_r(&time, &parts) != nullptr ? text_of(parts, 0) : BAD_TIME;
}

} // namespace minibackup
