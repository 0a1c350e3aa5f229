// SingleInstance: a lock between processes, which are real ones here, as are the semaphore sets.
//
//   ftokey()                                 Ftokey.*
//   SingleInstance(), ~SingleInstance()      SingleInstanceHolds.*, SingleInstanceType.*
//   checkForSingleInstance()
//     of a lock that is free                 SingleInstanceHolds.*
//     of a lock that is held                 SingleInstanceWaits.*
//     of a lock whose set was left behind    SingleInstanceTakesOver.*
//     that is interrupted                    SingleInstanceInterrupted.*
//     when the system refuses a call         SingleInstanceRefused.*
//     by many at once                        SingleInstanceContest.*
//     of users with different rights         SingleInstanceUsers.*
//   isSingleInstanceAvailable()              SingleInstanceAvailable.*
//   ReleaseMutex()                           SingleInstanceReleases.*
//   the example of the header                SingleInstanceUsage.*
//
// Nothing here depends on how long anything takes: a process waits when the kernel counts it among
// those that wait for the semaphore. A lock changes hands only when all others wait in this way,
// and a process that makes a set is left alone until it holds it; what happens otherwise is left
// open by the header.

#include "support/allocation.hpp"
#include "support/files.hpp"
#include "support/process.hpp"
#include "support/semaphores.hpp"
#include "support/stat.hpp"
#include "support/texts.hpp"

#include <nuriccl/SingleInstance.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <sys/stat.h>
#include <sys/time.h>
#include <thread>
#include <type_traits>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using nuriccl::ftokey;
using nuriccl::SingleInstance;
using process::eventually;
using semaphores::Watch;

using Calls = std::vector<std::string>;

// The key by its definition, each byte with its weight:
// inode x 33^n + byte 1 x 33^(n-1) ... + byte n.
std::int32_t model_key(std::uint64_t inode, const std::string& path) {
    constexpr std::int64_t MODULUS = std::int64_t{1} << 32;
    std::int64_t weight = 1;
    std::int64_t sum = 0;
    for (auto c = path.rbegin(); c != path.rend(); ++c) {
        const int byte = static_cast<unsigned char>(*c);
        sum = (sum + (byte < 128 ? byte : byte - 256) * weight) % MODULUS;
        weight = weight * 33 % MODULUS;
    }
    const auto low = static_cast<std::uint32_t>(inode);
    const auto start = static_cast<std::int64_t>(std::uint64_t{low} * std::uint64_t(weight) %
                                                 std::uint64_t(MODULUS));
    const std::int64_t key = (sum + start + MODULUS) % MODULUS;
    return static_cast<std::int32_t>(key < MODULUS / 2 ? key : key - MODULUS);
}

// The key of a path that exists.
std::int32_t key_of(const std::string& path) {
    struct stat status {};
    files::checked(fstatat(AT_FDCWD, path.c_str(), &status, 0), path);
    return model_key(status.st_ino, path);
}

} // namespace

// Keys

TEST(Ftokey, StartsWithTheInodeAndTakesEachByteInOrder) {
    struct Row {
        ino_t inode;
        const char* path;
        std::int64_t key;
    };
    const Row rows[] = {
        {1, "a", 1 * 33 + 97},
        {5, "ab", (5 * 33 + 97) * 33 + 98},
        {5, "ba", (5 * 33 + 98) * 33 + 97},
        {0, "abc", (97 * 33 + 98) * 33 + 99},
        {0, "/", 47},
        {1, "/", 80},
        {2, "/", 113},
        // Bytes from 0x80 on count as negative.
        {1, "\x7f", 33 + 127},
        {1, "\x80", 33 - 128},
        {1, "\xff", 33 - 1},
        {0, "\x80", -128},
        {0, "\xff\x80", -33 - 128},
        {10, "\xc3\xa9", (330 - 61) * 33 - 87},
        // Modulo 2^32, and then signed.
        {0x7fffffff, "\x01", 2147483616},
        {0x80000000, "a", -2147483551},
        {0xffffffff, "a", 64},
        {0x3e0f83e, "\x01", 2147483647},
        {0x3e0f83e, "\x02", -2147483648LL},
        // Only the low half of the inode counts.
        {0x100000001, "a", 130},
        {0xffffffff00000005, "ab", 8744},
        {0x123456789abcdef0, "", -1698898192},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.path) + " with inode " + std::to_string(row.inode));
        const auto answer = stat_calls::Answer::inode(row.inode);
        EXPECT_EQ(ftokey(row.path), row.key);
        EXPECT_EQ(model_key(row.inode, row.path), row.key) << "fault of the model";
    }
}

TEST(Ftokey, IsTheModelsForEveryTextOfTwoBytes) {
    const std::string bytes = texts::all_bytes().substr(1);
    for (const std::uint64_t inode : {0x0ULL, 0x1ULL, 0x7fffffffULL, 0x8765432180000001ULL}) {
        const auto answer = stat_calls::Answer::inode(inode);
        for (const std::string& path : texts::over(bytes, 2)) {
            ASSERT_EQ(ftokey(path.c_str()), model_key(inode, path))
                << testing::PrintToString(path) << " with inode " << inode;
        }
    }
}

TEST(Ftokey, IsTheModelsForRandomPaths) {
    const auto seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 500; ++round) {
        std::string path(random() % 300, '\0');
        for (char& c : path) {
            c = static_cast<char>(random() % 255 + 1);
        }
        const std::uint64_t inode = (std::uint64_t{random()} << 32) | random();
        const auto answer = stat_calls::Answer::inode(inode);
        ASSERT_EQ(ftokey(path.c_str()), model_key(inode, path)) << testing::PrintToString(path);
    }
}

TEST(Ftokey, IsThatOfTheFileWhateverItsKind) {
    const files::Directory base;
    for (const files::Entry& entry : files::make_every_kind(base)) {
        SCOPED_TRACE(entry.what);
        errno = 0;
        struct stat status {};
        const bool found = fstatat(AT_FDCWD, entry.path.c_str(), &status, 0) == 0;
        const int error = errno;
        errno = ERANGE;
        EXPECT_EQ(ftokey(entry.path.c_str()), found ? model_key(status.st_ino, entry.path) : -1);
        EXPECT_EQ(errno, found ? 0 : error);
    }
}

TEST(Ftokey, DependsOnTheSpellingOfThePath) {
    const files::Directory base;
    const std::string file = files::make_file(base / "file");
    const std::string link = files::make_link(base / "link", "file");
    const std::string way = files::make_link(base / "way", ".");
    files::make_directory(base / "sub");
    files::checked(::link(file.c_str(), (base / "hard").c_str()), "hard link");
    std::vector<std::int32_t> keys;
    for (const std::string& path : {file, link, way + "/file", base / "./file", base / "/file",
                                    base / "sub/../file", base / "hard"}) {
        keys.push_back(ftokey(path.c_str()));
        // All by the inode of the one file.
        EXPECT_EQ(keys.back(), key_of(path)) << path;
    }
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(std::unique(keys.begin(), keys.end()), keys.end());
}

TEST(Ftokey, DependsOnTheFile) {
    const files::Directory base;
    const std::string file = files::make_file(base / "file");
    const std::int32_t key = ftokey(file.c_str());
    EXPECT_EQ(ftokey(file.c_str()), key);
    const std::string other = files::make_file(base / "other");
    files::checked(rename(other.c_str(), file.c_str()), "rename");
    EXPECT_NE(ftokey(file.c_str()), key);
    EXPECT_EQ(ftokey(file.c_str()), key_of(file));
}

TEST(Ftokey, IsMinusOneWithTheErrorOfStat) {
    const files::Directory base;
    const std::string file = files::make_file(base / "file");
    const std::string dangling = files::make_link(base / "dangling", "nothing");
    const std::string loop = files::make_link(base / "loop", "loop");
    const std::string shut = files::make_directory(base / "shut");
    files::make_file(base / "shut/file");
    files::checked(chmod(shut.c_str(), 0), shut);
    const std::pair<std::string, int> rows[] = {
        {"", ENOENT},
        {base / "nothing", ENOENT},
        {dangling, ENOENT},
        {loop, ELOOP},
        {file + "/nothing", ENOTDIR},
        {file + '/', ENOTDIR},
        {base / std::string(256, 'a'), ENAMETOOLONG},
        {base / std::string(5000, '/'), ENAMETOOLONG},
        {shut + "/file", EACCES},
    };
    {
        const files::WithoutRights rights;
        for (const auto& [path, error] : rows) {
            errno = 0;
            EXPECT_EQ(ftokey(path.c_str()), -1) << path;
            EXPECT_EQ(errno, error) << path;
        }
    }
    files::checked(chmod(shut.c_str(), 0700), shut); // or its file could not be removed
    errno = 0;
    EXPECT_EQ(ftokey(nullptr), -1);
    EXPECT_EQ(errno, ENOENT);
    for (const int error : {EIO, ENOMEM, EOVERFLOW, EINTR}) {
        const auto answer = stat_calls::Answer::failure(error);
        errno = 0;
        EXPECT_EQ(ftokey(file.c_str()), -1);
        EXPECT_EQ(errno, error);
    }
}

