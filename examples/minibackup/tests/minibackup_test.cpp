/// @file
/// Tests of the whole program: each runs it on trees and stores in a directory of its own.

#include "support.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iterator>
#include <nuriccl/Base64Wrapper.hpp>
#include <nuriccl/fsvlist.hpp>
#include <pty.h>
#include <random>
#include <set>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

#ifdef NURICCL_SANITIZED
/// What the address sanitizer is to do unless its environment says otherwise: to keep 4 MiB of what
/// was freed. With its usual 256 MiB, the memory of this process grows with every case, and so does
/// the time in which it starts the next program.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "quarantine_size_mb=4";
}
#endif

namespace minibackup_test {

namespace {

void set_time(const std::string& path, std::int64_t seconds, long nanoseconds) {
    const timespec times[] = {{0, UTIME_OMIT}, {static_cast<time_t>(seconds), nanoseconds}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW)) << path;
}

void set_mode(const std::string& path, mode_t mode) {
    ASSERT_EQ(0, chmod(path.c_str(), mode)) << path;
}

void limit_file_size() {
    const rlimit limit = {BLOCK / 2, BLOCK / 2};
    setrlimit(RLIMIT_FSIZE, &limit);
}

// What a non-root user cannot read is not for these tests; see UnreadableFile... for that.
bool readable_to_us(mode_t mode) { return geteuid() == 0 || (mode & 0500) == 0500; }

} // namespace

// Round trips

TEST_F(MinibackupTest, RestoreGivesBackEmptyFilesEmptyDirectoriesAndLinks) {
    write_file(at("s/empty"), "");
    write_file(at("s/text"), "some text\n");
    fs::create_directories(at("s/empty directory"));
    fs::create_directories(at("s/a/b/c"));
    write_file(at("s/a/b/c/deep"), "deep");
    fs::create_symlink("text", at("s/link"));
    fs::create_symlink("no/such/file", at("s/dangling"));
    fs::create_symlink("/etc/passwd", at("s/absolute"));
    fs::create_directory_symlink("a/b", at("s/to directory"));
    fs::create_symlink(std::string(4000, 'x'), at("s/long target"));
    fs::create_symlink(" %41\n\x7f", at("s/odd target"));
    const Picture before = picture_of(source());
    ASSERT_TRUE(ended(save(), 0));
    ASSERT_TRUE(ended(verify(), 0));
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ(before, picture_of(destination()));
}

TEST_F(MinibackupTest, ModesSurvive) {
    for (const mode_t mode :
         std::initializer_list<mode_t>{0000, 0001, 0111, 0222, 0400, 0444, 0500, 0555, 0644, 0700,
                                       0777, 01777, 02755, 04755, 06711, 07777}) {
        if (readable_to_us(mode)) {
            const std::string name = std::to_string(mode);
            write_file(at("s/f" + name), name);
            fs::create_directory(at("s/d" + name));
            write_file(at("s/d" + name + "/file"), name);
            set_mode(at("s/f" + name), mode);
            set_mode(at("s/d" + name), mode);
        }
    }
    set_mode(source(), 0711);
    const Picture before = picture_of(source());
    ASSERT_TRUE(ended(save(), 0));
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ(before, picture_of(destination()));
}

TEST_F(MinibackupTest, TimesSurviveToTheNanosecond) {
    // Those that the filesystem cannot keep become others at once, which must survive then.
    const std::int64_t seconds[] = {0,           1,          -1,         -86400 * 365, 2147483647,
                                    2147483648,  4294967296, 9999999999, -62135596801, -99999999999,
                                    253402300800};
    for (const std::int64_t second : seconds) {
        const std::string name = std::to_string(second);
        write_file(at("s/f" + name), name);
        fs::create_symlink("nowhere", at("s/l" + name));
        fs::create_directory(at("s/d" + name));
        write_file(at("s/d" + name + "/in it"), name);
        for (const std::string kind : {"f", "l", "d"}) {
            set_time(at("s/" + kind + name), second, 123456789);
        }
    }
    set_time(at("s/f0"), 5, 999999999);
    set_time(at("s/f1"), 5, 1);
    set_time(source(), 1000000000, 7);
    const Picture before = picture_of(source());
    EXPECT_EQ(-1, before.at("/f-1").seconds);
    EXPECT_EQ(2147483648, before.at("/l2147483648").seconds);
    ASSERT_TRUE(ended(save(), 0));
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ(before, picture_of(destination()));
}

TEST_F(MinibackupTest, SizesAroundTheBlockSizeSurvive) {
    const std::size_t sizes[] = {0,         1,     BLOCK / 8 - 1, BLOCK / 8, BLOCK / 8 + 1,
                                 BLOCK - 1, BLOCK, BLOCK + 1,     2 * BLOCK, 3 * BLOCK + BLOCK / 2};
    std::size_t blocks_of_all = 0;
    for (const std::size_t size : sizes) {
        write_file(at("s/" + std::to_string(size)), noise(size, static_cast<std::uint32_t>(size)));
        blocks_of_all += (size + BLOCK - 1) / BLOCK;
    }
    const Picture before = picture_of(source());
    ASSERT_TRUE(ended(save(), 0));
    EXPECT_EQ(blocks_of_all, blocks().size());
    ASSERT_TRUE(ended(verify(), 0));
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ(before, picture_of(destination()));
}

TEST_F(MinibackupTest, SourceMayBeALinkToADirectory) {
    write_file(at("s/file"), "content");
    fs::create_directory_symlink("s", at("link"));
    ASSERT_TRUE(ended(run({"save", at("link") + '/', store()}), 0));
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ(picture_of(source()), picture_of(destination()));
}

