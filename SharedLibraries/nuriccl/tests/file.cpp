// Tests of the file queries.
//
//   public member                         cases
//   exists                                Exists.*, Entries.*
//   IsRegularDirectory                    IsRegularDirectory.*, Entries.*
//   parts                                 Parts.*
//   that nothing throws or needs memory   Queries.*
//   the example of the header             FileUsage.*

#include "support/allocation.hpp"
#include "support/files.hpp"
#include "support/lstat.hpp"
#include "support/texts.hpp"

#include <nuriccl/file.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using nuriccl::File;

using Query = bool (*)(const std::string&);

const struct {
    const char* name;
    Query ask;
} QUERIES[] = {{"exists", File::exists}, {"IsRegularDirectory", File::IsRegularDirectory}};

// Another than lstat sets.
constexpr int UNTOUCHED = -12345;

int errno_after(Query ask, const std::string& path) {
    errno = UNTOUCHED;
    ask(path);
    return errno;
}

int errno_of_lstat(const std::string& path) {
    struct stat status;
    errno = UNTOUCHED;
    fstatat(AT_FDCWD, path.c_str(), &status, AT_SYMLINK_NOFOLLOW);
    return errno;
}

struct stat status_of(mode_t mode) {
    struct stat status = {};
    status.st_mode = mode;
    return status;
}

// A directory that may not be searched, with a file, a directory and a link in it.
class ClosedDirectory {
public:
    ClosedDirectory() {
        files::make_directory(path_);
        files::make_file(path_ + "/file");
        files::make_directory(path_ + "/directory");
        files::make_link(path_ + "/link", "file");
        files::checked(chmod(path_.c_str(), 0600), path_);
    }
    ~ClosedDirectory() { EXPECT_EQ(chmod(path_.c_str(), 0700), 0); }
    ClosedDirectory(const ClosedDirectory&) = delete;
    ClosedDirectory& operator=(const ClosedDirectory&) = delete;

    const std::string& path() const { return path_; }
    std::vector<std::string> below() const {
        return {path_ + "/file", path_ + "/directory", path_ + "/link", path_ + "/nothing"};
    }

private:
    files::Directory base_;
    std::string path_ = base_ / "closed";
};

} // namespace

// Every kind of entry

TEST(Entries, AreSeenWithoutFollowingLinks) {
    const files::Directory base;
    for (const files::Entry& entry : files::make_every_kind(base)) {
        EXPECT_EQ(File::exists(entry.path), entry.exists) << entry.what;
        EXPECT_EQ(File::IsRegularDirectory(entry.path), entry.is_directory) << entry.what;
    }
}

TEST(Entries, LeaveErrnoAsLstatDoes) {
    const files::Directory base;
    for (const files::Entry& entry : files::make_every_kind(base)) {
        const int expected = errno_of_lstat(entry.path);
        EXPECT_EQ(expected == UNTOUCHED, entry.exists) << entry.what;
        for (const auto& query : QUERIES) {
            EXPECT_EQ(errno_after(query.ask, entry.path), expected)
                << query.name << ": " << entry.what;
        }
    }
}

TEST(Entries, TellByErrnoWhyThereIsNone) {
    const files::Directory base;
    files::make_file(base / "file");
    files::make_link(base / "loop", "loop");
    for (const auto& query : QUERIES) {
        SCOPED_TRACE(query.name);
        EXPECT_EQ(errno_after(query.ask, base / "nothing"), ENOENT);
        EXPECT_EQ(errno_after(query.ask, base / "file/nothing"), ENOTDIR);
        EXPECT_EQ(errno_after(query.ask, base / "loop/nothing"), ELOOP);
        EXPECT_EQ(errno_after(query.ask, base / std::string(256, 'a')), ENAMETOOLONG);
    }
}