TEST(Ftokey, MakesErrnoZero) {
    for (const int earlier : {ENOENT, EINTR, -1}) {
        errno = earlier;
        EXPECT_NE(ftokey("/"), -1);
        EXPECT_EQ(errno, 0);
    }
}

TEST(Ftokey, MayBeMinusOneByAccident) {
    const auto answer = stat_calls::Answer::inode(0);
    errno = ENOENT;
    EXPECT_EQ(ftokey("\xff"), -1);
    EXPECT_EQ(errno, 0);
}

TEST(SingleInstanceType, OwnsItsSet) {
    static_assert(std::is_same_v<decltype(ftokey("")), std::int32_t>);
    static_assert(noexcept(ftokey("")));
    static_assert(std::is_nothrow_default_constructible_v<SingleInstance>);
    static_assert(std::is_nothrow_destructible_v<SingleInstance>);
    static_assert(!std::is_copy_constructible_v<SingleInstance>);
    static_assert(!std::is_copy_assignable_v<SingleInstance>);
    static_assert(!std::is_move_constructible_v<SingleInstance>);
    static_assert(!std::is_move_assignable_v<SingleInstance>);
    // Nothing but the identifier of the set.
    EXPECT_EQ(sizeof(SingleInstance), sizeof(std::int32_t));
}

namespace {

// A directory with files that name locks. At the end there must be no set of any of them, and a
// neighbour's set must be as it was.
class Locks : public testing::Test {
protected:
    void SetUp() override {
        // The neighbour's set, and what a test needs at most.
        if (const int error = semaphores::shortage(5); error != 0) {
            GTEST_SKIP() << "no System V semaphore sets to be had: " << std::strerror(error);
        }
        path_ = add_file("lock");
        neighbour_ = semaphores::make(key_of(files::make_file(base_ / "neighbour")), 5);
        neighbour_before_ = semaphores::status(neighbour_);
    }

    void TearDown() override {
        semaphores::refused = 0;
        for (const key_t key : keys_) {
            const int left = semaphores::find(key);
            EXPECT_EQ(left, semaphores::NONE) << "set left behind";
            semaphores::remove(left);
        }
        if (neighbour_ != semaphores::NONE) {
            expect_neighbour_untouched();
            EXPECT_TRUE(semaphores::remove(neighbour_));
        }
    }

    // Cares for the sets of a path that exists.
    std::string add(const std::string& path) {
        keys_.push_back(key_of(path));
        return path;
    }

    std::string add_file(const std::string& name) { return add(files::make_file(base_ / name)); }

    const files::Directory& base() const { return base_; }

    // The lock of most tests.
    const std::string& path() const { return path_; }
    const char* name() const { return path_.c_str(); }
    key_t key() const { return keys_.front(); }

    // The set that the lock has now.
    int set() const { return semaphores::find(key()); }
    bool is_free() const { return set() == semaphores::NONE; }

    // Whether `number` processes come to wait for the set of the lock.
    bool come_to_wait(int number) const {
        return eventually([&] { return semaphores::waiting(set()) == number; });
    }

private:
    void expect_neighbour_untouched() const {
        EXPECT_EQ(semaphores::value(neighbour_), 5);
        EXPECT_EQ(semaphores::last_process(neighbour_), getpid());
        const semid_ds status = semaphores::status(neighbour_);
        EXPECT_EQ(status.sem_otime, 0);
        EXPECT_EQ(status.sem_ctime, neighbour_before_.sem_ctime);
        EXPECT_EQ(status.sem_perm.mode, neighbour_before_.sem_perm.mode);
    }