TEST_F(MinibackupTest, PathsLongerThanTheSystemsLimitSurvive) {
    constexpr int LEVELS = 100;
    const std::string name(100, 'n');
    int directory = open(source().c_str(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < LEVELS; ++i) {
        ASSERT_EQ(0, mkdirat(directory, name.c_str(), 0755));
        const int below = openat(directory, name.c_str(), O_RDONLY | O_DIRECTORY);
        close(directory);
        directory = below;
    }
    const int file = openat(directory, "deepest", O_WRONLY | O_CREAT, 0640);
    ASSERT_EQ(4, write(file, "text", 4));
    close(file);
    close(directory);
    ASSERT_TRUE(ended(save(), 0));
    ASSERT_TRUE(ended(verify(), 0));
    ASSERT_TRUE(ended(restore(), 0));
    directory = open(destination().c_str(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < LEVELS; ++i) {
        const int below = openat(directory, name.c_str(), O_RDONLY | O_DIRECTORY);
        close(directory);
        directory = below;
    }
    struct stat status = {};
    EXPECT_EQ(0, fstatat(directory, "deepest", &status, 0));
    EXPECT_EQ(4, status.st_size);
    EXPECT_EQ(0640U, status.st_mode & 07777);
    close(directory);
}

TEST_F(MinibackupTest, WhatLiesTooDeepIsNamedAndTheRestIsSaved) {
    write_file(at("s/file"), "content");
    int directory = open(source().c_str(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < 1050; ++i) {
        ASSERT_EQ(0, mkdirat(directory, "d", 0755));
        const int below = openat(directory, "d", O_RDONLY | O_DIRECTORY);
        close(directory);
        directory = below;
    }
    close(directory);
    const Outcome outcome = save();
    ASSERT_TRUE(ended(outcome, 1));
    EXPECT_TRUE(contains(outcome.err, "/d/d/d"));
    ASSERT_TRUE(ended(verify(), 0));
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ("content", read_file(at("d/file")));
}

TEST_F(MinibackupTest, LargeSparseFileIsSavedAndRestoredSparseInLittleMemory) {
    constexpr std::int64_t SIZE = std::int64_t{60} << 30;
    const std::string start = noise(3000, 1);
    const std::string middle = noise(BLOCK, 2); // not on a block's border
    const int file = open(at("s/large").c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_EQ(3000, pwrite(file, start.data(), start.size(), 0));
    ASSERT_EQ(static_cast<ssize_t>(BLOCK), pwrite(file, middle.data(), BLOCK, SIZE / 2 + 4096));
    ASSERT_EQ(0, ftruncate(file, SIZE));
    close(file);
    const auto little_memory = [] {
        if (!SANITIZED) { // which takes an address space of its own
            const rlimit limit = {256 << 20, 256 << 20};
            setrlimit(RLIMIT_AS, &limit);
        }
    };
    const auto little_memory_and_time = [&] { // too little to read all the zeros
        const rlimit limit = {1, 1};
        setrlimit(RLIMIT_CPU, &limit);
        little_memory();
    };
    ASSERT_TRUE(ended(run({"save", source(), store()}, little_memory_and_time), 0));
    EXPECT_EQ(3U, blocks().size());
    ASSERT_TRUE(ended(run({"verify", store()}, little_memory), 0));
    ASSERT_TRUE(ended(run({"restore", store(), destination()}, little_memory), 0));
    const struct stat status = status_of(at("d/large"));
    EXPECT_EQ(SIZE, status.st_size);
    EXPECT_LT(status.st_blocks * 512, 8 << 20);
    const int restored = open(at("d/large").c_str(), O_RDONLY);
    std::string bytes(BLOCK + 8192, '\x55');
    ASSERT_EQ(static_cast<ssize_t>(bytes.size()),
              pread(restored, &bytes[0], bytes.size(), SIZE / 2));
    EXPECT_TRUE(bytes == std::string(4096, '\0') + middle + std::string(4096, '\0'));
    ASSERT_EQ(static_cast<ssize_t>(bytes.size()), pread(restored, &bytes[0], bytes.size(), 0));
    EXPECT_TRUE(bytes == start + std::string(bytes.size() - start.size(), '\0'));
    close(restored);
}

TEST_F(MinibackupTest, ZeroBytesThatAreNoHoleAreRestoredAsOne) {
    write_file(at("s/zeros"), std::string(3 * BLOCK + 5, '\0'));
    write_file(at("s/mixed"), std::string(BLOCK, '\0') + "x" + std::string(BLOCK, '\0'));
    ASSERT_TRUE(ended(save(), 0));
    EXPECT_EQ(1U, blocks().size());
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ(picture_of(source()), picture_of(destination()));
    EXPECT_LT(status_of(at("d/zeros")).st_blocks * 512, 65536);
}

// Storing once

TEST_F(MinibackupTest, EqualBlocksAreStoredOnceOverFilesAndRuns) {
    const std::string a = noise(BLOCK, 1);
    const std::string b = noise(BLOCK, 2);
    write_file(at("s/1"), a + b + a + a);
    write_file(at("s/2"), b + a);
    write_file(at("s/3"), "small");
    write_file(at("s/4"), "small");
    ASSERT_TRUE(ended(save(), 0));
    EXPECT_EQ(3U, blocks().size());
    write_file(at("s/5"), a + "small");
    write_file(at("s/6"), "new");
    ASSERT_TRUE(ended(save(), 0));
    EXPECT_EQ(4U, blocks().size());
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ(picture_of(source()), picture_of(destination()));
}

TEST_F(MinibackupTest, SecondSaveOfAnUnchangedTreeStoresNothing) {
    write_file(at("s/1"), noise(2 * BLOCK, 1));
    write_file(at("s/2"), "text");
    ASSERT_TRUE(ended(save(), 0));
    const Picture before = picture_of(store() + "/blocks");
    const Outcome outcome = save();
    ASSERT_TRUE(ended(outcome, 0));
    EXPECT_TRUE(contains(outcome.out, "0 new blocks"));
    EXPECT_EQ(before, picture_of(store() + "/blocks"));
    EXPECT_EQ(2U, runs().size());
}

TEST_F(MinibackupTest, VerifyAndRestoreReadEqualBlocksInARowOnce) {
    const std::string block = noise(BLOCK, 1);
    write_file(at("s/1"), block + block + block + block);
    ASSERT_TRUE(ended(save(), 0));
    ASSERT_TRUE(ended(save(), 0));
    const std::string name = "open " + block_path(block).substr(store().size() + 1);
    const auto reads = [&](const std::vector<std::string>& arguments) {
        fs::remove(at("log"));
        EXPECT_TRUE(ended(run_with_faults(arguments, {"FAULTS_LOG=" + at("log")}), 0));
        const std::string log = read_file(at("log"));
        int count = 0;
        for (std::size_t i = log.find(name); i != std::string::npos; i = log.find(name, i + 1)) {
            ++count;
        }
        return count;
    };
    EXPECT_EQ(1, reads({"verify", store()}));
    EXPECT_EQ(1, reads({"restore", store(), destination()}));
}

// What cannot be saved

TEST_F(MinibackupTest, FileThatVanishesIsNamedAndTheOthersAreSaved) {
    write_file(at("s/gone"), "gone");
    write_file(at("s/stays"), "stays");
    fs::create_directory(at("s/lost"));
    const Outcome outcome = run_with_faults({"save", source(), store()}, {"FAULTS_VANISH=gone"});
    ASSERT_TRUE(ended(outcome, 1));
    EXPECT_TRUE(contains(outcome.err, at("s/gone") + ": cannot open: No such file or directory"));
    ASSERT_TRUE(ended(run_with_faults({"save", source(), store()}, {"FAULTS_VANISH=lost"}), 1));
    ASSERT_TRUE(ended(verify(), 0));
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ("stays", read_file(at("d/stays")));
    EXPECT_FALSE(fs::exists(at("d/lost")));
    ASSERT_TRUE(ended(run({"restore", store(), at("d1"), "--run", runs().front()}), 0));
    EXPECT_FALSE(fs::exists(at("d1/gone")));
}

TEST_F(MinibackupTest, FileThatCannotBeReadToItsEndLeavesNoTraceInTheRun) {
    write_file(at("s/bad"), noise(BLOCK, 1) + std::string(BLOCK, '\0') + noise(BLOCK, 2));
    write_file(at("s/good"), "good");
    fs::create_directory(at("s/later"));
    write_file(at("s/later/good"), noise(BLOCK, 3));
    Picture expected = picture_of(source());
    expected.erase("/bad");
    for (const std::size_t bytes :
         {std::size_t{0}, std::size_t{1}, BLOCK / 4, BLOCK, 2 * BLOCK + BLOCK / 4}) {
        const Outcome outcome = run_with_faults({"save", source(), store()},
                                                {"FAULTS_READ=bad:" + std::to_string(bytes)});
        ASSERT_TRUE(ended(outcome, 1));
        EXPECT_TRUE(contains(outcome.err, at("s/bad") + ": cannot read: Input/output error"));
        ASSERT_TRUE(ended(verify(), 0));
        ASSERT_TRUE(ended(restore(), 0));
        EXPECT_EQ(expected, picture_of(destination()));
    }
}

// The manifest is written in chunks: a file is taken back even when a part of it is written
// already.
TEST_F(MinibackupTest, FileThatCannotBeReadIsTakenBackFromAManifestInTheWorks) {
    constexpr std::size_t CHUNK = 0x10000;
    fs::create_directory(at("s/last"));
    const std::string content = noise(BLOCK, 1);
    write_file(at("s/last/bad"), content + content + content + content);
    const auto save_badly = [&] {
        return run_with_faults({"save", source(), store()},
                               {"FAULTS_READ=bad:" + std::to_string(4 * BLOCK)});
    };
    const auto add_file = [&](int number, std::size_t name_length) {
        std::string name = std::to_string(number);
        name.resize(name_length, 'x');
        write_file(at("s/" + name), "");
    };
    ASSERT_TRUE(ended(save_badly(), 1));
    std::uintmax_t size = fs::file_size(at("b/" + runs().back()));
    for (int i = 0; size < CHUNK + 300; ++i) {
        const bool near = size + 600 > CHUNK; // small steps where the border comes
        add_file(i, near ? 10 : 200);
        size += 300; // at most
        if (size + 600 > CHUNK) {
            ASSERT_TRUE(ended(save_badly(), 1));
            ASSERT_TRUE(ended(verify(), 0));
            size = fs::file_size(at("b/" + runs().back()));
        }
    }
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_TRUE(fs::exists(at("d/last")));
    EXPECT_FALSE(fs::exists(at("d/last/bad")));
}

TEST_F(MinibackupTest, FileThatChangesWhileItIsReadIsRecordedAsItWasRead) {
    const std::string content = noise(24 * BLOCK, 1);
    std::atomic<bool> done{false};
    write_file(at("s/file"), content.substr(0, 8 * BLOCK));
    std::thread writer([&] {
        const int file = open(at("s/file").c_str(), O_WRONLY);
        for (std::size_t size = 8 * BLOCK; !done; size = size % (24 * BLOCK) + BLOCK / 2) {
            EXPECT_EQ(0, ftruncate(file, static_cast<off_t>(std::min(size, 8 * BLOCK))));
            for (std::size_t i = 8 * BLOCK; i < size; i += BLOCK / 2) {
                EXPECT_LT(0, pwrite(file, &content[i], BLOCK / 2, static_cast<off_t>(i)));
            }
        }
        close(file);
    });
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(ended(save(), 0));
        EXPECT_TRUE(ended(verify(), 0));
        EXPECT_TRUE(ended(restore(), 0));
        const std::string restored = read_file(at("d/file"));
        EXPECT_LE(restored.size(), content.size());
    }
    done = true;
    writer.join();
}

TEST_F(MinibackupTest, FileWithoutAKnownSizeIsReadToItsEnd) {
    const std::string directory = "/proc/sys/kernel/random";
    if (!fs::exists(directory + "/boot_id")) {
        GTEST_SKIP() << "no " << directory << " on this system";
    }
    EXPECT_EQ(0, status_of(directory + "/boot_id").st_size);
    ASSERT_TRUE(ended(run({"save", directory, store()}), 0));
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ(read_file(directory + "/boot_id"), read_file(at("d/boot_id")));
}

TEST_F(MinibackupTest, FifosAndSocketsAreNamedAndNotOpened) {
    ASSERT_EQ(0, mkfifo(at("s/fifo").c_str(), 0600));
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {AF_UNIX, ""};
    ASSERT_LT(at("s/socket").size(), sizeof address.sun_path);
    at("s/socket").copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(0, bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address));
    write_file(at("s/file"), "content");
    const Outcome outcome = save();
    close(socket);
    ASSERT_TRUE(ended(outcome, 0));
    EXPECT_TRUE(contains(outcome.err, at("s/fifo") + ": is a FIFO, left out"));
    EXPECT_TRUE(contains(outcome.err, at("s/socket") + ": is a socket, left out"));
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ(2U, picture_of(destination()).size());
}

TEST_F(MinibackupTest, StoreInsideTheSourceIsLeftOut) {
    fs::create_directories(at("s/in"));
    write_file(at("s/in/file"), "content");
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(ended(run({"save", source(), at("s/in/store")}), 0));
    }
    ASSERT_TRUE(ended(run({"restore", at("s/in/store"), destination()}), 0));
    EXPECT_TRUE(fs::exists(at("d/in/file")));
    EXPECT_FALSE(fs::exists(at("d/in/store")));
}

// Sources, stores and destinations that cannot be used

TEST_F(MinibackupTest, MissingSourceIsRefusedAndMakesNoStore) {
    const Outcome outcome = run({"save", at("none"), store()});
    ASSERT_TRUE(ended(outcome, 2));
    EXPECT_TRUE(contains(outcome.err, at("none") + ": cannot open: No such file or directory"));
    EXPECT_FALSE(fs::exists(store()));
}

TEST_F(MinibackupTest, SourceThatIsNoDirectoryIsRefused) {
    write_file(at("file"), "content");
    const Outcome outcome = run({"save", at("file"), store()});
    ASSERT_TRUE(ended(outcome, 2));
    EXPECT_TRUE(contains(outcome.err, at("file") + ": cannot open: Not a directory"));
    EXPECT_FALSE(fs::exists(store()));
}

TEST_F(MinibackupTest, SourceThatIsTheStoreIsRefused) {
    ASSERT_TRUE(ended(save(), 0));
    const Outcome outcome = run({"save", store(), store() + "/blocks/.."});
    ASSERT_TRUE(ended(outcome, 2));
    EXPECT_TRUE(contains(outcome.err, "is the store itself"));
    EXPECT_EQ(1U, runs().size());
}

TEST_F(MinibackupTest, EmptyDirectoryBecomesAStoreAndAnotherDoesNot) {
    fs::create_directory(store());
    ASSERT_TRUE(ended(save(), 0));
    EXPECT_EQ("format = 1.0.0\nblock_size = 1048576\n", read_file(at("b/minibackup.format")));
    fs::create_directory(at("photos"));
    write_file(at("photos/me"), "me");
    const Picture before = picture_of(at("photos"));
    const Outcome outcome = run({"save", source(), at("photos")});
    ASSERT_TRUE(ended(outcome, 2));
    EXPECT_TRUE(contains(outcome.err, at("photos") + ": is not empty, and no minibackup store"));
    for (const std::string command : {"list", "verify"}) {
        ASSERT_TRUE(ended(run({command, at("photos")}), 2));
    }
    ASSERT_TRUE(ended(run({"restore", at("photos"), destination()}), 2));
    EXPECT_EQ(before, picture_of(at("photos")));
    EXPECT_FALSE(fs::exists(destination()));
}

// The format of a store

class Format : public MinibackupTest {
protected:
    Format() {
        write_file(at("s/file"), "content");
        EXPECT_TRUE(ended(save(), 0));
        write_file(at("b/minibackup.tmp-1-2-3-x"), "left by a program of the future");
    }

    // Every command refuses the store for this reason, and changes nothing.
    void expect_refused(const std::string& format, const std::string& reason) {
        SCOPED_TRACE(format);
        write_file(at("b/minibackup.format"), format);
        const Picture before = picture_of(store());
        for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
                 {"save", source(), store()},
                 {"list", store()},
                 {"list", "--csv", store()},
                 {"verify", store()},
                 {"restore", store(), destination()},
             }) {
            const Outcome outcome = run(arguments);
            EXPECT_TRUE(ended(outcome, 2)) << arguments[0];
            EXPECT_EQ("", outcome.out);
            EXPECT_EQ("minibackup: " + store() + reason + '\n', outcome.err);
        }
        EXPECT_FALSE(fs::exists(destination()));
        EXPECT_EQ(before, picture_of(store()));
    }

    void expect_later(const std::string& version, const std::string& rest) {
        expect_refused("format = " + version + '\n' + rest,
                       ": is a store of format " + version +
                           ", and this program knows formats up to 1.0.0; use a later minibackup "
                           "for it");
    }

    static std::string with_block_size(const std::string& version) {
        return "format = " + version + "\nblock_size = 1048576\n";
    }
};