TEST(Entries, AreNotSeenInADirectoryThatMayNotBeSearched) {
    const ClosedDirectory closed;
    const files::WithoutRights without_rights;
    for (const auto& query : QUERIES) {
        SCOPED_TRACE(query.name);
        EXPECT_TRUE(query.ask(closed.path()));
        for (const std::string& path : closed.below()) {
            EXPECT_FALSE(query.ask(path)) << path;
            EXPECT_EQ(errno_after(query.ask, path), EACCES) << path;
        }
    }
}

TEST(Entries, AreSeenInTheWorkingDirectory) {
    for (const auto& query : QUERIES) {
        SCOPED_TRACE(query.name);
        EXPECT_TRUE(query.ask("."));
        EXPECT_TRUE(query.ask(".."));
        EXPECT_TRUE(query.ask("./"));
        EXPECT_FALSE(query.ask("no such entry in any directory"));
    }
}

TEST(Entries, AreAnsweredAnewEachTime) {
    const files::Directory base;
    const std::string path = base / "entry";
    for (int round = 0; round < 2; ++round) {
        EXPECT_FALSE(File::exists(path));
        files::make_directory(path);
        EXPECT_TRUE(File::exists(path));
        EXPECT_TRUE(File::IsRegularDirectory(path));
        ASSERT_EQ(rmdir(path.c_str()), 0);
        EXPECT_FALSE(File::IsRegularDirectory(path));
        files::make_file(path);
        EXPECT_TRUE(File::exists(path));
        EXPECT_FALSE(File::IsRegularDirectory(path));
        ASSERT_EQ(unlink(path.c_str()), 0);
    }
}

// The function that fills the 64-bit record must be asked, once: others fail where a number is too
// large for their record.
TEST(Entries, MayHaveNumbersBeyond32Bits) {
    struct stat status = status_of(S_IFDIR | 0755);
    status.st_ino = std::numeric_limits<decltype(status.st_ino)>::max();
    status.st_size = std::numeric_limits<decltype(status.st_size)>::max();
    status.st_blocks = std::numeric_limits<decltype(status.st_blocks)>::max();
    status.st_mtime = std::numeric_limits<decltype(status.st_mtime)>::max();
    const lstat_calls::Answer answer(status);
    for (const auto& query : QUERIES) {
        const unsigned int before = lstat_calls::number;
        EXPECT_TRUE(query.ask("any")) << query.name;
        EXPECT_EQ(lstat_calls::number - before, 1U) << query.name;
    }
}

TEST(Entries, AreNoneWhenLstatFailsForWhateverReason) {
    for (const int error : {EPERM, ENOENT, EINTR, EIO, ENOMEM, EACCES, EFAULT, ENOTDIR, EINVAL,
                            ENAMETOOLONG, ELOOP, EOVERFLOW, ESTALE, ETIMEDOUT}) {
        const lstat_calls::Answer answer(error);
        for (const auto& query : QUERIES) {
            const unsigned int before = lstat_calls::number;
            EXPECT_FALSE(query.ask("/")) << query.name << ' ' << error;
            EXPECT_EQ(lstat_calls::number - before, 1U) << query.name << ' ' << error;
            EXPECT_EQ(errno_after(query.ask, "/"), error) << query.name;
        }
    }
}

TEST(Exists, IsFalseForTheEmptyPathWithoutAsking) {
    const lstat_calls::Answer answer(status_of(S_IFDIR));
    const unsigned int before = lstat_calls::number;
    EXPECT_FALSE(File::exists(""));
    EXPECT_EQ(lstat_calls::number, before);
    EXPECT_EQ(errno_after(File::exists, ""), UNTOUCHED);
}

TEST(Exists, IsFalseForANameThatIsOnlyANul) { EXPECT_FALSE(File::exists(std::string(1, '\0'))); }

TEST(Exists, IsTrueForEveryType) {
    for (mode_t type = 0; type < 16; ++type) {
        const lstat_calls::Answer answer(status_of(type << 12));
        EXPECT_TRUE(File::exists("any")) << type;
    }
}