    // A call that does not return by itself fails in the end, with EINTR or ETIME.
    process::Alarm alarm_{[](int) { semaphores::refused = 1; }};
    files::Directory base_;
    std::string path_;
    std::vector<key_t> keys_;
    int neighbour_ = semaphores::NONE;
    semid_ds neighbour_before_{};
};

// The calls that take a free lock, as set `name` of the record.
Calls taking(const std::string& name) { return {"create " + name, "free " + name, "take " + name}; }

Calls releasing(const std::string& name) { return {"give back " + name, "remove " + name}; }

// The calls that get a lock whose set A was left behind free.
const Calls TAKING_OVER = {"create EEXIST", "pause",    "open A", "take A", "give back A",
                           "remove A",      "create B", "free B", "take B"};

std::string failed(const std::string& call, int error) {
    return call + ' ' + strerrorname_np(error);
}

Calls operator+(Calls first, const Calls& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// Leaves the pauses out: where only one process is after a lock, nothing happens in them.
int without_pause(const std::string& call) { return call == "pause" ? EAGAIN : 0; }

class Umask {
public:
    explicit Umask(mode_t mask) : earlier_(umask(mask)) {}
    ~Umask() { umask(earlier_); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

private:
    mode_t earlier_;
};

class SingleInstanceHolds : public Locks {};
class SingleInstanceReleases : public Locks {};
class SingleInstanceAvailable : public Locks {};
class SingleInstanceRefused : public Locks {};
class SingleInstanceTakesOver : public Locks {};
class SingleInstanceUsage : public Locks {};

} // namespace

// A lock that is free

TEST_F(SingleInstanceHolds, FreeLockAtOnce) {
    const Watch watch(key());
    SingleInstance instance;
    EXPECT_EQ(watch.calls(), Calls());
    EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
    EXPECT_EQ(watch.calls(), taking("A"));
}

TEST_F(SingleInstanceHolds, SetOfOneSemaphoreThatIsTaken) {
    const Umask umask(077);
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    ASSERT_FALSE(is_free());
    EXPECT_EQ(semaphores::value(set()), 0);
    EXPECT_EQ(semaphores::last_process(set()), getpid());
    const semid_ds status = semaphores::status(set());
    EXPECT_EQ(status.sem_nsems, 1U);
    EXPECT_EQ(status.sem_perm.mode & 0777, 0666);
    EXPECT_EQ(status.sem_perm.uid, geteuid());
    EXPECT_NE(status.sem_otime, 0);
}

TEST_F(SingleInstanceHolds, LockOfAnythingThatExists) {
    // To look at these takes no right to open them; opening the FIFO would wait for a writer.
    const std::string shut = add_file("shut");
    files::checked(chmod(shut.c_str(), 0), shut);
    const std::string paths[] = {add(files::make_directory(base() / "directory")),
                                 add(files::make_node(base() / "fifo", S_IFIFO)),
                                 add(files::make_link(base() / "link", "lock")), shut,
                                 add_file("caf\xc3\xa9 \xff")};
    for (const std::string& path : paths) {
        SCOPED_TRACE(path);
        SingleInstance instance;
        EXPECT_EQ(instance.checkForSingleInstance(path.c_str()), 0);
        EXPECT_EQ(semaphores::value(semaphores::find(key_of(path))), 0);
    }
}

TEST_F(SingleInstanceHolds, LeavesTheFileAlone) {
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(fstatat(AT_FDCWD, name(), &before, 0), 0);
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    instance.ReleaseMutex();
    ASSERT_EQ(fstatat(AT_FDCWD, name(), &after, 0), 0);
    EXPECT_EQ(before.st_size, after.st_size);
    EXPECT_EQ(before.st_ctim.tv_sec, after.st_ctim.tv_sec);
    EXPECT_EQ(before.st_ctim.tv_nsec, after.st_ctim.tv_nsec);
}

TEST_F(SingleInstanceHolds, OneLockForEachSpellingOfThePath) {
    const std::string link = add(files::make_link(base() / "link", "lock"));
    const std::string dotted = add(base() / "./lock");
    SingleInstance first;
    SingleInstance second;
    SingleInstance third;
    EXPECT_EQ(first.checkForSingleInstance(name()), 0);
    EXPECT_EQ(second.checkForSingleInstance(link.c_str()), 0);
    EXPECT_EQ(third.checkForSingleInstance(dotted.c_str()), 0);
    EXPECT_EQ(semaphores::value(set()), 0);
    EXPECT_EQ(semaphores::value(semaphores::find(key_of(link))), 0);
    EXPECT_EQ(semaphores::value(semaphores::find(key_of(dotted))), 0);
}

TEST_F(SingleInstanceHolds, AnotherLockAfterTheFileWasReplaced) {
    SingleInstance first;
    SingleInstance second;
    ASSERT_EQ(first.checkForSingleInstance(name()), 0);
    const std::string other = files::make_file(base() / "other");
    files::checked(rename(other.c_str(), name()), "rename");
    add(path());
    EXPECT_EQ(second.checkForSingleInstance(name()), 0);
    EXPECT_EQ(semaphores::value(set()), 0);
    EXPECT_EQ(semaphores::value(semaphores::find(key_of(path()))), 0);
}

TEST_F(SingleInstanceHolds, ReleasesFirstWhenAskedForTheSameLock) {
    const Watch watch(key());
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
    EXPECT_EQ(watch.calls(), taking("A") + releasing("A") + taking("B"));
    EXPECT_EQ(semaphores::value(set()), 0);
}

TEST_F(SingleInstanceHolds, ReleasesFirstWhenAskedForAnotherLock) {
    const std::string other = add_file("other");
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    {
        const Watch watch(key_of(other));
        EXPECT_EQ(instance.checkForSingleInstance(other.c_str()), 0);
        EXPECT_EQ(watch.calls(), releasing("A") + taking("B"));
    }
    EXPECT_TRUE(is_free());
    EXPECT_EQ(semaphores::value(semaphores::find(key_of(other))), 0);
}

TEST_F(SingleInstanceHolds, NothingOfAPathThatCannotBeExamined) {
    const std::string missing = base() / "missing";
    const std::string loop = files::make_link(base() / "loop", "loop");
    const std::string below = path() + "/below";
    const std::pair<const char*, int> rows[] = {
        {missing.c_str(), ENOENT}, {"", ENOENT}, {nullptr, ENOENT}, {loop.c_str(), ELOOP},
        {below.c_str(), ENOTDIR},
    };
    for (const auto& [bad, error] : rows) {
        SCOPED_TRACE(testing::PrintToString(bad));
        const Watch watch(key());
        SingleInstance instance;
        EXPECT_EQ(instance.checkForSingleInstance(bad), error);
        EXPECT_EQ(instance.ReleaseMutex(), 0);
        EXPECT_TRUE(instance.isSingleInstanceAvailable(bad));
        EXPECT_EQ(watch.calls(), Calls());
        // What was held before is released all the same.
        ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
        EXPECT_EQ(instance.checkForSingleInstance(bad), error);
        EXPECT_TRUE(is_free());
        EXPECT_TRUE(instance.isSingleInstanceAvailable(bad));
        EXPECT_EQ(instance.ReleaseMutex(), 0);
        EXPECT_EQ(watch.calls(), taking("A") + releasing("A"));
    }
}

TEST_F(SingleInstanceHolds, NothingWhenTheKeyHappensToBeMinusOne) {
    const auto answer = stat_calls::Answer::inode(0);
    const Watch watch(-1);
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance("\xff"), 0);
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_EQ(watch.calls(), Calls());
}

TEST_F(SingleInstanceHolds, AsOftenAsAsked) {
    SingleInstance instance;
    for (int round = 0; round < 1000; ++round) {
        ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
        ASSERT_EQ(semaphores::value(set()), 0);
        if (round % 2 == 0) {
            ASSERT_EQ(instance.ReleaseMutex(), 0);
            ASSERT_TRUE(is_free());
        }
    }
}

TEST_F(SingleInstanceHolds, WithoutAllocatingMemory) {
    const allocation::Watch watch;
    {
        SingleInstance instance;
        instance.checkForSingleInstance(name());
        instance.isSingleInstanceAvailable(name());
        instance.checkForSingleInstance(name());
        instance.checkForSingleInstance("");
        instance.checkForSingleInstance(name());
    }
    EXPECT_EQ(watch.requests(), 0U);
}

// Release

TEST_F(SingleInstanceReleases, AndRemovesTheSet) {
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    const Watch watch(key());
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_EQ(watch.calls(), releasing("A"));
    EXPECT_TRUE(is_free());
}

TEST_F(SingleInstanceReleases, NothingWithoutCallingAnything) {
    const Watch watch(key());
    const unsigned int stats = stat_calls::number;
    SingleInstance instance;
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_EQ(watch.calls(), Calls());
    EXPECT_EQ(stat_calls::number, stats);
}

TEST_F(SingleInstanceReleases, NothingWhileAnotherObjectHolds) {
    SingleInstance holder;
    ASSERT_EQ(holder.checkForSingleInstance(name()), 0);
    const int held = set();
    {
        SingleInstance other;
        EXPECT_EQ(other.ReleaseMutex(), 0);
    }
    EXPECT_EQ(set(), held);
    EXPECT_EQ(semaphores::value(held), 0);
}

TEST_F(SingleInstanceReleases, OnlyOnce) {
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    const Watch watch(key());
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_EQ(watch.calls(), releasing("A"));
}

TEST_F(SingleInstanceReleases, WhenItIsDestroyed) {
    auto instance = std::make_unique<SingleInstance>();
    ASSERT_EQ(instance->checkForSingleInstance(name()), 0);
    const Watch watch(key());
    instance.reset();
    EXPECT_EQ(watch.calls(), releasing("A"));
    EXPECT_TRUE(is_free());
    instance = std::make_unique<SingleInstance>();
    instance.reset();
    EXPECT_EQ(watch.calls(), releasing("A"));
}

TEST_F(SingleInstanceReleases, WhenTheFileHasGone) {
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    files::checked(unlink(name()), "unlink");
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_TRUE(is_free());
}

TEST_F(SingleInstanceReleases, WhateverHasBecomeOfTheValue) {
    for (const int value : {1, 2, 32767}) {
        SingleInstance instance;
        ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
        semaphores::set_value(set(), value);
        EXPECT_EQ(instance.ReleaseMutex(), 0);
        EXPECT_TRUE(is_free());
    }
}

TEST_F(SingleInstanceReleases, NoSetButItsOwn) {
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    ASSERT_TRUE(semaphores::remove(set()));
    const int others = semaphores::make(key(), 0);
    const Watch watch(key());
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_EQ(watch.calls(), (Calls{"give back A EINVAL", "remove A EINVAL"}));
    EXPECT_EQ(set(), others);
    EXPECT_EQ(semaphores::value(others), 0);
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_TRUE(semaphores::remove(others));
}

TEST_F(SingleInstanceReleases, IgnoringEveryError) {
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    const int kept = set();
    {
        const Watch watch(key(), [](const std::string&) { return EPERM; });
        EXPECT_EQ(instance.ReleaseMutex(), 0);
        EXPECT_EQ(instance.ReleaseMutex(), 0);
        EXPECT_EQ(watch.calls(), (Calls{"give back A EPERM", "remove A EPERM"}));
    }
    EXPECT_TRUE(instance.isSingleInstanceAvailable(name()));
    EXPECT_EQ(set(), kept);
    EXPECT_TRUE(semaphores::remove(kept));
}

// The kernel counts what it would have to undo; after taking and giving back that is nothing.
TEST_F(SingleInstanceReleases, WhatIsNotGivenBackAgainWhenTheProcessEnds) {
    process::Child child([this](process::Line& parent) {
        const Watch watch(key(),
                          [](const std::string& call) { return call == "remove" ? EPERM : 0; });
        SingleInstance instance;
        parent.tell(instance.checkForSingleInstance(name()));
        parent.tell(instance.ReleaseMutex());
    });
    EXPECT_EQ(child.line().hear(), 0);
    EXPECT_EQ(child.line().hear(), 0);
    EXPECT_EQ(child.end(), 0);
    EXPECT_EQ(semaphores::value(set()), 1);
    EXPECT_TRUE(semaphores::remove(set()));
}

TEST_F(SingleInstanceReleases, TheSetAlsoWhenItCannotGiveBack) {
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    const Watch watch(key(),
                      [](const std::string& call) { return call == "give back" ? ENOMEM : 0; });
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_EQ(watch.calls(), (Calls{"give back A ENOMEM", "remove A"}));
    EXPECT_TRUE(is_free());
}

// Whether the lock is still taken

TEST_F(SingleInstanceAvailable, WhenItHoldsNothingWhateverThePath) {
    const Watch watch(key());
    const unsigned int stats = stat_calls::number;
    SingleInstance instance;
    EXPECT_TRUE(instance.isSingleInstanceAvailable(name()));
    EXPECT_TRUE(instance.isSingleInstanceAvailable("/nothing/of/this/name"));
    EXPECT_TRUE(instance.isSingleInstanceAvailable(""));
    EXPECT_TRUE(instance.isSingleInstanceAvailable(nullptr));
    EXPECT_EQ(watch.calls(), Calls());
    EXPECT_EQ(stat_calls::number, stats);
}

TEST_F(SingleInstanceAvailable, WhileItHolds) {
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    const int held = set();
    const Watch watch(key());
    EXPECT_TRUE(instance.isSingleInstanceAvailable(name()));
    EXPECT_TRUE(instance.isSingleInstanceAvailable(name()));
    EXPECT_EQ(watch.calls(), (Calls{"look A", "look A"}));
    EXPECT_EQ(set(), held);
    EXPECT_EQ(semaphores::value(held), 0);
}

TEST_F(SingleInstanceAvailable, AfterItReleased) {
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    instance.ReleaseMutex();
    files::checked(unlink(name()), "unlink");
    EXPECT_TRUE(instance.isSingleInstanceAvailable(name()));
}

// The path is only examined: the set asked about is the object's own.
TEST_F(SingleInstanceAvailable, ByItsOwnSetWhateverThePath) {
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    EXPECT_TRUE(instance.isSingleInstanceAvailable("/"));
    EXPECT_TRUE(instance.isSingleInstanceAvailable((base() / "neighbour").c_str()));
    semaphores::set_value(set(), 1);
    EXPECT_FALSE(instance.isSingleInstanceAvailable("/"));
    EXPECT_FALSE(instance.isSingleInstanceAvailable((base() / "neighbour").c_str()));
}

TEST_F(SingleInstanceAvailable, NotWhileThePathCannotBeExamined) {
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    const Watch watch(key());
    EXPECT_FALSE(instance.isSingleInstanceAvailable((base() / "missing").c_str()));
    EXPECT_FALSE(instance.isSingleInstanceAvailable((path() + "/below").c_str()));
    EXPECT_FALSE(instance.isSingleInstanceAvailable(""));
    EXPECT_FALSE(instance.isSingleInstanceAvailable(nullptr));
    files::checked(unlink(name()), "unlink");
    EXPECT_FALSE(instance.isSingleInstanceAvailable(name()));
    files::make_file(path());
    EXPECT_TRUE(instance.isSingleInstanceAvailable(name()));
    EXPECT_EQ(watch.calls(), Calls{"look A"});
}

TEST_F(SingleInstanceAvailable, NotWhenTheKeyHappensToBeMinusOne) {
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    const auto answer = stat_calls::Answer::inode(0);
    EXPECT_FALSE(instance.isSingleInstanceAvailable("\xff"));
}

TEST_F(SingleInstanceAvailable, NotWhileTheValueIsRaised) {
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    for (const int value : {1, 2, 32767}) {
        semaphores::set_value(set(), value);
        EXPECT_FALSE(instance.isSingleInstanceAvailable(name()));
        semaphores::set_value(set(), 0);
        EXPECT_TRUE(instance.isSingleInstanceAvailable(name()));
    }
}

TEST_F(SingleInstanceAvailable, NotAfterTheSetWasRemoved) {
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    ASSERT_TRUE(semaphores::remove(set()));
    EXPECT_FALSE(instance.isSingleInstanceAvailable(name()));
    const int others = semaphores::make(key(), 0);
    EXPECT_FALSE(instance.isSingleInstanceAvailable(name()));
    EXPECT_TRUE(semaphores::remove(others));
}

TEST_F(SingleInstanceAvailable, NotWhenTheSetCannotBeRead) {
    SingleInstance instance;
    ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
    semaphores::set_rights(set(), 0);
    {
        const files::WithoutRights rights;
        EXPECT_FALSE(instance.isSingleInstanceAvailable(name()));
    }
    semaphores::set_rights(set(), 0600);
    EXPECT_TRUE(instance.isSingleInstanceAvailable(name()));
}

// A set left behind: nobody holds it, and nobody ever holds through it

TEST_F(SingleInstanceTakesOver, SetLeftBehindAndMakesItsOwn) {
    const int stale = semaphores::make(key(), 1);
    const Watch watch(key());
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
    EXPECT_EQ(watch.calls(), TAKING_OVER);
    EXPECT_NE(set(), stale);
    EXPECT_EQ(semaphores::value(set()), 0);
    EXPECT_EQ(semaphores::value(stale), -1);
    EXPECT_TRUE(instance.isSingleInstanceAvailable(name()));
}

TEST_F(SingleInstanceTakesOver, SetWithALargerValue) {
    semaphores::make(key(), 32767);
    const Watch watch(key(), without_pause);
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
    EXPECT_EQ(watch.calls(), TAKING_OVER);
    EXPECT_EQ(semaphores::value(set()), 0);
}

TEST_F(SingleInstanceTakesOver, SetOfMoreSemaphores) {
    semaphores::make(key(), 1, 3);
    const Watch watch(key(), without_pause);
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
    EXPECT_EQ(watch.calls(), TAKING_OVER);
    EXPECT_EQ(semaphores::status(set()).sem_nsems, 1U);
}

TEST_F(SingleInstanceTakesOver, SetThatIsMadeFreeDuringThePause) {
    const int fresh = semaphores::make(key(), 0);
    const Watch watch(key(), [&](const std::string& call) {
        if (call == "pause") {
            semaphores::set_value(fresh, 1);
        }
        return without_pause(call);
    });
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
    EXPECT_EQ(watch.calls(), TAKING_OVER);
}

TEST_F(SingleInstanceTakesOver, NothingWhenTheSetGoesDuringThePause) {
    const int stale = semaphores::make(key(), 1);
    const Watch watch(key(), [&](const std::string& call) {
        if (call == "pause") {
            semaphores::remove(stale);
        }
        return without_pause(call);
    });
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance(name()), ENOENT);
    EXPECT_TRUE(instance.isSingleInstanceAvailable("/nothing/of/this/name"));
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_EQ(watch.calls(), (Calls{"create EEXIST", "pause", "open ENOENT"}));
    EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
}