TEST_F(Format, LaterOnesAreRefusedAndUntouched) {
    for (const std::string version :
         {"2.0.0", "1.1.0", "1.10.0", "1.9.99", "10.0.0", "99999999999999999999.0.0"}) {
        expect_later(version, "block_size = 1048576\n");
    }
    expect_later("2.0.0", ""); // whatever else a later one holds
    expect_later("2.0.0", "block_size = 4194304\ncipher = \"none\"\n");
}

TEST_F(Format, OlderAndEqualOnesAreTaken) {
    for (const std::string text :
         {"format = 1.0.0\nblock_size = 1048576\n", "format = 1.0.7\nblock_size = 1048576\n",
          "format = 0.9.0\nblock_size = 1048576\n", "block_size=1048576\nformat=1.0.0",
          "# a comment\r\n\r\n \tformat = '1.0.0' \r\nblock_size \t= \"1048576\"\n\n"}) {
        write_file(at("b/minibackup.format"), text);
        ASSERT_TRUE(ended(save(), 0)) << text;
        ASSERT_TRUE(ended(run({"list", store()}), 0)) << text;
        ASSERT_TRUE(ended(verify(), 0)) << text;
        ASSERT_TRUE(ended(restore(), 0)) << text;
        EXPECT_EQ(picture_of(source()), picture_of(destination()));
        EXPECT_EQ(text, read_file(at("b/minibackup.format")));
    }
}

TEST_F(Format, DamagedOnesAreRefusedAndUntouched) {
    const std::string reason = "/minibackup.format: the format of the store is damaged";
    for (const std::string version :
         {"1", "1.", "1.0", "1.0.", "1.0.0.0", ".0.0", "1..0", "..", "x", "1.x.0", "-1.0.0",
          "+1.0.0", "1.0.0x", "\" 1.0.0\"", "2.", "2.0.0-rc1", "\"build 7\""}) {
        expect_refused(with_block_size(version), reason);
    }
    for (const std::string& text :
         {std::string(), std::string("\n"), std::string("# format = 1.0.0\n"),
          std::string("format = 1.0.0\n"), std::string("block_size = 1048576\n"),
          std::string("Format = 1.0.0\nblock_size = 1048576\n"),
          std::string("format = 1.0.0\nblock_size = 1048577\n"),
          std::string("format = 1.0.0\nblock_size = 01048576\n"),
          std::string("format = 1.0.0\nblock_size = 4294967296\n"),
          with_block_size("1.0.0") + "format = 1.0.0\n", // twice
          with_block_size("1.0.0") + "format = 2.0.0\n",
          with_block_size("1.0.0") + "unknown = x\n"}) {
        expect_refused(text, reason);
    }
}

TEST_F(Format, LinesThatAreNoSettingAreRefusedAndShown) {
    for (const auto& [line, shown] : std::vector<std::pair<std::string, std::string>>{
             {"minibackup store 1", "minibackup store 1"},
             {"format", "format"},
             {"format =", "format ="},
             {"format = \"\"", "format = \"\""},
             {"= 1.0.0", "= 1.0.0"},
             {"format = \"1.0.0", "format = \"1.0.0"}, // a quote that stays open
             {"format = '1.0.0\"", "format = '1.0.0\""},
             {"\"format = 1.0.0", "\"format = 1.0.0"},
             {"format = 1.0.0\\", "format = 1.0.0\\\\"}, // a backslash that escapes nothing
             {"format = 1.0.0 \"\"", "format = 1.0.0 \"\""},
             {"format = 1.0.0 x", "format = 1.0.0 x"},
             {"x format = 1.0.0", "x format = 1.0.0"},
             {"format = = 1.0.0", "format = = 1.0.0"},
             {"format = 1.0.0 = 2.0.0", "format = 1.0.0 = 2.0.0"},
             {"format = 1.0.0 \"\" x", "format = 1.0.0 \"\" x"},
             {"format = 1.0.0 # known", "format = 1.0.0 # known"},
             {std::string("format = 1.0.0\0", 15), "format = 1.0.0\\x00"},
             {std::string("\0\0\x1b[2J\xff", 7), "\\x00\\x00\\x1b[2J\\xff"}}) {
        expect_refused("\n" + line + "\nblock_size = 1048576\n",
                       "/minibackup.format: line 2 is not KEY = VALUE: '" + shown + '\'');
    }
}

