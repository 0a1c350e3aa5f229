#pragma once

/// @file
/// What the tests of minibackup need: a directory of their own, the program run in it, and pictures
/// of trees to compare.

#include "../../../SharedLibraries/nuriccl/tests/support/sanitized.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <nuriccl/signature.hpp>
#include <nuriccl/SingleInstance.hpp>
#include <sstream>
#include <string>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace minibackup_test {

namespace fs = std::filesystem;

constexpr std::size_t BLOCK = 0x100000;

inline std::string read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

inline void write_file(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    ASSERT_TRUE(file) << path;
}

/// Bytes that do not compress and differ for each seed.
inline std::string noise(std::size_t size, std::uint32_t seed) {
    std::string bytes(size, '\0');
    std::uint32_t state = seed * 2654435761U + 1;
    for (char& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

/// How the program ended and what it printed.
struct Outcome {
    int status = -1; ///< exit status; -1 when a signal ended it
    std::string out;
    std::string err;
};

inline ::testing::AssertionResult ended(const Outcome& outcome, int status) {
    return (outcome.status == status ? ::testing::AssertionSuccess()
                                     : ::testing::AssertionFailure())
           << "status " << outcome.status << "\n"
           << outcome.out << outcome.err;
}

inline ::testing::AssertionResult contains(const std::string& text, const std::string& part) {
    return (text.find(part) != std::string::npos ? ::testing::AssertionSuccess()
                                                 : ::testing::AssertionFailure())
           << "no '" << part << "' in\n"
           << text;
}

/// The lines, of which each has its end.
inline std::vector<std::string> lines_of(const std::string& text) {
    EXPECT_TRUE(text.empty() || text.back() == '\n') << text;
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// An entry of a tree, all that a restore must give back.
struct Node {
    mode_t type_and_mode;
    std::int64_t seconds;
    std::int64_t nanoseconds;
    std::string content; ///< signature of a file's, target of a link

    bool operator==(const Node& other) const {
        return type_and_mode == other.type_and_mode && seconds == other.seconds &&
               nanoseconds == other.nanoseconds && content == other.content;
    }
};

inline std::ostream& operator<<(std::ostream& stream, const Node& node) {
    return stream << std::oct << node.type_and_mode << std::dec << ' ' << node.seconds << '.'
                  << node.nanoseconds << ' ' << node.content;
}

using Picture = std::map<std::string, Node>;

inline struct stat status_of(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(0, lstat(path.c_str(), &status)) << path;
    return status;
}

// Not with std::filesystem, which cannot read what has a time after 2038 on 32-bit systems.

inline std::string link_target(const std::string& path) {
    std::string target(4096, '\0');
    const ssize_t length = readlink(path.c_str(), &target[0], target.size());
    EXPECT_LT(0, length) << path;
    target.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    return target;
}

inline void add_to_picture(Picture& picture, const std::string& root, const std::string& path) {
    const struct stat status = status_of(path);
    std::string content;
    if (S_ISREG(status.st_mode)) {
        content = nuriccl::Signature::of(read_file(path));
    } else if (S_ISLNK(status.st_mode)) {
        content = link_target(path);
    }
    picture[path.substr(root.size())] = {status.st_mode, status.st_mtim.tv_sec,
                                         status.st_mtim.tv_nsec, content};
    if (S_ISDIR(status.st_mode)) {
        DIR* const directory = opendir(path.c_str());
        ASSERT_NE(nullptr, directory) << path;
        while (const dirent* const entry = readdir(directory)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") {
                add_to_picture(picture, root, path + '/' + name);
            }
        }
        closedir(directory);
    }
}

inline Picture picture_of(const std::string& root) {
    Picture picture;
    add_to_picture(picture, root, root);
    return picture;
}

/// Everything happens in a directory that is removed at the end, below it the source "s", the store
/// "b" and the destination "d".
class MinibackupTest : public ::testing::Test {
protected:
    explicit MinibackupTest(const fs::path& place = fs::temp_directory_path()) {
        std::string name = (place / "minibackup-XXXXXX").string();
        if (mkdtemp(&name[0]) == nullptr) {
            throw std::runtime_error("no directory for the test: " + name);
        }
        root = name;
        fs::create_directory(source());
    }

    ~MinibackupTest() override {
        EXPECT_EQ(-1, lock_of(store())) << "a semaphore set is left behind";
        const std::string remove =
            "chmod -R u+rwx '" + root + "' 2>/dev/null; rm -rf '" + root + "'";
        EXPECT_EQ(0, std::system(remove.c_str()));
    }

    std::string at(const std::string& name) const { return root + '/' + name; }
    std::string source() const { return at("s"); }
    std::string store() const { return at("b"); }
    std::string destination() const { return at("d"); }

    /// Runs the program to its end. `prepare` is called in its process.
    Outcome run(
        const std::vector<std::string>& arguments,
        const std::function<void()>& prepare = [] {}) const {
        return wait_for(start(arguments, prepare));
    }

    /// Runs the program with faults (see faults.cpp), given as NAME=VALUE.
    Outcome run_with_faults(const std::vector<std::string>& arguments,
                            const std::vector<std::string>& settings) const {
        return run(arguments, [&settings] { set_faults(settings); });
    }

    static void set_faults(const std::vector<std::string>& settings) {
        for (const std::string& setting : settings) {
            const std::size_t sign = setting.find('=');
            setenv(setting.substr(0, sign).c_str(), setting.substr(sign + 1).c_str(), 1);
        }
        setenv("LD_PRELOAD", MINIBACKUP_FAULTS, 1);
        setenv("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0", 1);
    }

    pid_t start(
        const std::vector<std::string>& arguments,
        const std::function<void()>& prepare = [] {}) const {
        const std::string prefix = at(std::to_string(++runs_started_));
        const pid_t process = fork();
        if (process == 0) {
            if (runs_started_ > RUNS_LOOKED_THROUGH_FOR_LEAKS) {
                setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
            }
            redirect(prefix + ".out", STDOUT_FILENO);
            redirect(prefix + ".err", STDERR_FILENO);
            prepare();
            execute(arguments);
        }
        outputs_[process] = prefix;
        return process;
    }

    Outcome wait_for(pid_t process) const {
        int status = 0;
        EXPECT_EQ(process, waitpid(process, &status, 0));
        const std::string prefix = outputs_[process];
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file(prefix + ".out"),
                read_file(prefix + ".err")};
    }

    /// What a program has said so far.
    std::string errors_of(pid_t process) const { return read_file(outputs_[process] + ".err"); }

    /// Becomes the program. It is ended when it hangs.
    [[noreturn]] static void execute(const std::vector<std::string>& arguments) {
        std::vector<char*> words = {const_cast<char*>("minibackup")};
        for (const std::string& argument : arguments) {
            words.push_back(const_cast<char*>(argument.c_str()));
        }
        words.push_back(nullptr);
        alarm(300);
        execv(MINIBACKUP_PROGRAM, words.data());
        _exit(127);
    }

    Outcome save() const { return run({"save", source(), store()}); }
    Outcome verify() const { return run({"verify", store()}); }

    /// Restores the newest run in the place of what was restored before.
    Outcome restore() const {
        fs::remove_all(destination());
        return run({"restore", store(), destination()});
    }

    /// Files of the store that hold blocks.
    std::vector<std::string> blocks() const {
        std::vector<std::string> found;
        for (const fs::directory_entry& entry :
             fs::recursive_directory_iterator(store() + "/blocks")) {
            if (entry.is_regular_file()) {
                found.push_back(entry.path().string());
            }
        }
        return found;
    }

    std::vector<std::string> names_in_store(const std::string& start) const {
        std::vector<std::string> found;
        for (const fs::directory_entry& entry : fs::directory_iterator(store())) {
            const std::string name = entry.path().filename().string();
            if (name.compare(0, start.size(), start) == 0) {
                found.push_back(name);
            }
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    std::vector<std::string> runs() const { return names_in_store("0"); }
    std::vector<std::string> leftovers() const { return names_in_store("minibackup.tmp-"); }

    std::string block_path(const std::string& content) const {
        const std::string signature = nuriccl::Signature::of(content);
        return store() + "/blocks/" + signature.substr(0, 2) + '/' + signature.substr(2);
    }

    /// The semaphore set that is the lock of a store; -1 when there is none.
    static int lock_of(const std::string& store) {
        const std::unique_ptr<char, decltype(&std::free)> path(realpath(store.c_str(), nullptr),
                                                               &std::free);
        return path ? semget(nuriccl::ftokey(path.get()), 0, 0) : -1;
    }

    /// Removes what a save that was killed left of its lock. The next one would do it in a second.
    void remove_lock() const { semctl(lock_of(store()), 0, IPC_RMID); }

    std::string root;

private:
    static void redirect(const std::string& path, int to) {
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(file, to);
        close(file);
    }

    // With the address sanitizer, of each case. The look takes a process twice as long as all else.
    static constexpr int RUNS_LOOKED_THROUGH_FOR_LEAKS = 5;

    mutable int runs_started_ = 0;
    mutable std::map<pid_t, std::string> outputs_;
};

} // namespace minibackup_test