TEST_F(SingleInstanceTakesOver, SetThatReplacesAnotherDuringThePause) {
    const int first = semaphores::make(key(), 0);
    const Watch watch(key(), [&](const std::string& call) {
        if (call == "pause") {
            semaphores::remove(first);
            semaphores::make(key(), 1);
        }
        return without_pause(call);
    });
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
    EXPECT_EQ(watch.calls(), TAKING_OVER);
}

// Between any two of its steps another process may be faster.
TEST_F(SingleInstanceTakesOver, SetThatSomebodyElseRemovesFirst) {
    const std::pair<std::string, Calls> rows[] = {
        {"take", {"take A EINVAL", "give back A EINVAL"}},
        {"give back", {"take A", "give back A EINVAL"}},
        {"remove", {"take A", "give back A", "remove A EINVAL"}},
    };
    for (const auto& [moment, middle] : rows) {
        SCOPED_TRACE(moment);
        const int stale = semaphores::make(key(), 1);
        const Watch watch(key(), [&, &step = moment](const std::string& call) {
            if (call == step) {
                semaphores::remove(stale);
            }
            return without_pause(call);
        });
        SingleInstance instance;
        EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
        EXPECT_EQ(watch.calls(),
                  Calls({"create EEXIST", "pause", "open A"}) + middle + taking("B"));
        EXPECT_EQ(semaphores::value(set()), 0);
    }
}

TEST_F(SingleInstanceTakesOver, SetThatSomebodyElseReplacesFirst) {
    const int stale = semaphores::make(key(), 1);
    const Watch watch(key(), [&](const std::string& call) {
        if (call == "remove" && semaphores::remove(stale)) {
            semaphores::make(key(), 1);
        }
        return without_pause(call);
    });
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
    EXPECT_EQ(watch.calls(), (Calls{"create EEXIST", "pause", "open A", "take A", "give back A",
                                    "remove A EINVAL", "create EEXIST", "pause", "open B", "take B",
                                    "give back B", "remove B", "create C", "free C", "take C"}));
}

// What the system refuses

TEST_F(SingleInstanceRefused, NewSet) {
    for (const int error : {ENOSPC, ENOMEM, EACCES, ENOSYS, ENOENT, EINTR, EINVAL}) {
        SingleInstance instance;
        ASSERT_EQ(instance.checkForSingleInstance(name()), 0);
        const Watch watch(key(),
                          [=](const std::string& call) { return call == "create" ? error : 0; });
        EXPECT_EQ(instance.checkForSingleInstance(name()), error);
        EXPECT_TRUE(is_free());
        EXPECT_TRUE(instance.isSingleInstanceAvailable(name()));
        EXPECT_EQ(instance.ReleaseMutex(), 0);
        EXPECT_EQ(watch.calls(), releasing("A") + Calls{failed("create", error)});
    }
}

TEST_F(SingleInstanceRefused, NewSetAfterItTookOneOver) {
    int created = 0;
    semaphores::make(key(), 1);
    const Watch watch(key(), [&](const std::string& call) {
        return call == "create" && ++created == 2 ? ENOSPC : without_pause(call);
    });
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance(name()), ENOSPC);
    EXPECT_TRUE(is_free());
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_EQ(watch.calls(), (Calls{"create EEXIST", "pause", "open A", "take A", "give back A",
                                    "remove A", "create ENOSPC"}));
}