TEST(IsRegularDirectory, IsFalseForTheEmptyPath) {
    EXPECT_FALSE(File::IsRegularDirectory(""));
    EXPECT_EQ(errno_after(File::IsRegularDirectory, ""), ENOENT);
}

// The bit of S_IFDIR is also in other types, block devices and sockets among them.
TEST(IsRegularDirectory, LooksAtTheWholeTypeAndAtNothingElse) {
    for (mode_t mode = 0; mode <= 0177777; ++mode) {
        const lstat_calls::Answer answer(status_of(mode));
        ASSERT_EQ(File::IsRegularDirectory("any"), mode >> 12 == 04) << std::oct << mode;
    }
}

// Counting parts

TEST(Parts, AreCountedBySeparators) {
    EXPECT_EQ(File::parts("/"), 1U);
    EXPECT_EQ(File::parts("a"), 1U);
    EXPECT_EQ(File::parts(""), 1U);
    EXPECT_EQ(File::parts("/a"), 2U);
    EXPECT_EQ(File::parts("a/"), 2U);
    EXPECT_EQ(File::parts("/a/"), 3U);
    EXPECT_EQ(File::parts("a//b"), 3U);
    EXPECT_EQ(File::parts("/home/user"), 3U);
}

TEST(Parts, AreSpecialForTheRootAlone) {
    EXPECT_EQ(File::parts("//"), 3U);
    EXPECT_EQ(File::parts("/."), 2U);
    EXPECT_EQ(File::parts("./"), 2U);
    EXPECT_EQ(File::parts(std::string("/\0", 2)), 2U);
    EXPECT_EQ(File::parts("\\"), 1U);
}

TEST(Parts, AgreeWithTheModel) {
    for (const std::string& path : texts::over<std::string>("/.a\\", 8)) {
        unsigned int expected = 1;
        for (const char c : path) {
            expected += c == '/' ? 1 : 0;
        }
        if (path == "/") {
            expected = 1;
        }
        ASSERT_EQ(File::parts(path), expected) << path;
    }
}

TEST(Parts, AreEndedByTheSeparatorAlone) {
    for (const char c : texts::all_bytes()) {
        EXPECT_EQ(File::parts(std::string("a") + c + "b"), c == '/' ? 2U : 1U) << c;
    }
}

TEST(Parts, AreCountedPastANul) { EXPECT_EQ(File::parts(std::string("a/b\0c/d", 7)), 3U); }

TEST(Parts, MayBeMany) {
    EXPECT_EQ(File::parts(std::string(262144, '/')), 262145U);
    EXPECT_EQ(File::parts(std::string(262144, 'a')), 1U);
    const std::string path(0x1000001, '/');
    EXPECT_EQ(File::parts(path), 0x1000002U);
}

TEST(Parts, AreAnUnsigned32BitNumber) {
    static_assert(std::is_same_v<decltype(File::parts("")), std::uint32_t>);
    EXPECT_EQ(File::parts("/a"), std::uint32_t{2});
}

TEST(Queries, NeverThrowAndNeedNoMemory) {
    const std::string path(1000, '/');
    EXPECT_TRUE(noexcept(File::exists(path)));
    EXPECT_TRUE(noexcept(File::IsRegularDirectory(path)));
    EXPECT_TRUE(noexcept(File::parts(path)));
    EXPECT_EQ(allocation::count([&] {
                  File::exists(path);
                  File::IsRegularDirectory(path);
                  File::parts(path);
              }),
              0U);
}

TEST(FileUsage, WorksAsTheHeaderShows) {
    EXPECT_TRUE(File::exists("/"));
    EXPECT_TRUE(File::IsRegularDirectory("/"));
    EXPECT_FALSE(File::exists(""));
    EXPECT_EQ(File::parts("/home/user"), 3U);
}