TEST_F(Format, OneThatIsTooLongOrNoFileIsRefused) {
    const std::string text = with_block_size("1.0.0");
    write_file(at("b/minibackup.format"), text + std::string(65536 - text.size(), '\n'));
    ASSERT_TRUE(ended(verify(), 0));
    expect_refused(text + std::string(65537 - text.size(), '\n'),
                   "/minibackup.format: is longer than 65536 bytes");
    fs::remove(at("b/minibackup.format"));
    ASSERT_EQ(0, mkfifo(at("b/minibackup.format").c_str(), 0600));
    EXPECT_TRUE(contains(verify().err, "the format of the store is damaged"));
    fs::remove(at("b/minibackup.format"));
    fs::create_directory(at("b/minibackup.format"));
    EXPECT_TRUE(contains(verify().err, "/minibackup.format: cannot read: Is a directory"));
}

TEST_F(MinibackupTest, DestinationMustBeMissingOrEmpty) {
    write_file(at("s/file"), "content");
    ASSERT_TRUE(ended(save(), 0));
    fs::create_directory(destination());
    ASSERT_TRUE(ended(run({"restore", store(), destination()}), 0));
    const Picture before = picture_of(destination());
    const Outcome outcome = run({"restore", store(), destination()});
    ASSERT_TRUE(ended(outcome, 2));
    EXPECT_TRUE(contains(outcome.err, destination() + ": is not empty"));
    EXPECT_EQ(before, picture_of(destination()));
    ASSERT_TRUE(ended(run({"restore", store(), at("d/file")}), 2));
    ASSERT_TRUE(ended(run({"restore", store(), at("none/below")}), 2));
}

TEST_F(MinibackupTest, RestoreTakesTheNewestRunOrTheOneThatIsAskedFor) {
    for (const std::string text : {"one", "two", "three"}) {
        write_file(at("s/file"), text);
        ASSERT_TRUE(ended(save(), 0));
    }
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ("three", read_file(at("d/file")));
    ASSERT_TRUE(ended(run({"restore", "--run", runs()[1], store(), at("d2")}), 0));
    EXPECT_EQ("two", read_file(at("d2/file")));
    for (const std::string& name :
         {std::string("none"), std::string("blocks"), "../b/" + runs()[1]}) {
        ASSERT_TRUE(ended(run({"restore", "--run=" + name, store(), at("d3")}), 2));
        EXPECT_FALSE(fs::exists(at("d3")));
    }
}

TEST_F(MinibackupTest, RunsSortByTimeEvenWhenTheClockWasSetBack) {
    ASSERT_TRUE(ended(save(), 0));
    fs::rename(at("b/" + runs()[0]), at("b/00000007-9999-12-31T235959Z"));
    ASSERT_TRUE(ended(save(), 0));
    ASSERT_EQ(2U, runs().size());
    EXPECT_EQ("00000007-9999-12-31T235959Z", runs()[0]);
    EXPECT_EQ("00000008-", runs()[1].substr(0, 9));
}

TEST_F(MinibackupTest, ListTellsTheRunsOldestFirst) {
    write_file(at("s/file"), "12345");
    ASSERT_TRUE(ended(save(), 0));
    write_file(at("s/file 2"), "67");
    ASSERT_TRUE(ended(save(), 0));
    const Outcome outcome = run({"list", store()});
    ASSERT_TRUE(ended(outcome, 0));
    std::istringstream lines(outcome.out);
    std::string heading;
    std::getline(lines, heading);
    for (const auto& [run, files, bytes] :
         {std::tuple(runs()[0], 1, 5), std::tuple(runs()[1], 2, 7)}) {
        std::string name, time, from;
        int file_count = 0, byte_count = 0;
        lines >> name >> time >> file_count >> byte_count >> from;
        EXPECT_EQ(run, name);
        EXPECT_EQ(28U, time.size());
        EXPECT_EQ(run.substr(9, 13), time.substr(0, 13)); // the same hour
        EXPECT_EQ(files, file_count);
        EXPECT_EQ(bytes, byte_count);
        EXPECT_EQ(source(), from);
    }
}

TEST_F(MinibackupTest, CsvListTellsTheSameAndIsReadBack) {
    write_file(at("s/file"), "12345");
    ASSERT_TRUE(ended(save(), 0));
    write_file(at("s/file 2"), "67");
    fs::rename(source(), at("a \"b\", c"));
    ASSERT_TRUE(ended(run({"save", at("a \"b\", c"), store()}), 0));
    const Outcome outcome = run({"list", "--csv", store()});
    ASSERT_TRUE(ended(outcome, 0));
    const std::vector<std::string> lines = lines_of(outcome.out);
    ASSERT_EQ(3U, lines.size());
    EXPECT_EQ("RUN,SAVED,FILES,BYTES,SOURCE", lines[0]);
    EXPECT_TRUE(contains(lines[2], ",2,7,\"" + at("a \"\"b\"\", c") + '"'));
    std::vector<std::vector<std::string>> rows;
    for (const std::string& line : lines) {
        rows.push_back(nuriccl::FSVList().parse(line).to_list());
        ASSERT_EQ(5U, rows.back().size()) << line;
    }
    const std::string table = run({"list", store()}).out;
    for (std::size_t i : {1U, 2U}) {
        EXPECT_EQ(runs()[i - 1], rows[i][0]);
        EXPECT_TRUE(contains(table, rows[i][1]));
        EXPECT_EQ(std::to_string(i), rows[i][2]);
        EXPECT_EQ(i == 1 ? "5" : "7", rows[i][3]);
        EXPECT_EQ(i == 1 ? source() : at("a \"b\", c"), rows[i][4]);
    }
    EXPECT_EQ(outcome.out, run({"list", store(), "-c"}).out);
    write_file(at("b/" + runs().front()), "damaged");
    const Outcome damaged = run({"list", "--csv", store()});
    ASSERT_TRUE(ended(damaged, 1));
    EXPECT_EQ(lines[0] + '\n' + lines[2] + '\n', damaged.out);
}

// Damage

class Damage : public MinibackupTest {
protected:
    Damage() {
        write_file(at("s/small"), small);
        write_file(at("s/large"), large + small);
        fs::create_directory(at("s/sub"));
        write_file(at("s/sub/twin"), small);
        write_file(at("s/intact"), twin_in_length);
        EXPECT_TRUE(ended(save(), 0));
        EXPECT_TRUE(ended(save(), 0));
        for (const std::string& block : {large, small}) {
            intact_[block_path(block)] = read_file(block_path(block));
        }
    }

    // The block and all the files that it belongs to are named, and nothing else is.
    void expect_named(const std::string& block, const std::vector<std::string>& files) {
        const Outcome outcome = verify();
        ASSERT_TRUE(ended(outcome, 1));
        std::size_t lines = 0;
        for (const std::string& run : runs()) {
            for (const std::string& file : files) {
                EXPECT_TRUE(contains(outcome.err,
                                     "run " + run + ", file " + file + ": " + block_path(block)));
                ++lines;
            }
        }
        EXPECT_EQ(lines, static_cast<std::size_t>(
                             std::count(outcome.err.begin(), outcome.err.end(), '\n')));
    }

    void heal() {
        for (const auto& [path, bytes] : intact_) {
            write_file(path, bytes);
        }
        ASSERT_TRUE(ended(verify(), 0));
    }

    const std::string small = "a small block, a small block";
    const std::string twin_in_length = "another of the same length..";
    const std::string large = noise(BLOCK, 1);

private:
    std::map<std::string, std::string> intact_;
};

TEST_F(Damage, VerifyFindsEachAlteredByteOfABlock) {
    const std::string path = block_path(small);
    const std::string intact = read_file(path);
    for (std::size_t i = 0; i < intact.size(); ++i) {
        std::string altered = intact;
        altered[i] = static_cast<char>(~altered[i]);
        write_file(path, altered);
        SCOPED_TRACE(i);
        expect_named(small, {"small", "large", "sub/twin"});
    }
    heal();
}