TEST_F(SingleInstanceRefused, SetOfAnother) {
    const int others = semaphores::make(key(), 1);
    for (const int error : {ENOENT, EACCES, ENOMEM, EINVAL, EEXIST, EINTR}) {
        const Watch watch(key(), [=](const std::string& call) {
            return call == "open" ? error : without_pause(call);
        });
        SingleInstance instance;
        EXPECT_EQ(instance.checkForSingleInstance(name()), error);
        EXPECT_TRUE(instance.isSingleInstanceAvailable(name()));
        EXPECT_EQ(instance.ReleaseMutex(), 0);
        EXPECT_EQ(watch.calls(), (Calls{"create EEXIST", "pause", failed("open", error)}));
        EXPECT_EQ(semaphores::value(others), 1);
    }
    EXPECT_TRUE(semaphores::remove(others));
}

// Errors other than EINTR are passed over. The object then has a set that is free.
TEST_F(SingleInstanceRefused, TakingItsOwnSet) {
    for (const int error : {ENOMEM, ENOSPC, EACCES, EIDRM, EINVAL, ERANGE, EAGAIN, EFBIG}) {
        const Watch watch(key(),
                          [=](const std::string& call) { return call == "take" ? error : 0; });
        SingleInstance instance;
        EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
        EXPECT_EQ(watch.calls(), (Calls{"create A", "free A", failed("take A", error)}));
        EXPECT_EQ(semaphores::value(set()), 1);
        EXPECT_FALSE(instance.isSingleInstanceAvailable(name()));
        EXPECT_EQ(instance.ReleaseMutex(), 0);
        EXPECT_TRUE(is_free());
    }
}

TEST_F(SingleInstanceRefused, TakingTheSetOfAnother) {
    for (const int error : {ENOMEM, ENOSPC, EACCES, EIDRM, EINVAL, ERANGE, EAGAIN, EFBIG}) {
        semaphores::make(key(), 1);
        bool refused = false;
        const Watch watch(key(), [&](const std::string& call) {
            return call == "take" && !std::exchange(refused, true) ? error : without_pause(call);
        });
        SingleInstance instance;
        EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
        Calls calls = TAKING_OVER;
        calls[3] = failed("take A", error);
        EXPECT_EQ(watch.calls(), calls);
        EXPECT_EQ(semaphores::value(set()), 0);
    }
}

TEST_F(SingleInstanceRefused, GivingBackTheSetOfAnotherWhichThenStays) {
    semaphores::make(key(), 32767); // has no room for one more
    bool refused = false;
    const Watch watch(key(), [&](const std::string& call) {
        return call == "take" && !std::exchange(refused, true) ? ENOMEM : without_pause(call);
    });
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
    EXPECT_EQ(watch.calls(),
              Calls({"create EEXIST", "pause", "open A", "take A ENOMEM", "give back A ERANGE"}) +
                  TAKING_OVER);
}

TEST_F(SingleInstanceRefused, RemovingTheSetOfAnother) {
    const int others = semaphores::make(key(), 1);
    int removals = 0;
    const Watch watch(key(), [&](const std::string& call) {
        if (call == "create" && removals > 0 && removals < 4) {
            EXPECT_EQ(semaphores::value(others), 1);
        }
        return call == "remove" && ++removals < 4 ? EPERM : without_pause(call);
    });
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
    const Calls round = {"create EEXIST", "pause",       "open A",
                         "take A",        "give back A", "remove A EPERM"};
    EXPECT_EQ(watch.calls(), round + round + round + TAKING_OVER);
}

TEST_F(SingleInstanceRefused, EveryOperationOnASetUntilItGoes) {
    const Calls opened = {"create EEXIST", "pause", "open A"};
    const Calls round = opened + Calls{"take A EACCES", "give back A EACCES"};
    struct Row {
        const char* before; // the call of the fourth round before which the set goes
        int result;
        Calls last_round;
    };
    const Row rows[] = {
        {"create", 0, taking("B")},
        {"pause", ENOENT, {"create EEXIST", "pause", "open ENOENT"}},
        {"take", 0, opened + Calls{"take A EINVAL", "give back A EINVAL"} + taking("B")},
        {"give back", 0, opened + Calls{"take A EACCES", "give back A EINVAL"} + taking("B")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.before);
        const int shut = semaphores::make(key(), 1);
        semaphores::set_rights(shut, 0);
        int rounds = 0;
        const Watch watch(key(), [&](const std::string& call) {
            rounds += call == "create" ? 1 : 0;
            if (rounds == 4 && call == row.before) {
                semaphores::remove(shut);
            }
            return without_pause(call);
        });
        const files::WithoutRights rights;
        SingleInstance instance;
        EXPECT_EQ(instance.checkForSingleInstance(name()), row.result);
        EXPECT_EQ(watch.calls(), round + round + round + row.last_round);
    }
}

// Locks that other processes hold

namespace {

enum Command : int {
    ASK,           // checkForSingleInstance, which is answered with its result
    RELEASE,       // ReleaseMutex, with its result
    LOOK,          // isSingleInstanceAvailable, with 1 or 0
    COUNT_SIGNALS, // with the number of signals that were handled
    RETURN,        // the object is destroyed, and then the process ends
    LEAVE,         // the process ends without destroying the object
};

// What a process sends before a pause, when it was told to.
constexpr int PAUSES = -1;

volatile std::sig_atomic_t signals_handled = 0;

void handle(int number, int flags) {
    struct sigaction action {};
    action.sa_handler = [](int) { signals_handled = signals_handled + 1; };
    action.sa_flags = flags;
    files::checked(sigaction(number, &action, nullptr), "sigaction");
}

constexpr int PLAIN_SIGNAL = SIGUSR1;
constexpr int RESTARTING_SIGNAL = SIGUSR2;
constexpr int ALARM_SIGNAL = SIGALRM;
constexpr int BLOCKED_SIGNAL = SIGHUP;
constexpr int IGNORED_SIGNAL = SIGQUIT;
constexpr int HARMLESS_SIGNAL = SIGWINCH; // not handled, and does nothing

void set_up_signals() {
    handle(PLAIN_SIGNAL, 0);
    handle(RESTARTING_SIGNAL, SA_RESTART);
    handle(ALARM_SIGNAL, 0);
    handle(BLOCKED_SIGNAL, 0);
    sigset_t blocked{};
    sigemptyset(&blocked);
    sigaddset(&blocked, BLOCKED_SIGNAL);
    files::checked(sigprocmask(SIG_BLOCK, &blocked, nullptr), "sigprocmask");
    struct sigaction ignored {};
    ignored.sa_handler = SIG_IGN;
    files::checked(sigaction(IGNORED_SIGNAL, &ignored, nullptr), "sigaction");
}

// A pause that is begun now ends later than the alarm comes.
void raise_alarm_soon() {
    const itimerval soon{{0, 0}, {0, 10000}};
    files::checked(setitimer(ITIMER_REAL, &soon, nullptr), "setitimer");
}

int carry_out(Command command, SingleInstance& instance, const std::string& path) {
    switch (command) {
    case ASK:
        return instance.checkForSingleInstance(path.c_str());
    case RELEASE:
        return instance.ReleaseMutex();
    case LOOK:
        return instance.isSingleInstanceAvailable(path.c_str()) ? 1 : 0;
    case COUNT_SIGNALS:
        return signals_handled;
    default:
        _exit(0);
    }
}

// A process with an object for one lock that does as it is told.
class Agent {
public:
    enum Pauses { LEFT_OUT, REAL, REPORTED, INTERRUPTED };

    explicit Agent(const std::string& path, Pauses pauses = LEFT_OUT)
        : child_([&](process::Line& parent) { serve(path, pauses, parent); }) {}

    process::Child& process() { return child_; }
    pid_t pid() const { return child_.pid(); }
    void start(Command command) const { child_.line().tell(command); }
    std::optional<int> answer() const { return child_.line().hear(); }
    bool has_answered() const { return child_.line().has_news(); }

    std::optional<int> does(Command command) const {
        start(command);
        return answer();
    }

private:
    static void serve(const std::string& path, Pauses pauses, process::Line& parent) {
        const Watch watch(key_of(path), [&](const std::string& call) {
            if (call == "pause" && pauses == REPORTED) {
                parent.tell(PAUSES);
            } else if (call == "pause" && pauses == INTERRUPTED) {
                raise_alarm_soon();
            }
            return pauses == LEFT_OUT ? without_pause(call) : 0;
        });
        set_up_signals();
        SingleInstance instance;
        while (const std::optional<int> command = parent.await()) {
            if (*command == RETURN) {
                return;
            }
            parent.tell(carry_out(static_cast<Command>(*command), instance, path));
        }
    }

