#pragma once

/// @file
/// Directories for one test, files of every kind in them, and a process that may not do everything.

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <ftw.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace files {

/// Passes on what a system call returned.
/// @throws std::system_error when it is -1
inline int checked(int result, const std::string& what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

/// A directory that is removed at the end, with all that is in it.
///
/// Not by the standard library: its 32-bit form may know neither sizes nor times beyond 32 bits.
class Directory {
public:
    Directory() : path_(::testing::TempDir() + "nuriccl-XXXXXX") {
        checked(mkdtemp(path_.data()) != nullptr ? 0 : -1, path_);
    }
    ~Directory() {
        const auto remove = [](const char* path, const struct stat*, int, FTW*) {
            return std::remove(path);
        };
        EXPECT_EQ(nftw(path_.c_str(), remove, 16, FTW_DEPTH | FTW_PHYS), 0) << path_;
    }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + '/' + name; }

private:
    std::string path_;
};

/// @name Making an entry
/// @throws std::system_error
/// @{
inline std::string make_file(const std::string& path) {
    close(checked(open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600), path));
    return path;
}

inline std::string make_directory(const std::string& path) {
    checked(mkdir(path.c_str(), 0700), path);
    return path;
}

inline std::string make_link(const std::string& path, const std::string& target) {
    checked(symlink(target.c_str(), path.c_str()), path);
    return path;
}

/// `type` is S_IFIFO or S_IFSOCK: those need no rights.
inline std::string make_node(const std::string& path, mode_t type) {
    checked(mknod(path.c_str(), type | 0600, 0), path);
    return path;
}

inline std::string make_sparse_file(const std::string& path, off_t size) {
    make_file(path);
    checked(truncate(path.c_str(), size), path);
    return path;
}

/// Both times in seconds since 1970. Some file systems keep a nearer time instead.
inline void set_times(const std::string& path, time_t seconds) {
    const timespec times[2]{{seconds, 0}, {seconds, 0}};
    checked(utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), path);
}
/// @}

/// A path and what is under it when links are not followed.
struct Entry {
    std::string what;
    std::string path;
    bool exists;
    bool is_directory;
};

/// Makes one entry of each kind that a normal user can make, and names that have nothing under
/// them.
inline std::vector<Entry> make_every_kind(const Directory& base) {
    constexpr off_t GIB = 1 << 30;
    constexpr time_t YEAR_2100 = 4102444800;
    constexpr time_t YEAR_1900 = -2208988800;

    const std::string directory = make_directory(base / "directory");
    const std::string file = make_file(base / "file");
    const std::string to_directory = make_link(base / "to_directory", "directory");
    const std::string to_file = make_link(base / "to_file", "file");
    const std::string dangling = make_link(base / "dangling", "nothing");
    const std::string loop = make_link(base / "loop", "loop");
    make_file(base / "directory/inner");
    checked(link(file.c_str(), (base / "hard_link").c_str()), "hard_link");
    checked(chmod(make_file(base / "shut_file").c_str(), 0), "shut_file");
    checked(chmod(make_directory(base / "shut_directory").c_str(), 0), "shut_directory");
    set_times(make_file(base / "late_file"), YEAR_2100);
    set_times(make_directory(base / "late_directory"), YEAR_2100);
    set_times(make_directory(base / "early_directory"), YEAR_1900);
    set_times(make_link(base / "late_link", "directory"), YEAR_2100);

    std::vector<Entry> entries{
        {"root", "/", true, true},
        {"directory", directory, true, true},
        {"directory with a separator behind it", directory + '/', true, true},
        {"directory itself", directory + "/.", true, true},
        {"parent of a directory", directory + "/..", true, true},
        {"directory without rights", base / "shut_directory", true, true},
        {"directory later than 2038", base / "late_directory", true, true},
        {"directory earlier than 1901", base / "early_directory", true, true},
        {"file", file, true, false},
        {"file in a directory", directory + "/inner", true, false},
        {"file without rights", base / "shut_file", true, false},
        {"file later than 2038", base / "late_file", true, false},
        {"file beyond 2 GiB", make_sparse_file(base / "3 GiB", 3 * GIB), true, false},
        {"file beyond 4 GiB", make_sparse_file(base / "5 GiB", 5 * GIB), true, false},
        {"second name of a file", base / "hard_link", true, false},
        {"link to a directory", to_directory, true, false},
        {"link to a directory, later than 2038", base / "late_link", true, false},
        {"link to a file", to_file, true, false},
        {"link that leads nowhere", dangling, true, false},
        {"link to itself", loop, true, false},
        {"file by way of a link", to_directory + "/inner", true, false},
        // A separator behind a link asks for what it leads to.
        {"what a link leads to", to_directory + '/', true, true},
        {"what a dangling link leads to", dangling + '/', false, false},
        {"what a link to itself leads to", loop + '/', false, false},
        {"FIFO", make_node(base / "fifo", S_IFIFO), true, false},
        {"socket", make_node(base / "socket", S_IFSOCK), true, false},
        {"character device", "/dev/null", true, false},
        {"nothing", base / "nothing", false, false},
        {"nothing in a missing directory", base / "nothing/nothing", false, false},
        {"nothing below a file", file + "/nothing", false, false},
        {"file taken for a directory", file + '/', false, false},
        {"file name too long", base / std::string(256, 'a'), false, false},
        {"path too long", directory + std::string(5000, '/'), false, false},
        {"path far too long", base / std::string(262144, '/'), false, false},
    };
    for (const char* const name :
         {" ", "...", "a\nb", "back\\slash", "*?", "caf\xc3\xa9", "\xff"}) {
        const std::string path = make_directory(base / name);
        entries.push_back({path, path, true, true});
    }
    entries.push_back(
        {"longest file name", make_directory(base / std::string(255, 'a')), true, true});
    return entries;
}

/// Gives up the rights of the superuser for the length of a scope, so that permissions count.
class WithoutRights {
public:
    WithoutRights() {
        checked(call(SYS_capget, earlier_), "capget");
        __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {earlier_[0], earlier_[1]};
        for (auto& half : none) {
            half.effective = 0;
        }
        checked(call(SYS_capset, none), "capset");
    }
    ~WithoutRights() { EXPECT_EQ(call(SYS_capset, earlier_), 0); }
    WithoutRights(const WithoutRights&) = delete;
    WithoutRights& operator=(const WithoutRights&) = delete;

private:
    static int call(long number, __user_cap_data_struct* data) {
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        return static_cast<int>(syscall(number, &header, data));
    }

    __user_cap_data_struct earlier_[_LINUX_CAPABILITY_U32S_3] = {};
};

} // namespace files