TEST_F(Damage, VerifyFindsAlteredBytesInEachRegionOfALargeBlock) {
    const std::string path = block_path(large);
    const std::string intact = read_file(path);
    for (const std::size_t i :
         {std::size_t{0}, std::size_t{100}, intact.size() / 2, intact.size() - 1}) {
        std::string altered = intact;
        altered[i] = static_cast<char>(altered[i] ^ 1);
        write_file(path, altered);
        SCOPED_TRACE(i);
        expect_named(large, {"large"});
    }
    heal();
}

TEST_F(Damage, VerifyFindsBlocksThatAreTruncatedMissingOrOthers) {
    const std::string path = block_path(small);
    const std::string intact = read_file(path);
    const std::string other = read_file(block_path(twin_in_length));
    for (const std::string& content : {intact.substr(0, intact.size() - 1), intact.substr(0, 1),
                                       std::string(), other, std::string(2 * BLOCK, 'x')}) {
        write_file(path, content);
        expect_named(small, {"small", "large", "sub/twin"});
    }
    fs::remove(path);
    expect_named(small, {"small", "large", "sub/twin"});
    EXPECT_TRUE(contains(verify().err, "No such file or directory"));
    heal();
}

TEST_F(Damage, RestoreLeavesOutDamagedFilesAndGoesOn) {
    write_file(block_path(large), "damaged");
    const Outcome outcome = restore();
    ASSERT_TRUE(ended(outcome, 1));
    EXPECT_TRUE(contains(outcome.err, at("d/large") + ": left out: " + block_path(large)));
    Picture expected = picture_of(source());
    expected.erase("/large");
    EXPECT_EQ(expected, picture_of(destination()));
}

TEST_F(Damage, AlteredManifestsAreNamedAndNotRestored) {
    const std::string run = runs().back();
    const std::string path = at("b/" + run);
    const std::string intact = read_file(path);
    std::vector<std::string> altered = {"",
                                        intact.substr(0, intact.size() - 1),
                                        intact.substr(0, 60),
                                        intact.substr(0, intact.rfind("signature")),
                                        intact + "x",
                                        intact + "\n",
                                        intact + intact};
    for (std::size_t i = 0; i < intact.size(); i += SANITIZED ? 3 * 17 : 17) {
        altered.push_back(intact);
        altered.back()[i] = static_cast<char>(intact[i] ^ 1);
    }
    for (const std::string& text : altered) {
        write_file(path, text);
        const Outcome verified = verify();
        ASSERT_TRUE(ended(verified, 1)) << text;
        EXPECT_TRUE(contains(verified.err, path));
        ASSERT_TRUE(ended(restore(), 2)) << text;
        EXPECT_FALSE(fs::exists(destination()));
    }
    const Outcome listed = this->run({"list", store()});
    ASSERT_TRUE(ended(listed, 1));
    EXPECT_TRUE(contains(listed.out, runs().front()));
    ASSERT_TRUE(ended(this->run({"restore", "--run", runs().front(), store(), destination()}), 0));
}

// Manifests that somebody made up

class EvilManifest : public MinibackupTest {
protected:
    EvilManifest() {
        write_file(at("s/file"), "content");
        EXPECT_TRUE(ended(save(), 0));
        fs::create_directory(at("outside"));
        write_file(at("outside/mine"), "mine");
    }

    static std::string base64(const std::string& bytes) {
        std::string text;
        EXPECT_TRUE(nuriccl::Base64Wrapper::encode(bytes, text));
        return "base64:" + text;
    }

    static std::string entry(const std::string& kind, const std::string& names) {
        return kind + " 755 1000000000 5 2001-09-09T01:46:40.00+00:00 " + names + '\n';
    }

    static std::string block(const std::string& content) {
        return "block " + nuriccl::Signature::of(content) + ' ' + std::to_string(content.size()) +
               '\n';
    }

    static std::string file(const std::string& name) {
        return entry("file", name) + block("content") + "end 7\n";
    }

    // Writes a run with these records, signed as it should be.
    void forge_run(const std::string& run, const std::string& records,
                   const std::string& from = "s") {
        const std::string text =
            "minibackup manifest 1\nsaved 1000000000 5 2001-09-09T01:46:40.00+00:00\nsource " +
            from + '\n' + records;
        write_file(at("b/" + run), text + "signature " + nuriccl::Signature::of(text) + '\n');
    }

    // Replaces the run by one with these records.
    void forge(const std::string& records) { forge_run(runs().front(), records); }

    void expect_outside_untouched() {
        EXPECT_EQ("mine", read_file(at("outside/mine")));
        EXPECT_EQ(2U, picture_of(at("outside")).size());
    }

    const std::string root_ = entry("dir", ".");
};

TEST_F(EvilManifest,
       OneThatFollowsTheRulesIsRestored) { // so the tests below refuse what they mean to
    forge(root_ + entry("dir", "d") + file("f") + "leave\n" + entry("link", "l d/f") + "leave\n");
    ASSERT_TRUE(ended(verify(), 0));
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ("content", read_file(at("d/l")));
}

TEST_F(EvilManifest, NamesThatAreNoComponentAreRefused) {
    for (const std::string& name : {std::string(".."),
                                    std::string("."),
                                    std::string(),
                                    std::string("../x"),
                                    std::string("/x"),
                                    std::string("x/y"),
                                    std::string("x/"),
                                    std::string("x y"),
                                    std::string("\"\""),
                                    std::string("\"..\""),
                                    std::string("\"../x y\""),
                                    std::string("\"/x y\""),
                                    std::string("\" /\""),
                                    base64(""),
                                    base64("."),
                                    base64(".."),
                                    base64("/"),
                                    base64("../x"),
                                    base64("\n/x"),
                                    base64("../\n"),
                                    base64("\xff/"),
                                    base64(std::string(1, '\0')),
                                    base64(std::string("x\0y", 3))}) {
        for (const std::string& records :
             {file(name), entry("dir", name) + "leave\n", entry("link", name + " target")}) {
            forge(root_ + records + "leave\n");
            const Outcome outcome = restore();
            ASSERT_TRUE(ended(outcome, 2)) << records;
            EXPECT_TRUE(contains(outcome.err, "the manifest is damaged (line 5)"));
            EXPECT_FALSE(fs::exists(destination()));
            ASSERT_TRUE(ended(verify(), 1)) << records;
        }
    }
    expect_outside_untouched();
}

// Each byte has one form, as itself, in quotes or in Base64, and a name may hold all but two of
// them.
TEST_F(EvilManifest, NamesAreTakenInTheirEncodedFormOnly) {
    enum { PLAIN, QUOTED, BASE64, FORMS };
    const auto form_of = [](int byte) {
        return byte == ' ' || byte == '"' ? QUOTED : byte < ' ' || byte >= 0x7F ? BASE64 : PLAIN;
    };
    std::set<std::string> right = {runs().front()};
    std::set<std::string> all = right;
    for (int byte = 0; byte < 256; ++byte) {
        const std::string name = {'x', static_cast<char>(byte)};
        const std::string quoted = '"' + name + (byte == '"' ? "\"\"" : "\"");
        const std::string forms[] = {name, quoted, base64(name)};
        for (int form = 0; form < FORMS; ++form) {
            const std::string run = std::to_string(form + 1) + '-' + std::to_string(byte);
            forge_run(run, root_ + file(forms[form]) + "leave\n");
            all.insert(run);
            if (form == form_of(byte) && byte != 0 && byte != '/') {
                right.insert(run);
            }
        }
    }
    const Outcome outcome = verify();
    ASSERT_TRUE(ended(outcome, 1));
    std::set<std::string> named;
    for (const std::string& line : lines_of(outcome.err)) {
        EXPECT_TRUE(contains(line, ": the manifest is damaged (line "));
        const std::size_t start = std::string("minibackup: run ").size();
        named.insert(line.substr(start, line.find(':', start) - start));
    }
    std::set<std::string> wrong;
    std::set_difference(all.begin(), all.end(), right.begin(), right.end(),
                        std::inserter(wrong, wrong.end()));
    EXPECT_EQ(wrong, named);
    EXPECT_EQ(255U, right.size());
    EXPECT_TRUE(contains(outcome.out, "runs      255\n"));
    forge_run("4", root_ + file("base64:eAoBeQ==") + file("\"a \"\"b\"\"\"") +
                       file("base64:YmFzZTY0Og==") + "leave\n");
    ASSERT_TRUE(ended(run({"restore", "--run", "4", store(), destination()}), 0));
    EXPECT_EQ("content", read_file(at("d/x\n\x01y")));
    EXPECT_EQ("content", read_file(at("d/a \"b\"")));
    EXPECT_EQ("content", read_file(at("d/base64:")));
}