    process::Child child_;
};

class SingleInstanceWaits : public Locks {
protected:
    // Checks that one process holds the lock, by its own set, and that no other waits.
    void expect_held_by(const Agent& agent) const {
        const int held = set();
        EXPECT_EQ(semaphores::value(held), 0);
        EXPECT_EQ(semaphores::last_process(held), agent.pid());
        EXPECT_EQ(semaphores::waiting(held), 0);
        EXPECT_EQ(agent.does(LOOK), 1);
    }
};

class SingleInstanceInterrupted : public SingleInstanceWaits {};

} // namespace

TEST_F(SingleInstanceWaits, UntilTheHolderReleases) {
    const Agent holder(path());
    const Agent second(path(), Agent::REAL);
    ASSERT_EQ(holder.does(ASK), 0);
    const int held = set();
    second.start(ASK);
    ASSERT_TRUE(come_to_wait(1));
    EXPECT_FALSE(second.has_answered());
    EXPECT_EQ(set(), held);
    EXPECT_EQ(semaphores::last_process(held), holder.pid());
    EXPECT_EQ(holder.does(RELEASE), 0);
    EXPECT_EQ(second.answer(), 0);
    EXPECT_NE(set(), held);
    expect_held_by(second);
    EXPECT_EQ(second.does(RELEASE), 0);
    EXPECT_TRUE(is_free());
}

TEST_F(SingleInstanceWaits, UntilTheHolderExits) {
    Agent holder(path());
    const Agent second(path(), Agent::REAL);
    ASSERT_EQ(holder.does(ASK), 0);
    const int held = set();
    second.start(ASK);
    ASSERT_TRUE(come_to_wait(1));
    EXPECT_FALSE(second.has_answered());
    holder.start(LEAVE);
    EXPECT_EQ(holder.process().end(), 0);
    EXPECT_EQ(second.answer(), 0);
    EXPECT_NE(set(), held);
    expect_held_by(second);
    EXPECT_EQ(second.does(RELEASE), 0);
}

TEST_F(SingleInstanceWaits, UntilTheHolderIsKilled) {
    Agent holder(path());
    const Agent second(path(), Agent::REAL);
    ASSERT_EQ(holder.does(ASK), 0);
    const int held = set();
    second.start(ASK);
    ASSERT_TRUE(come_to_wait(1));
    EXPECT_FALSE(second.has_answered());
    EXPECT_EQ(holder.process().kill(), -SIGKILL);
    EXPECT_EQ(second.answer(), 0);
    EXPECT_NE(set(), held);
    expect_held_by(second);
    EXPECT_EQ(second.does(RELEASE), 0);
}

TEST_F(SingleInstanceWaits, UntilTheHoldersObjectIsDestroyed) {
    Agent holder(path());
    const Agent second(path());
    ASSERT_EQ(holder.does(ASK), 0);
    second.start(ASK);
    ASSERT_TRUE(come_to_wait(1));
    holder.start(RETURN);
    EXPECT_EQ(second.answer(), 0);
    EXPECT_EQ(holder.process().end(), 0);
    expect_held_by(second);
    EXPECT_EQ(second.does(RELEASE), 0);
}

TEST_F(SingleInstanceWaits, TurnByTurn) {
    const Agent one(path());
    const Agent other(path());
    ASSERT_EQ(one.does(ASK), 0);
    const Agent* holder = &one;
    const Agent* waiting = &other;
    for (int round = 0; round < 200; ++round) {
        waiting->start(ASK);
        ASSERT_TRUE(come_to_wait(1));
        ASSERT_FALSE(waiting->has_answered());
        ASSERT_EQ(holder->does(RELEASE), 0);
        ASSERT_EQ(waiting->answer(), 0);
        std::swap(holder, waiting);
        expect_held_by(*holder);
    }
    EXPECT_EQ(holder->does(RELEASE), 0);
}

TEST_F(SingleInstanceWaits, NotForAnotherSpelling) {
    const std::string link = add(files::make_link(base() / "link", "lock"));
    const Agent holder(path());
    const Agent second(link);
    ASSERT_EQ(holder.does(ASK), 0);
    EXPECT_EQ(second.does(ASK), 0);
    expect_held_by(holder);
    EXPECT_EQ(second.does(RELEASE), 0);
    expect_held_by(holder);
    EXPECT_EQ(holder.does(RELEASE), 0);
}

TEST_F(SingleInstanceWaits, WithoutTellingTheHolder) {
    const Agent holder(path());
    const Agent second(path());
    ASSERT_EQ(holder.does(ASK), 0);
    EXPECT_EQ(second.does(LOOK), 1); // of itself: it holds nothing
    second.start(ASK);
    ASSERT_TRUE(come_to_wait(1));
    EXPECT_EQ(holder.does(LOOK), 1);
    EXPECT_EQ(holder.does(RELEASE), 0);
    EXPECT_EQ(second.answer(), 0);
    EXPECT_EQ(holder.does(LOOK), 1);
    EXPECT_EQ(second.does(RELEASE), 0);
}

TEST_F(SingleInstanceWaits, ForAnotherObjectOfItsProcess) {
    process::Child child([&](process::Line& parent) {
        handle(PLAIN_SIGNAL, 0);
        const Watch watch(key(), without_pause);
        SingleInstance first;
        SingleInstance second;
        parent.tell(first.checkForSingleInstance(name()));
        parent.tell(second.checkForSingleInstance(name()));
        parent.tell(first.isSingleInstanceAvailable(name()) ? 1 : 0);
        first.ReleaseMutex();
        parent.tell(second.checkForSingleInstance(name()));
    });
    ASSERT_EQ(child.line().hear(), 0);
    ASSERT_TRUE(come_to_wait(1));
    child.signal(PLAIN_SIGNAL);
    EXPECT_EQ(child.line().hear(), EINTR);
    EXPECT_EQ(child.line().hear(), 1);
    EXPECT_EQ(child.line().hear(), 0);
    EXPECT_EQ(child.end(), 0);
}

TEST_F(SingleInstanceWaits, UntilSomebodyElseRemovesTheSet) {
    const Agent holder(path());
    const Agent second(path());
    ASSERT_EQ(holder.does(ASK), 0);
    second.start(ASK);
    ASSERT_TRUE(come_to_wait(1));
    ASSERT_TRUE(semaphores::remove(set()));
    EXPECT_EQ(second.answer(), 0);
    expect_held_by(second);
    // The holder before does no harm to what is no longer its own.
    EXPECT_EQ(holder.does(LOOK), 0);
    EXPECT_EQ(holder.does(RELEASE), 0);
    expect_held_by(second);
    EXPECT_EQ(second.does(RELEASE), 0);
}

TEST_F(SingleInstanceWaits, UntilSomebodyElseRaisesTheValue) {
    const Agent holder(path());
    const Agent second(path());
    ASSERT_EQ(holder.does(ASK), 0);
    const int held = set();
    second.start(ASK);
    ASSERT_TRUE(come_to_wait(1));
    semaphores::set_value(held, 1);
    EXPECT_EQ(second.answer(), 0);
    EXPECT_NE(set(), held);
    expect_held_by(second);
    EXPECT_EQ(second.does(RELEASE), 0);
}

TEST_F(SingleInstanceWaits, ForASetThatIsTakenAndHasNoHolder) {
    const int made = semaphores::make(key(), 0);
    const Agent agent(path());
    agent.start(ASK);
    ASSERT_TRUE(come_to_wait(1));
    EXPECT_FALSE(agent.has_answered());
    EXPECT_EQ(set(), made);
    semaphores::set_value(made, 1);
    EXPECT_EQ(agent.answer(), 0);
    EXPECT_NE(set(), made);
    expect_held_by(agent);
    EXPECT_EQ(agent.does(RELEASE), 0);
}

TEST_F(SingleInstanceWaits, ForASetThatReplacesAnotherDuringThePause) {
    const int first = semaphores::make(key(), 0);
    process::Child child([&](process::Line& parent) {
        const Watch watch(key(), [&](const std::string& call) {
            if (call == "pause" && semaphores::remove(first)) {
                semaphores::make(key(), 0);
            }
            return without_pause(call);
        });
        SingleInstance instance;
        parent.tell(instance.checkForSingleInstance(name()));
    });
    ASSERT_TRUE(eventually([&] { return set() != first && semaphores::waiting(set()) == 1; }));
    EXPECT_FALSE(child.line().has_news());
    semaphores::set_value(set(), 1);
    EXPECT_EQ(child.line().hear(), 0);
    EXPECT_EQ(child.end(), 0);
}

TEST_F(SingleInstanceWaits, AndWhenKilledLeavesAllAsItWas) {
    const Agent holder(path());
    Agent second(path());
    ASSERT_EQ(holder.does(ASK), 0);
    const int held = set();
    second.start(ASK);
    ASSERT_TRUE(come_to_wait(1));
    EXPECT_EQ(second.process().kill(), -SIGKILL);
    EXPECT_EQ(set(), held);
    expect_held_by(holder);
    EXPECT_EQ(holder.does(RELEASE), 0);
    EXPECT_TRUE(is_free());
}

TEST_F(SingleInstanceWaits, AndWhenKilledInThePauseLeavesAllAsItWas) {
    const Agent holder(path());
    Agent second(path(), Agent::REPORTED);
    ASSERT_EQ(holder.does(ASK), 0);
    const int held = set();
    second.start(ASK);
    ASSERT_EQ(second.answer(), PAUSES);
    EXPECT_EQ(second.process().kill(), -SIGKILL);
    EXPECT_EQ(set(), held);
    expect_held_by(holder);
    EXPECT_EQ(holder.does(RELEASE), 0);
}

// The set of a dead holder

TEST_F(SingleInstanceTakesOver, SetOfAHolderThatWasKilled) {
    Agent holder(path());
    ASSERT_EQ(holder.does(ASK), 0);
    const int stale = set();
    EXPECT_EQ(holder.process().kill(), -SIGKILL);
    EXPECT_EQ(set(), stale);
    EXPECT_EQ(semaphores::value(stale), 1);
    const Watch watch(key(), without_pause);
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
    EXPECT_EQ(watch.calls(), TAKING_OVER);
    EXPECT_NE(set(), stale);
    EXPECT_EQ(semaphores::value(set()), 0);
    EXPECT_EQ(semaphores::last_process(set()), getpid());
}

TEST_F(SingleInstanceTakesOver, SetOfAHolderThatExited) {
    Agent holder(path());
    ASSERT_EQ(holder.does(ASK), 0);
    const int stale = set();
    holder.start(LEAVE);
    EXPECT_EQ(holder.process().end(), 0);
    EXPECT_EQ(set(), stale);
    EXPECT_EQ(semaphores::value(stale), 1);
    const Agent next(path(), Agent::REAL);
    EXPECT_EQ(next.does(ASK), 0);
    EXPECT_NE(set(), stale);
    EXPECT_EQ(semaphores::value(set()), 0);
    EXPECT_EQ(next.does(RELEASE), 0);
}

// Signals

TEST_F(SingleInstanceInterrupted, WaitFails) {
    for (const int number : {PLAIN_SIGNAL, RESTARTING_SIGNAL}) {
        const Agent holder(path());
        Agent second(path());
        ASSERT_EQ(holder.does(ASK), 0);
        const int held = set();
        second.start(ASK);
        ASSERT_TRUE(come_to_wait(1));
        second.process().signal(number);
        EXPECT_EQ(second.answer(), EINTR);
        EXPECT_EQ(second.does(COUNT_SIGNALS), 1);
        // Nothing is given back: the lock is as it was.
        EXPECT_EQ(set(), held);
        expect_held_by(holder);
        // It holds nothing.
        EXPECT_EQ(second.does(LOOK), 1);
        EXPECT_EQ(second.does(RELEASE), 0);
        EXPECT_EQ(set(), held);
        expect_held_by(holder);
        // It may ask again.
        second.start(ASK);
        ASSERT_TRUE(come_to_wait(1));
        EXPECT_EQ(holder.does(RELEASE), 0);
        EXPECT_EQ(second.answer(), 0);
        expect_held_by(second);
        EXPECT_EQ(second.does(RELEASE), 0);
    }
}

TEST_F(SingleInstanceInterrupted, WaiterGivesNothingBackWhenItEnds) {
    const Agent holder(path());
    Agent second(path());
    ASSERT_EQ(holder.does(ASK), 0);
    const int held = set();
    second.start(ASK);
    ASSERT_TRUE(come_to_wait(1));
    second.process().signal(PLAIN_SIGNAL);
    EXPECT_EQ(second.answer(), EINTR);
    second.start(RETURN);
    EXPECT_EQ(second.process().end(), 0);
    EXPECT_EQ(set(), held);
    expect_held_by(holder);
    EXPECT_EQ(holder.does(RELEASE), 0);
}

TEST_F(SingleInstanceInterrupted, PauseOnlyEndsEarly) {
    const Agent holder(path());
    const Agent second(path(), Agent::INTERRUPTED);
    ASSERT_EQ(holder.does(ASK), 0);
    second.start(ASK);
    ASSERT_TRUE(come_to_wait(1));
    EXPECT_FALSE(second.has_answered());
    EXPECT_EQ(holder.does(RELEASE), 0);
    EXPECT_EQ(second.answer(), 0);
    EXPECT_EQ(second.does(COUNT_SIGNALS), 1);
    EXPECT_EQ(second.does(RELEASE), 0);
}

TEST_F(SingleInstanceInterrupted, NotBySignalsThatAreNotDelivered) {
    const Agent holder(path());
    Agent second(path());
    ASSERT_EQ(holder.does(ASK), 0);
    second.start(ASK);
    ASSERT_TRUE(come_to_wait(1));
    for (const int number : {BLOCKED_SIGNAL, IGNORED_SIGNAL, HARMLESS_SIGNAL}) {
        second.process().signal(number);
    }
    EXPECT_EQ(holder.does(RELEASE), 0);
    EXPECT_EQ(second.answer(), 0);
    EXPECT_EQ(second.does(COUNT_SIGNALS), 0);
    EXPECT_EQ(second.does(RELEASE), 0);
}

TEST_F(SingleInstanceInterrupted, WhenItTakesItsOwnSet) {
    const Watch watch(key(), [](const std::string& call) { return call == "take" ? EINTR : 0; });
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance(name()), EINTR);
    EXPECT_TRUE(instance.isSingleInstanceAvailable("/nothing/of/this/name"));
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_EQ(watch.calls(), (Calls{"create A", "free A", "take A EINTR"}));
    EXPECT_EQ(semaphores::value(set()), 1);
    EXPECT_TRUE(semaphores::remove(set()));
}

TEST_F(SingleInstanceInterrupted, WhenItTakesTheSetOfAnother) {
    const int stale = semaphores::make(key(), 1);
    const Watch watch(key(), [](const std::string& call) {
        return call == "take" ? EINTR : without_pause(call);
    });
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance(name()), EINTR);
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_EQ(watch.calls(), (Calls{"create EEXIST", "pause", "open A", "take A EINTR"}));
    EXPECT_EQ(semaphores::value(stale), 1);
    EXPECT_TRUE(semaphores::remove(stale));
}

// Several users

namespace {

constexpr uid_t NOBODY = 65534;

class SingleInstanceUsers : public SingleInstanceWaits {
protected:
    void SetUp() override {
        Locks::SetUp();
        if (IsSkipped()) {
            return;
        }
        if (geteuid() != 0) {
            GTEST_SKIP() << "needs the superuser, who can be any user";
        }
        files::checked(chmod(base().path().c_str(), 0711), base().path());
        process::Child child([&](process::Line& parent) {
            parent.tell(setresuid(NOBODY, NOBODY, NOBODY) == 0 && access(name(), F_OK) == 0 ? 1
                                                                                            : 0);
        });
        if (child.line().hear() != 1) {
            GTEST_SKIP() << "needs a second user who can reach " << path();
        }
    }
};

} // namespace

// One who may not remove the set, and looks at it before its owner has, comes too late to open it:
// as the header says, that is no failure for good.
TEST_F(SingleInstanceUsers, ShareALock) {
    const auto hold_as = [this](uid_t user) {
        return [this, user](process::Line& parent) {
            files::checked(setresuid(user, user, user), "setresuid");
            const Watch watch(key(), without_pause);
            SingleInstance instance;
            int result = ENOENT;
            while (result == ENOENT) {
                result = instance.checkForSingleInstance(name());
            }
            parent.tell(result);
            parent.await();
        };
    };
    const uid_t superuser = geteuid();
    for (const auto& [one, other] : {std::pair(superuser, NOBODY), {NOBODY, superuser}}) {
        process::Child first(hold_as(one));
        ASSERT_EQ(first.line().hear(), 0);
        EXPECT_EQ(semaphores::status(set()).sem_perm.uid, one);
        process::Child second(hold_as(other));
        ASSERT_TRUE(come_to_wait(1));
        EXPECT_FALSE(second.line().has_news());
        first.line().tell(0);
        ASSERT_EQ(second.line().hear(), 0);
        EXPECT_EQ(semaphores::status(set()).sem_perm.uid, other);
        second.line().tell(0);
        EXPECT_EQ(first.end(), 0);
        EXPECT_EQ(second.end(), 0);
        EXPECT_TRUE(is_free());
    }
}