TEST_F(EvilManifest, DamagedEncodedNamesAreRefused) {
    for (const std::string word : {"x\"",
                                   "\"x",
                                   "x\"y",
                                   "\"x\"",
                                   "\"x\"y",
                                   "x\"y\"",
                                   "\"\"x",
                                   "\"x y",
                                   "\"x y\"z",
                                   "\"x y\" ",
                                   "\"x\"\" y",
                                   "'x y'",
                                   "x\\ y",
                                   "\"x\ty\"",
                                   "x\t",
                                   "x\r",
                                   "\"x\ry\"",
                                   "x\x1b[2J",
                                   "x\x7f",
                                   "\xff",
                                   "x\xC3",
                                   "\xC0\xAF",
                                   "\xED\xA0\x80",
                                   "x\xC2\x80",
                                   "\xE2\x80\xA8",
                                   "\xE2\x80\xAE",
                                   "base64:",
                                   "base64:x",
                                   "base64:eAo",
                                   "base64:eAo==",
                                   "base64:eAp=",
                                   "base64:eA==",
                                   "base64:eAo=eAo=",
                                   "base64:-_8=",
                                   "base64:eAo*",
                                   "\"base64:eAo=\"",
                                   "\"base64:eAo =\"",
                                   "base64:eAo= ",
                                   "base64:eA\"\"o="}) {
        for (const std::string& records :
             {file(word), entry("dir", word) + "leave\n", entry("link", word + " target"),
              entry("link", "l " + word)}) {
            forge(root_ + records + "leave\n");
            const Outcome outcome = restore();
            ASSERT_TRUE(ended(outcome, 2)) << records;
            EXPECT_TRUE(contains(outcome.err, "the manifest is damaged (line 5)"));
        }
        forge_run(runs().front(), root_ + "leave\n", word);
        const Outcome outcome = restore();
        ASSERT_TRUE(ended(outcome, 2)) << word;
        EXPECT_TRUE(contains(outcome.err, "the manifest is damaged (line 3)"));
    }
    EXPECT_FALSE(fs::exists(destination()));
}

TEST_F(EvilManifest, RecordsThatBreakTheRulesAreRefused) {
    const std::string begun = root_ + entry("file", "f");
    const std::string content = block("content");
    for (const std::string& records : {
             std::string(),                           // nothing at all
             file("f"),                               // no root directory
             entry("dir", "x") + "leave\n",           // of another name
             root_,                                   // never left
             root_ + "leave\nleave\n",                // left twice
             root_ + "leave\n" + root_ + "leave\n",   // there twice
             root_ + "leave\n" + file("f"),           // something behind it
             root_ + entry("link", "l") + "leave\n",  // no target
             root_ + entry("link", "l ") + "leave\n", // an empty one
             root_ + entry("link", "l " + base64(std::string(1, '\0'))) + "leave\n", // with a NUL
             root_ + entry("pipe", "p") + "leave\n",                                 // unknown kind
             root_ + content + "leave\n",         // content of nothing
             root_ + "end 0\nleave\n",            // end of nothing
             begun + "leave\n",                   // content without end
             begun + content + "end 8\nleave\n",  // wrong sum
             begun + "zeros 0\nend 0\nleave\n",   // empty pieces
             begun + "zeros -1\nend -1\nleave\n", // negative ones
             begun + "zeros 9223372036854775808\nend 9223372036854775808\nleave\n", // too long ones
             begun + "zeros 9223372036854775807\nzeros 1\nend 9223372036854775808\nleave\n",
             begun + "block " + std::string(40, 'a') + " 1048577\nend 1048577\nleave\n",
             begun + "block " + std::string(39, 'a') + "/ 7\nend 7\nleave\n", // no signature
             begun + "block ../../../../../../../../../../outside/mine 4\nend 4\nleave\n",
             begun + "block " + std::string(40, 'A') + " 7\nend 7\nleave\n",
             begun + content + entry("dir", "7") + "end 14\nleave\n", // no piece
             begun + "end 0x\nleave\n",                               // no number
             root_ + "dir 10000 0 0 x d\nleave\nleave\n",             // too many mode bits
             root_ + "dir 788 0 0 x d\nleave\nleave\n",               // not octal
             root_ + "dir 755 0 1000000000 x d\nleave\nleave\n", // a whole second of nanoseconds
             root_ + "dir 755 0 -1 x d\nleave\nleave\n",
             root_ + "dir 755 99999999999999999999 0 x d\nleave\nleave\n",
             root_ + "dir 0755 0 0 x d\nleave\nleave\n", // numbers in another form
             root_ + "dir +755 0 0 x d\nleave\nleave\n",
             root_ + "dir 755 00 0 x d\nleave\nleave\n",
             root_ + "dir 755 -0 0 x d\nleave\nleave\n",
             root_ + "dir 755 -01 0 x d\nleave\nleave\n",
             root_ + "dir 755 0 01 x d\nleave\nleave\n",
             root_ + "dir \"755\" 0 0 x d\nleave\nleave\n",
             begun + "end 00\nleave\n",
             begun + "end \"0\"\nleave\n",
             begun + "zeros 01\nend 1\nleave\n",
             begun + content.substr(0, content.size() - 2) + "07\nend 7\nleave\n",
             root_ + "\nleave\n",        // an empty line
             root_ + "\"leave\"\n",      // a word in quotes
             root_ + "leave \n",         // a blank at an end
             root_ + " leave\n",         //
             root_ + "leave\r\n",        // a line of another system
             root_ + "leave leave\n",    // fields that are too many
             begun + "end 0 0\nleave\n", //
             root_ + "dir 755 0 0 x d \"\"\nleave\nleave\n",
             root_ + "dir 755 0 0  d\nleave\nleave\n", // an empty field
             root_ + "dir  755 0 0 x d\nleave\nleave\n",
             root_ + "dir 755 0 0 \"\" d\nleave\nleave\n",
             root_ + "dir\t755\t0\t0\tx\td\nleave\nleave\n", // other separators
             root_ + "dir,755,0,0,x,d\nleave\nleave\n",
         }) {
        forge(records);
        ASSERT_TRUE(ended(restore(), 2)) << records;
        EXPECT_FALSE(fs::exists(destination()));
        ASSERT_TRUE(ended(verify(), 1)) << records;
    }
}

TEST_F(EvilManifest, NothingIsWrittenThroughALinkThatTheManifestMakes) {
    forge(root_ + entry("link", "l ../outside") + entry("dir", "l") + file("f") +
          entry("dir", "sub") + "leave\n" + entry("link", "mine /") + "leave\n" + file("after") +
          "leave\n");
    const Outcome outcome = restore();
    ASSERT_TRUE(ended(outcome, 1));
    EXPECT_TRUE(contains(outcome.err, at("d/l") + ": cannot create: File exists"));
    EXPECT_EQ("content", read_file(at("d/after")));
    EXPECT_EQ(3U, picture_of(destination()).size());
    expect_outside_untouched();
    forge(root_ + entry("link", "l ../outside/mine") + file("l") +
          entry("link", "new ../outside/new") + file("new") + "leave\n");
    ASSERT_TRUE(ended(restore(), 1));
    expect_outside_untouched();
}

TEST_F(EvilManifest, SecondEntryOfANameIsNamedAndTheFirstStays) {
    forge(root_ + file("f") + entry("file", "f") + "end 0\n" + entry("dir", "f") + file("x") +
          "leave\n" + entry("link", "f target") + "leave\n");
    const Outcome outcome = restore();
    ASSERT_TRUE(ended(outcome, 1));
    EXPECT_EQ(3, std::count(outcome.err.begin(), outcome.err.end(), '\n'));
    EXPECT_EQ("content", read_file(at("d/f")));
}

TEST_F(EvilManifest, BlockOfAnotherLengthIsNamed) {
    forge(root_ + file("f") + entry("file", "g") + "block " +
          nuriccl::Signature::of(std::string("content")) + " 6\nend 6\n" + "leave\n");
    const Outcome verified = verify();
    ASSERT_TRUE(ended(verified, 1));
    EXPECT_TRUE(contains(verified.err, "file g: "));
    EXPECT_FALSE(contains(verified.err, "file f: "));
    ASSERT_TRUE(ended(restore(), 1));
    EXPECT_EQ("content", read_file(at("d/f")));
    EXPECT_FALSE(fs::exists(at("d/g")));
}

TEST_F(EvilManifest, FileOfImpossibleSizeIsNamedAndTheOthersAreRestored) {
    forge(root_ + entry("file", "huge") + "zeros 9223372036854775807\nend 9223372036854775807\n" +
          file("f") + "leave\n");
    const Outcome outcome = run({"restore", store(), destination()}, limit_file_size);
    ASSERT_TRUE(ended(outcome, 1));
    EXPECT_TRUE(contains(outcome.err, at("d/huge") + ": left out: "));
    EXPECT_EQ("content", read_file(at("d/f")));
    EXPECT_FALSE(fs::exists(at("d/huge")));
}