// The set may be operated on by everybody, but only its owner may remove it.
TEST_F(SingleInstanceUsers, WaitForTheSetOfAnotherUserToGo) {
    const int stale = semaphores::make(key(), 1);
    process::Child child([&](process::Line& parent) {
        files::checked(setresuid(NOBODY, NOBODY, NOBODY), "setresuid");
        const Watch watch(key(), [&](const std::string& call) {
            if (call == "pause") {
                parent.tell(PAUSES);
                parent.await();
            }
            return without_pause(call);
        });
        SingleInstance instance;
        parent.tell(instance.checkForSingleInstance(name()));
    });
    for (int round = 0; round < 5; ++round) {
        ASSERT_EQ(child.line().hear(), PAUSES);
        EXPECT_EQ(set(), stale);
        EXPECT_EQ(semaphores::value(stale), 1);
        EXPECT_EQ(semaphores::last_process(stale), round == 0 ? getpid() : child.pid());
        child.line().tell(0);
    }
    ASSERT_EQ(child.line().hear(), PAUSES);
    EXPECT_EQ(child.kill(), -SIGKILL);
    // It took and gave back several times, and the kernel has nothing to undo.
    EXPECT_EQ(set(), stale);
    EXPECT_EQ(semaphores::value(stale), 1);
    EXPECT_TRUE(semaphores::remove(stale));
}

// Many processes

namespace {

// What the holders of one lock see of each other.
struct Board {
    std::atomic<int> holder{0}; // process that holds the lock and has not begun to let go of it
    std::atomic<int> clashes{0};

    void enter() { change(0, getpid()); }
    void leave() { change(getpid(), 0); }

private:
    void change(int from, int to) {
        if (!holder.compare_exchange_strong(from, to)) {
            ++clashes;
        }
    }
};

static_assert(std::atomic<int>::is_always_lock_free);

// How a holder lets go of the lock.
enum Way : int { BY_RELEASE, BY_ASKING_AGAIN, BY_RETURN, BY_EXIT, BY_KILL, WAYS };

constexpr int LOCKED = 0; // what a contender sends when it holds the lock

// Asks for the lock over and over, and lets go of it as it is told.
void contend(const char* path, Board& board, process::Line& parent) {
    SingleInstance instance;
    for (;;) {
        const int result = instance.checkForSingleInstance(path);
        if (result != 0) {
            parent.tell(result);
            return;
        }
        board.enter();
        parent.tell(LOCKED);
        const std::optional<int> way = parent.await();
        board.leave();
        switch (way.value()) {
        case BY_RELEASE:
            instance.ReleaseMutex();
            break;
        case BY_RETURN:
            return;
        case BY_EXIT:
            _exit(0);
        case BY_KILL:
            raise(SIGKILL);
            break;
        default:
            break;
        }
    }
}

class SingleInstanceContest : public SingleInstanceWaits {
protected:
    static constexpr std::size_t CONTENDERS = 10;

    void SetUp() override {
        SingleInstanceWaits::SetUp();
        const auto seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
        RecordProperty("seed", std::to_string(seed));
        random_.seed(seed);
    }

    // What every contender does before each call to the system.
    void set_hook(Watch::Hook hook) { hook_ = std::move(hook); }

    Board& board() { return *board_; }

    std::unique_ptr<process::Child> new_contender() {
        const unsigned int seed = static_cast<unsigned int>(random_());
        return std::make_unique<process::Child>([&](process::Line& parent) {
            random_.seed(seed);
            const Watch watch(key(), hook_);
            contend(name(), *board_, parent);
        });
    }

    // A number below `limit`.
    unsigned int roll(unsigned int limit) { return static_cast<unsigned int>(random_() % limit); }

    void start() {
        while (contenders_.size() < CONTENDERS) {
            contenders_.push_back(new_contender());
        }
    }

    // One holder and what it leaves to the next. `disturb` tells whether some of those who wait are
    // killed and others come instead.
    void round(bool disturb) {
        const std::optional<std::size_t> holder = next_holder();
        ASSERT_TRUE(holder) << "nobody gets the lock";
        process::Child& process = *contenders_[*holder];
        ASSERT_EQ(process.line().hear(), LOCKED);
        start(); // the one that ended a round ago comes back
        const auto all_but_holder_wait = [&] { return come_to_wait(CONTENDERS - 1); };
        if (disturb) {
            replace_some_but(process); // wherever they are
            ASSERT_TRUE(all_but_holder_wait());
            replace_some_but(process); // as they wait
        }
        ASSERT_TRUE(all_but_holder_wait());
        // As all others wait, the one that is not among them is the only holder.
        EXPECT_EQ(board_->holder, process.pid());
        EXPECT_EQ(board_->clashes, 0);
        EXPECT_EQ(semaphores::value(set()), 0);
        EXPECT_EQ(semaphores::last_process(set()), process.pid());
        EXPECT_FALSE(next_holder(false)) << "a second holder";
        let_go(*holder, static_cast<Way>(roll(WAYS)));
    }

    // Ends with all contenders killed, as they wait for the last one's set, and one that is left.
    void finish() {
        const std::optional<std::size_t> holder = next_holder();
        ASSERT_TRUE(holder);
        start();
        ASSERT_TRUE(come_to_wait(CONTENDERS - 1));
        const int stale = set();
        std::swap(contenders_.front(), contenders_[*holder]);
        while (!contenders_.empty()) {
            contenders_.pop_back(); // the holder last
        }
        EXPECT_EQ(set(), stale);
        EXPECT_EQ(semaphores::value(stale), 1);
        EXPECT_EQ(semaphores::waiting(stale), 0);
        EXPECT_EQ(board_->clashes, 0);
        const Watch watch(key(), without_pause);
        SingleInstance last;
        EXPECT_EQ(last.checkForSingleInstance(name()), 0);
        EXPECT_EQ(watch.calls(), TAKING_OVER);
    }

private:
    // The contender that says something; none when nobody does.
    std::optional<std::size_t> next_holder(bool patiently = true) const {
        const auto find = [this] {
            return std::find_if(contenders_.begin(), contenders_.end(),
                                [](const auto& child) { return child->line().has_news(); });
        };
        if (patiently) {
            eventually([&] { return find() != contenders_.end(); });
        }
        const auto found = find();
        return found != contenders_.end() ? std::optional<std::size_t>(found - contenders_.begin())
                                          : std::nullopt;
    }

    void replace_some_but(const process::Child& holder) {
        for (auto& contender : contenders_) {
            if (contender.get() != &holder && roll(4) == 0) {
                EXPECT_EQ(contender->kill(), -SIGKILL);
                contender = new_contender();
            }
        }
    }

    void let_go(std::size_t index, Way way) {
        process::Child& holder = *contenders_[index];
        holder.line().tell(way);
        if (way == BY_RELEASE || way == BY_ASKING_AGAIN) {
            return;
        }
        EXPECT_EQ(holder.end(), way == BY_KILL ? -SIGKILL : 0);
        contenders_.erase(contenders_.begin() + static_cast<std::ptrdiff_t>(index));
    }

    process::Shared<Board> board_;
    Watch::Hook hook_;
    std::mt19937 random_;
    std::vector<std::unique_ptr<process::Child>> contenders_;
};

} // namespace

TEST_F(SingleInstanceContest, HasOneHolderAtATime) {
    start();
    for (int i = 0; i < 4; ++i) {
        ASSERT_NO_FATAL_FAILURE(round(i % 2 == 1)) << "round " << i;
    }
    finish();
}

// The pause lasts until somebody holds the lock, which is what it is for. In return every step of
// every process may take its time.
TEST_F(SingleInstanceContest, HasOneHolderAtATimeInWhateverOrderTheStepsFollow) {
    set_hook([this](const std::string& call) {
        if (call == "pause") {
            eventually([this] { return board().holder != 0; });
        } else if (roll(2) == 0) {
            std::this_thread::sleep_for(std::chrono::microseconds(roll(2000)));
        }
        return without_pause(call);
    });
    start();
    for (int i = 0; i < 300; ++i) {
        ASSERT_NO_FATAL_FAILURE(round(roll(3) == 0)) << "round " << i;
    }
    finish();
}

// The header's example, with a file of its own

TEST_F(SingleInstanceUsage, WorksAsTheHeaderShows) {
    SingleInstance instance;
    EXPECT_EQ(instance.checkForSingleInstance(name()), 0);
    EXPECT_TRUE(instance.isSingleInstanceAvailable(name()));
    EXPECT_EQ(instance.ReleaseMutex(), 0);
    EXPECT_EQ(instance.checkForSingleInstance("/no/such/file"), ENOENT);
}