TEST_F(EvilManifest, OneOfAnotherVersionIsRefused) {
    const std::string text = "minibackup manifest 2\n";
    write_file(at("b/" + runs().front()),
               text + "signature " + nuriccl::Signature::of(text) + '\n');
    const Outcome outcome = restore();
    ASSERT_TRUE(ended(outcome, 2));
    EXPECT_TRUE(contains(outcome.err, "this program knows version 1 only"));
}

// What a person sees who opens a manifest.
TEST_F(MinibackupTest, ManifestTellsNamesInTheirSimplestForm) {
    const std::map<std::string, std::string> forms = {
        {"plain-name.txt", "plain-name.txt"},
        {"100%,'it\\s", "100%,'it\\s"},
        {"with blank", "\"with blank\""},
        {"quo\"te", "\"quo\"\"te\""},
        {"M\xC3\xBCller \xE6\x97\xA5", "\"M\xC3\xBCller \xE6\x97\xA5\""},
        {"M\xC3\xBCller", "M\xC3\xBCller"},
        {"x\n", "base64:eAo="},
        {"M\xFCller", "base64:TfxsbGVy"},
        {"\xE2\x80\xAE", "base64:4oCu"},
        {"base64:", "base64:YmFzZTY0Og=="},
        {"base64", "base64"}};
    for (const auto& [name, form] : forms) {
        write_file(at("s/" + name), "");
        set_mode(at("s/" + name), 0640);
        set_time(at("s/" + name), 1000000000, 5);
    }
    fs::create_symlink("a target", at("s/link"));
    ASSERT_TRUE(ended(save(), 0));
    const std::string manifest = read_file(at("b/" + runs().front()));
    for (const auto& [name, form] : forms) {
        EXPECT_TRUE(contains(manifest, "\nfile 640 1000000000 5 2001-09-09T01:46:40.00+00:00 " +
                                           form + "\nend 0\n"));
    }
    EXPECT_TRUE(contains(manifest, " link \"a target\"\n"));
    EXPECT_TRUE(contains(manifest, "\nsource " + source() + "\ndir "));
    EXPECT_EQ("minibackup manifest 1\nsaved ", manifest.substr(0, 28));
}

// Saves that do not get to their end

std::uintmax_t bytes_in(const std::string& directory) {
    std::uintmax_t bytes = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
        bytes += entry.is_regular_file() ? entry.file_size() : 0;
    }
    return bytes;
}

TEST_F(MinibackupTest, FullDiskIsNamedAndLosesNothing) {
    write_file(at("s/first"), noise(BLOCK, 1));
    ASSERT_TRUE(ended(save(), 0));
    for (std::uint32_t i = 0; i < 5; ++i) {
        write_file(at("s/" + std::to_string(i)), noise(BLOCK, 10 + i));
    }
    fs::copy(store(), at("b2"), fs::copy_options::recursive);
    ASSERT_TRUE(ended(run({"save", source(), at("b2")}), 0));
    const std::uintmax_t bytes_of_a_save = bytes_in(at("b2")) - bytes_in(store());
    for (const std::uintmax_t room :
         {std::uintmax_t{0}, std::uintmax_t{1}, std::uintmax_t{BLOCK / 2},
          std::uintmax_t{2 * BLOCK}, bytes_of_a_save - 100}) {
        const Outcome outcome =
            run_with_faults({"save", source(), store()}, {"FAULTS_WRITE=" + std::to_string(room)});
        ASSERT_TRUE(ended(outcome, 2)) << room;
        EXPECT_TRUE(contains(outcome.err, store()));
        EXPECT_TRUE(contains(outcome.err, ": No space left on device"));
        EXPECT_EQ(std::vector<std::string>(), leftovers());
        EXPECT_EQ(1U, runs().size());
        ASSERT_TRUE(ended(verify(), 0));
    }
    ASSERT_TRUE(ended(save(), 0));
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ(picture_of(source()), picture_of(destination()));
}

TEST_F(MinibackupTest, FileSizeLimitIsNamedAndLosesNothing) {
    write_file(at("s/first"), "first");
    ASSERT_TRUE(ended(save(), 0));
    write_file(at("s/second"), noise(BLOCK, 1));
    const Outcome outcome = run({"save", source(), store()}, limit_file_size);
    ASSERT_TRUE(ended(outcome, 2));
    EXPECT_TRUE(contains(outcome.err, ": File too large"));
    ASSERT_TRUE(ended(verify(), 0));
    EXPECT_EQ(std::vector<std::string>(), leftovers());
    ASSERT_TRUE(ended(save(), 0));
    const Outcome restored = run({"restore", store(), destination()}, limit_file_size);
    ASSERT_TRUE(ended(restored, 1));
    EXPECT_TRUE(contains(restored.err, at("d/second") + ": left out: "));
    EXPECT_EQ("first", read_file(at("d/first")));
    EXPECT_FALSE(fs::exists(at("d/second")));
}

TEST_F(MinibackupTest, SaveThatIsKilledAtAnyMomentLeavesAnIntactStore) {
    const std::uint32_t short_form = SANITIZED ? 10 : 25;
    const std::uint32_t rounds = std::getenv("MINIBACKUP_LONG") != nullptr ? 200 : short_form;
    const unsigned int seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::size_t saved = 0;
    std::int64_t whole_save = 20000; // microseconds, measured as it goes
    for (std::uint32_t round = 0; round < rounds; ++round) {
        for (std::uint32_t i = 0; i < 40; ++i) {
            write_file(at("s/" + std::to_string(i)), noise(20000, round * 100 + i));
        }
        if (round % 5 == 0) {
            fs::remove_all(store()); // a first save may be killed, too
            saved = 0;
        }
        const pid_t process = start({"save", source(), store()});
        usleep(static_cast<useconds_t>(random() % static_cast<std::uint32_t>(whole_save)));
        kill(process, SIGKILL);
        wait_for(process);
        remove_lock();
        if (fs::exists(at("b/minibackup.format"))) {
            ASSERT_TRUE(ended(verify(), 0));
            ASSERT_LE(saved, runs().size());
        }
        const auto begin = std::chrono::steady_clock::now();
        ASSERT_TRUE(ended(save(), 0));
        const auto time = std::chrono::steady_clock::now() - begin;
        whole_save = std::chrono::duration_cast<std::chrono::microseconds>(time).count() + 1000;
        EXPECT_EQ(std::vector<std::string>(), leftovers());
        ASSERT_TRUE(ended(verify(), 0));
        saved = runs().size();
    }
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ(picture_of(source()), picture_of(destination()));
}

// A crash of the system loses what was not flushed: the order of calls must allow for that.
TEST_F(MinibackupTest, EverythingIsFlushedBeforeItIsRenamed) {
    for (std::uint32_t i = 0; i < 1500; ++i) { // more than are committed at once
        write_file(at("s/" + std::to_string(i)), std::to_string(i));
    }
    ASSERT_TRUE(
        ended(run_with_faults({"save", source(), store()}, {"FAULTS_LOG=" + at("log")}), 0));
    std::istringstream log(read_file(at("log")));
    int flushed = 0, written = 0, blocks_renamed = 0, renamed = 0, line_number = 0, commits = 0;
    bool run_renamed = false;
    bool run_flushed = false;
    for (std::string line; std::getline(log, line);) {
        ++line_number;
        if (line == "write") {
            written = line_number;
        } else if (line == "flush") {
            commits += renamed > flushed || flushed == 0;
            flushed = line_number;
        } else if (line.compare(0, 14, "rename blocks/") == 0) {
            EXPECT_LT(written, flushed) << line;
            ++blocks_renamed;
            renamed = line_number;
        } else if (line == "rename " + (runs().empty() ? "" : runs().front())) {
            EXPECT_LT(written, flushed) << "the manifest";
            EXPECT_LT(renamed, flushed) << "the names of the blocks";
            run_renamed = true;
        } else if (line == "flush one") {
            run_flushed = run_renamed;
        }
    }
    EXPECT_EQ(1500, blocks_renamed);
    EXPECT_LE(3, commits);
    EXPECT_TRUE(run_renamed);
    EXPECT_TRUE(run_flushed);
}

TEST_F(MinibackupTest, LeftoversAreRemovedUnlessAnotherSaveMayOwnThem) {
    ASSERT_TRUE(ended(save(), 0));
    const std::string leftover = at("b/minibackup.tmp-5f-1-2-manifest");
    const std::string other = at("b/minibackup.notes");
    write_file(leftover, "left");
    write_file(other, "somebody's");
    const int directory = open(store().c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(0, flock(directory, LOCK_SH)); // as a save at work holds it
    ASSERT_TRUE(ended(save(), 0));
    EXPECT_TRUE(fs::exists(leftover));
    close(directory);
    ASSERT_TRUE(ended(save(), 0));
    EXPECT_FALSE(fs::exists(leftover));
    EXPECT_TRUE(fs::exists(other));
}

TEST_F(MinibackupTest, TwoSavesAtOnceDoNoHarm) {
    for (std::uint32_t i = 0; i < 300; ++i) {
        write_file(at("s/" + std::to_string(i)), noise(3000, i));
    }
    for (int round = 0; round < 3; ++round) {
        fs::remove_all(store());
        const pid_t first = start({"save", source(), store()});
        const pid_t second = start({"save", source(), store()});
        ASSERT_TRUE(ended(wait_for(first), 0));
        ASSERT_TRUE(ended(wait_for(second), 0));
        EXPECT_EQ(2U, runs().size());
        EXPECT_EQ(300U, blocks().size());
        ASSERT_TRUE(ended(verify(), 0));
        ASSERT_TRUE(ended(restore(), 0));
        EXPECT_EQ(picture_of(source()), picture_of(destination()));
    }
}

// The command line

TEST_F(MinibackupTest, HelpTellsEveryCommandAndOption) {
    const Outcome all = run({"--help"});
    ASSERT_TRUE(ended(all, 0));
    for (const std::string command : {"save", "list", "verify", "restore"}) {
        EXPECT_TRUE(contains(all.out, command));
        const Outcome one = run({command, "--help"});
        ASSERT_TRUE(ended(one, 0));
        EXPECT_TRUE(contains(one.out, "Usage: minibackup " + command));
        EXPECT_EQ(command != "list", one.out.find("--quiet") != std::string::npos);
        EXPECT_EQ(command == "restore", one.out.find("--run NAME") != std::string::npos);
        EXPECT_EQ(command == "save", one.out.find("--exclude PATTERN") != std::string::npos);
        EXPECT_EQ(command == "save", one.out.find("--options FILE") != std::string::npos);
        EXPECT_EQ(command == "list", one.out.find("--csv") != std::string::npos);
        EXPECT_EQ(command == "save", one.out.find("Memory Page File: ") != std::string::npos);
        EXPECT_EQ("", one.err);
    }
    EXPECT_TRUE(contains(run({"save", "--help"}).out, "Hard links are saved as files"));
    EXPECT_TRUE(contains(run({"save", "--help"}).out, "Owners"));
    EXPECT_TRUE(contains(run({"restore", "--help"}).out, "set-user-ID"));
    ASSERT_TRUE(ended(run({"--version"}), 0));
}

TEST_F(MinibackupTest, WrongCommandLinesAreRefused) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {},
             {""},
             {"burn"},
             {"--quiet"},
             {"save"},
             {"save", source()},
             {"save", source(), store(), "more"},
             {"save", "--wrong", source(), store()},
             {"save", "--run", "x", source(), store()},
             {"list"},
             {"save", "--quiet=1", source(), store()},
             {"save", "-z", source(), store()},
             {"save", source(), store(), "--exclude"},
             {"list", "--quiet", store()},
             {"list", "--csv=1", store()},
             {"list", "--options", "/dev/null", store()},
             {"verify", "-c", store()},
             {"save", source(), store(), "--csv"},
             {"save", source(), store(), "--options"},
             {"verify", "--exclude", "x", store()},
             {"restore", "--exclude-class=Power Management", store(), destination()},
             {"restore", store(), destination(), "--run"},
         }) {
        const Outcome outcome = run(arguments);
        ASSERT_TRUE(ended(outcome, 2)) << ::testing::PrintToString(arguments);
        EXPECT_NE("", outcome.err);
        EXPECT_EQ("", outcome.out);
        EXPECT_FALSE(fs::exists(store()));
    }
}

TEST_F(MinibackupTest, OptionsThatAreRefusedAreNamedHarmlessly) {
    for (const auto& [option, shown] : std::map<std::string, std::string>{
             {"--\x1b[31m", "there is no such option: '--\\x1b[31m'"},
             {"--wrong\n", "there is no such option: '--wrong\\x0a'"},
             {"--quiet=x", "there is no such option: '--quiet=x'"},
             {"--ex", "there is no such option: '--ex'"}, // there are two
             {"-\xff", "there is no such option: '-\\xff'"},
             {"-z", "there is no such option: '-z'"},
             {"-qz", "there is no such option: '-z'"},
             {"-rx", "save does not take this option"},
             {"--exclude", "an argument is missing behind '--exclude'"}}) {
        const Outcome outcome = run({"save", source(), store(), option});
        ASSERT_TRUE(ended(outcome, 2));
        EXPECT_EQ("minibackup: " + shown + "\nTry 'minibackup --help'.\n", outcome.err);
    }
}

TEST_F(MinibackupTest, NamesThatLookLikeOptionsAreTakenBehindTwoDashes) {
    fs::rename(source(), at("--quiet"));
    const auto go_there = [this] { static_cast<void>(!chdir(root.c_str())); };
    ASSERT_TRUE(ended(run({"save", "--", "--quiet", "-b"}, go_there), 0));
    EXPECT_TRUE(fs::exists(at("-b/minibackup.format")));
}

TEST_F(MinibackupTest, QuietPrintsNothing) {
    write_file(at("s/file"), "content");
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"save", "--quiet", source(), store()},
             {"verify", "--quiet", store()},
             {"restore", "--quiet", store(), destination()},
         }) {
        const Outcome outcome = run(arguments);
        ASSERT_TRUE(ended(outcome, 0));
        EXPECT_EQ("", outcome.out);
        EXPECT_EQ("", outcome.err);
    }
}

TEST_F(MinibackupTest, SummaryTellsFilesBytesRatioAndTime) {
    write_file(at("s/text"), std::string(100000, 'x'));
    write_file(at("s/more"), "more");
    const Outcome saved = save();
    for (const std::string& row : {"run       " + runs().front(), std::string("files     2\n"),
                                   std::string("read      100004 bytes (97.7 KiB)\n"),
                                   std::string("stored    "), std::string(" in 2 new blocks\n"),
                                   std::string("ratio     "), std::string("time      ")}) {
        EXPECT_TRUE(contains(saved.out, row));
    }
    EXPECT_TRUE(contains(verify().out, "blocks    2\n"));
    const Outcome restored = restore();
    EXPECT_TRUE(contains(restored.out, "written   100004 bytes (97.7 KiB)\n"));
    EXPECT_EQ("", saved.err + restored.err);
    EXPECT_FALSE(contains(saved.out, "excluded"));
}

TEST_F(MinibackupTest, ProgressIsShownOnATerminalOnly) {
    write_file(at("s/file"), noise(4 * BLOCK, 1));
    ASSERT_EQ(0, mkfifo(at("s/fifo").c_str(), 0600));
    const auto on_terminal = [](const std::vector<std::string>& arguments) {
        int terminal = -1;
        const pid_t process = forkpty(&terminal, nullptr, nullptr, nullptr);
        if (process == 0) {
            execute(arguments);
        }
        std::string output;
        char part[4096];
        for (ssize_t count; (count = read(terminal, part, sizeof part)) > 0;) {
            output.append(part, static_cast<std::size_t>(count));
        }
        close(terminal);
        int status = 0;
        EXPECT_EQ(process, waitpid(process, &status, 0));
        EXPECT_EQ(0, status);
        return output;
    };
    const std::string saved = on_terminal({"save", source(), store()});
    for (const std::string part :
         {"\r[", "%  ", " of 4.0 MiB  ", "/s  ", " left\033[K", "\r\033[K"}) {
        EXPECT_TRUE(contains(saved, part));
    }
    EXPECT_TRUE(contains(saved, "\r\033[Kminibackup: ")); // a message gets a line of its own
    EXPECT_TRUE(contains(on_terminal({"verify", store()}), " of 4.0 MiB  "));
    EXPECT_TRUE(contains(on_terminal({"restore", store(), destination()}), " of 4.0 MiB  "));
    EXPECT_FALSE(contains(on_terminal({"save", "--quiet", source(), store()}), "\r["));
    EXPECT_FALSE(contains(save().err, "\r["));
    write_file(at("s/more"), noise(BLOCK, 2)); // what is not saved is not counted either
    EXPECT_TRUE(
        contains(on_terminal({"save", "--exclude", "more", source(), store()}), " of 4.0 MiB  "));
    EXPECT_TRUE(contains(on_terminal({"save", source() + "/./more", store()}), " of 1.0 MiB  "));
}

TEST_F(MinibackupTest, OutputThatCannotBeWrittenIsNamed) {
    if (!fs::exists("/dev/full")) {
        GTEST_SKIP() << "no /dev/full on this system";
    }
    ASSERT_TRUE(ended(save(), 0));
    const Outcome outcome =
        run({"list", store()}, [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
    ASSERT_TRUE(ended(outcome, 2));
    EXPECT_TRUE(contains(outcome.err, "standard output: cannot write: No space left on device"));
}

} // namespace minibackup_test
