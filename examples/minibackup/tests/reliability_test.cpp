/// @file
/// What a store stands: saves that are killed before any of their calls to the system, disks that
/// are full, disks that cannot be read, and bits that are not what they were.
///
/// The suite tries a part of the calls, limits and bits. MINIBACKUP_LONG=1 in the environment has
/// all of them tried, and 200 saves killed at random moments (see minibackup_test.cpp):
///
///     MINIBACKUP_LONG=1 minibackup_test --gtest_filter='Reliab*:FlippedBit.*:*.SaveThatIsKilled*'

#include "../commands.hpp"
#include "../system/os.hpp"
#include "support.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <random>
#include <sched.h>
#include <set>
#include <string>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace minibackup_test {

namespace {

// Every how many-th case is tried. A program takes ten times as long to start with the sanitizers.
int stride() {
    constexpr int SHORT_FORM = SANITIZED ? 20 : 4;
    return std::getenv("MINIBACKUP_LONG") != nullptr ? 1 : SHORT_FORM;
}

// The first of them: another one each time. The failure of a test names the case.
int first_call() {
    return 1 + static_cast<int>(std::random_device()() % static_cast<unsigned int>(stride()));
}

// Memory, if there is a place for files in it: these tests run hundreds of saves, each of which
// flushes its filesystem, with all that others have written there.
fs::path fast_place() {
    const char* const memory = "/dev/shm";
    return access(memory, W_OK) == 0 ? fs::path(memory) : fs::temp_directory_path();
}

const std::string NOTHING;

class ReliabilityTest : public MinibackupTest {
protected:
    ReliabilityTest() : MinibackupTest(fast_place()) {
        write_file(at("s/small"), "a small file");
        write_file(at("s/large"), noise(5000, 1) + std::string(2 * BLOCK, '\0') + noise(5000, 2));
        fs::create_directories(at("s/sub/empty"));
        write_file(at("s/sub/file"), noise(3000, 3));
        write_file(at("s/sub/nothing"), "");
        fs::create_symlink("../small", at("s/sub/link"));
    }

    /// Makes the store missing, for a first save, or one that holds a run.
    void start_over(bool is_first) {
        remove_lock();
        fs::remove_all(store());
        if (!is_first) {
            if (!fs::exists(at("saved"))) {
                ASSERT_TRUE(ended(run({"save", source(), at("saved")}), 0));
            }
            fs::copy(at("saved"), store(), fs::copy_options::recursive);
        }
    }

    /// What the next save has to store.
    void change_source(std::uint32_t number) {
        write_file(at("s/new"), "number " + std::to_string(number));
        write_file(at("s/sub/file"), noise(3000, 1000 + number));
    }

    /// The store holds what can be relied on, if it was made at all.
    void expect_intact() const {
        if (fs::exists(at("b/minibackup.format"))) {
            EXPECT_TRUE(ended(verify(), 0));
        }
    }

    void expect_no_leftovers() const {
        if (fs::exists(store())) {
            EXPECT_EQ(std::vector<std::string>(), leftovers());
        }
    }

    /// A save is possible, leaves nothing behind and saves everything.
    void expect_good_save() {
        remove_lock();
        ASSERT_TRUE(ended(save(), 0));
        EXPECT_EQ(std::vector<std::string>(), leftovers());
        ASSERT_TRUE(ended(verify(), 0));
        expect_newest_run_to_be(picture_of(source()));
    }

    void expect_newest_run_to_be(const Picture& picture) {
        ASSERT_TRUE(ended(restore(), 0));
        EXPECT_EQ(picture, picture_of(destination()));
    }

    /// The newest run holds all but what the messages name, or what is in a directory that they
    /// name.
    void expect_all_but_what_is_named(const Outcome& outcome) {
        ASSERT_TRUE(ended(restore(), 0));
        Picture expected = picture_of(source());
        const Picture restored = picture_of(destination());
        for (auto entry = expected.begin(); entry != expected.end();) {
            const bool is_missing = restored.count(entry->first) == 0;
            EXPECT_TRUE(!is_missing || is_named(entry->first, outcome.err))
                << entry->first << " is missing, and not in\n"
                << outcome.err;
            entry = is_missing ? expected.erase(entry) : std::next(entry);
        }
        EXPECT_EQ(expected, restored);
    }

    Outcome run_with_failing_call(const std::vector<std::string>& arguments,
                                  const std::string& kind, int number, int error) const {
        return run_with_faults(arguments, {"FAULTS_CALL=" + kind + ':' + std::to_string(number) +
                                           ':' + std::to_string(error)});
    }

    /// Has the calls of a first save and of a later one fail, one in each save, until a save
    /// succeeds because it makes fewer. `check` gets the outcome and the number of runs before.
    /// Whatever it was, the store holds what it held, and the next save succeeds.
    ///
    /// @param fewest  how many calls there are at least
    template <class Check>
    void fail_calls_of_saves(const std::string& kind, int error, int fewest, Check check) {
        for (const bool is_first : {true, false}) {
            Outcome outcome;
            int call = first_call();
            for (; outcome.status != 0; call += stride()) {
                SCOPED_TRACE("call " + std::to_string(call) + (is_first ? " of a first save" : ""));
                ASSERT_NO_FATAL_FAILURE(start_over(is_first));
                change_source(static_cast<std::uint32_t>(call));
                const std::size_t runs_before = is_first ? 0 : runs().size();
                outcome = run_with_failing_call({"save", source(), store()}, kind, call, error);
                ASSERT_NO_FATAL_FAILURE(check(outcome, runs_before));
                expect_intact();
                ASSERT_NO_FATAL_FAILURE(expect_good_save());
            }
            RecordProperty(is_first ? "calls_of_a_first_save" : "calls_of_a_save", call);
            EXPECT_LT(fewest, call);
        }
    }

private:
    bool is_named(const std::string& below_source, const std::string& messages) const {
        for (std::string path = below_source;; path.resize(path.rfind('/'))) {
            if (messages.find("minibackup: " + source() + path + ": ") != std::string::npos) {
                return true;
            }
            if (path.empty()) {
                return false;
            }
        }
    }
};

} // namespace

TEST_F(ReliabilityTest, SaveThatIsKilledBeforeAnyOfItsCallsLosesNothing) {
    fail_calls_of_saves("any", 0, 40, [this](const Outcome& outcome, std::size_t runs_before) {
        ASSERT_TRUE(outcome.status == 0 || outcome.status == -1) << outcome.err;
        if (fs::exists(store())) {
            EXPECT_LE(runs_before, runs().size());
        }
    });
}

TEST_F(ReliabilityTest, CallThatFindsTheDiskFullEndsTheSaveAndLosesNothing) {
    fail_calls_of_saves("change", ENOSPC, 10, [this](const Outcome& outcome, std::size_t) {
        if (outcome.status != 0) {
            ASSERT_TRUE(ended(outcome, 2));
            EXPECT_TRUE(contains(outcome.err, ": No space left on device\n"));
            EXPECT_EQ(NOTHING, outcome.out);
        }
        expect_no_leftovers();
    });
}

// The files of a store are of many sizes: there is a limit for each way of one of them to fail.
TEST_F(ReliabilityTest, FileSizeLimitOfAnySizeLosesNothing) {
    const auto step = stride() == 1 ? 1U : 17U * static_cast<unsigned int>(stride());
    write_file(at("s/large"), noise(2000, 1));
    rlim_t limit = 0;
    for (Outcome outcome; outcome.status != 0; limit += step) {
        SCOPED_TRACE("limit " + std::to_string(limit));
        ASSERT_NO_FATAL_FAILURE(start_over(true));
        int messages[2] = {};
        ASSERT_EQ(0, pipe(messages)); // the limit is for files
        outcome = run({"save", "--quiet", source(), store()}, [&] {
            dup2(messages[1], STDERR_FILENO);
            const rlimit size = {limit, limit};
            setrlimit(RLIMIT_FSIZE, &size);
#ifdef __SANITIZE_THREAD__
            std::signal(SIGXFSZ, SIG_IGN); // its start-up meets the limit in front of main
#endif
        });
        close(messages[1]);
        outcome.err.resize(4096);
        const ssize_t length = read(messages[0], outcome.err.data(), outcome.err.size());
        close(messages[0]);
        outcome.err.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
        if (outcome.status != 0) {
            ASSERT_TRUE(ended(outcome, 2));
            EXPECT_TRUE(contains(outcome.err, ": File too large\n"));
            EXPECT_EQ(0U, runs().size());
        }
        expect_no_leftovers();
        expect_intact();
        ASSERT_NO_FATAL_FAILURE(expect_good_save());
    }
    EXPECT_LT(rlim_t{2000}, limit);
}

// A full disk

namespace {

/// Mounts of this process that nobody else sees and that go with this object.
class OwnMounts {
public:
    OwnMounts() {
        has_left_ = unshare(CLONE_NEWNS) == 0;
        // Not where "/" is no mount, as after chroot.
        own_ = has_left_ && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }
    ~OwnMounts() {
        if (has_left_) {
            EXPECT_EQ(0, setns(before_, CLONE_NEWNS)); // which leads to the first of all roots
            EXPECT_EQ(0, fchdir(root_));
            EXPECT_EQ(0, chroot("."));
            EXPECT_EQ(0, fchdir(here_));
        }
        close(before_);
        close(root_);
        close(here_);
    }
    OwnMounts(const OwnMounts&) = delete;
    OwnMounts& operator=(const OwnMounts&) = delete;

    /// Whether there are any: not every superuser may have them.
    explicit operator bool() const { return own_; }

private:
    int before_ = open("/proc/self/ns/mnt", O_RDONLY | O_CLOEXEC);
    int root_ = open("/", O_PATH | O_CLOEXEC);
    int here_ = open(".", O_PATH | O_CLOEXEC);
    bool has_left_ = false;
    bool own_ = false;
};

} // namespace

TEST_F(ReliabilityTest, DiskThatFillsUpLosesNothing) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs the superuser, who can mount a small filesystem";
    }
    const OwnMounts mounts;
    fs::create_directory(store());
    const auto resize = [&](const std::string& size, unsigned long flags) {
        return mount("none", store().c_str(), "tmpfs", flags, ("size=" + size).c_str());
    };
    if (!mounts || resize("16m", 0) != 0) {
        GTEST_SKIP() << "this process may not mount: " << std::strerror(errno);
    }
    constexpr fsblkcnt_t PAGE = 4096;
    for (const bool is_first : {true, false}) {
        Outcome outcome;
        fsblkcnt_t pages = 0;
        for (; outcome.status != 0; pages += stride() > 10 ? 90 : pages < 8 ? 1 : 40) {
            SCOPED_TRACE(std::to_string(pages) + " pages are free" + (is_first ? " at first" : ""));
            if (is_first) {
                ASSERT_EQ(0, umount(store().c_str()));
                ASSERT_EQ(0, resize("16m", 0));
            }
            change_source(static_cast<std::uint32_t>(pages));
            write_file(at("s/large"), noise(BLOCK, static_cast<std::uint32_t>(pages)));
            struct statvfs status = {};
            ASSERT_EQ(0, statvfs(store().c_str(), &status));
            const fsblkcnt_t used = status.f_blocks - status.f_bfree;
            // 0 would be no limit at all.
            const fsblkcnt_t size = std::max<fsblkcnt_t>(used + pages, 1) * PAGE;
            ASSERT_EQ(0, resize(std::to_string(size), MS_REMOUNT));
            const std::size_t runs_before = is_first ? 0 : runs().size();
            outcome = save();
            if (outcome.status != 0) {
                ASSERT_TRUE(ended(outcome, 2));
                EXPECT_TRUE(contains(outcome.err, ": No space left on device\n"));
                EXPECT_EQ(runs_before, runs().size());
            }
            expect_no_leftovers();
            expect_intact();
            ASSERT_EQ(0, resize("64m", MS_REMOUNT));
            ASSERT_NO_FATAL_FAILURE(expect_good_save());
        }
        EXPECT_LT(200U, pages);
    }
    ASSERT_EQ(0, umount(store().c_str()));
}

// A disk that cannot be read

TEST_F(ReliabilityTest, ReadErrorOfASaveIsNamedAndTheRestIsSaved) {
    std::set<int> first_statuses;
    std::set<int> statuses;
    fail_calls_of_saves("read", EIO, 30, [&](const Outcome& outcome, std::size_t runs_before) {
        (runs_before == 0 ? first_statuses : statuses).insert(outcome.status);
        ASSERT_LE(0, outcome.status);
        ASSERT_GE(2, outcome.status);
        const std::size_t runs_now = fs::exists(store()) ? runs().size() : 0;
        EXPECT_EQ(runs_before + (outcome.status == 2 ? 0 : 1), runs_now);
        if (outcome.status != 0) {
            EXPECT_TRUE(contains(outcome.err, ": Input/output error\n"));
        }
        if (outcome.status != 2) {
            expect_no_leftovers();
            expect_all_but_what_is_named(outcome);
        }
    });
    if (stride() == 1) {
        EXPECT_EQ(std::set<int>({0, 1, 2}), first_statuses);
        EXPECT_EQ(std::set<int>({0, 1, 2}), statuses);
    }
}

TEST_F(ReliabilityTest, ReadErrorOfAVerificationIsNamed) {
    ASSERT_TRUE(ended(save(), 0));
    ASSERT_TRUE(ended(save(), 0));
    int call = 1;
    for (Outcome outcome; outcome.status != 0; ++call) {
        SCOPED_TRACE("call " + std::to_string(call));
        outcome = run_with_failing_call({"verify", store()}, "read", call, EIO);
        if (outcome.status != 0) {
            EXPECT_TRUE(outcome.status == 1 || outcome.status == 2) << outcome.status;
            EXPECT_TRUE(contains(outcome.err, "Input/output error"));
            EXPECT_TRUE(contains(outcome.err, store()));
        }
    }
    EXPECT_LT(10, call);
    EXPECT_TRUE(ended(verify(), 0));
}

TEST_F(ReliabilityTest, ReadErrorOfARestoreIsNamedAndTheRestIsRestored) {
    ASSERT_TRUE(ended(save(), 0));
    const Picture all = picture_of(source());
    int call = 1;
    for (Outcome outcome; outcome.status != 0; ++call) {
        SCOPED_TRACE("call " + std::to_string(call));
        fs::remove_all(destination());
        outcome = run_with_failing_call({"restore", store(), destination()}, "read", call, EIO);
        if (outcome.status == 1) { // files are left out, and nothing else
            Picture expected = all;
            const Picture restored = picture_of(destination());
            for (const auto& [path, node] : all) {
                if (contains(outcome.err, destination() + path + ": left out: ")) {
                    expected.erase(path);
                }
            }
            EXPECT_LT(expected.size(), all.size()) << outcome.err;
            EXPECT_EQ(expected, restored);
        } else if (outcome.status != 0) {
            EXPECT_TRUE(ended(outcome, 2));
        }
        EXPECT_TRUE(outcome.status == 0 || contains(outcome.err, "Input/output error"));
    }
    EXPECT_LT(10, call);
    expect_newest_run_to_be(all);
}

// Bits that are not what they were

namespace {

/// Runs a command in this process, where a crash ends all tests.
struct Inside {
    template <class Command>
    explicit Inside(Command command) {
        testing::internal::CaptureStderr();
        try {
            status = command();
        } catch (const minibackup::Error& error) {
            std::fprintf(stderr, "minibackup: %s\n", error.what());
            status = minibackup::FAILED;
        }
        std::fflush(stderr);
        messages = testing::internal::GetCapturedStderr();
    }

    int status = -1;
    std::string messages;
};

class FlippedBit : public MinibackupTest {
protected:
    FlippedBit() : MinibackupTest(fast_place()) {
        write_file(at("s/text"), "some text, some text, some more text\n");
        write_file(at("s/noise"), noise(40, 1));
        write_file(at("s/zeros"), std::string(100, '\0') + "x");
        fs::create_directory(at("s/d"));
        write_file(at("s/d/file"), "file");
        fs::create_symlink("../text", at("s/d/link"));
        EXPECT_TRUE(ended(save(), 0));
        saved_ = picture_of(source());
        // The destination lies among what must not be touched.
        fs::create_directories(at("around/d/inside"));
        write_file(at("around/file"), "around");
        write_file(at("around/d/file"), "around");
        write_file(at("around/d/inside/file"), "around");
        fs::create_symlink("../../s", at("around/d/link"));
    }

    std::string place() const { return at("around/d/destination"); }

    /// All below a directory but the destination.
    Picture outside(const std::string& directory) const {
        Picture picture = picture_of(directory);
        const std::string inside = place().substr(directory.size());
        for (auto entry = picture.begin(); entry != picture.end();) {
            const bool is_inside = entry->first.compare(0, inside.size(), inside) == 0;
            entry = is_inside ? picture.erase(entry) : std::next(entry);
        }
        return picture;
    }

    /// The status of verify, after it and a restore have done what they should.
    int verified() {
        minibackup::Options quiet;
        quiet.quiet = true;
        const Inside verification([&] { return minibackup::verify(store(), quiet); });
        const Inside restoration([&] { return minibackup::restore(store(), place(), quiet); });
        const bool noticed = verification.status != 0;
        EXPECT_EQ(noticed, !verification.messages.empty()) << verification.messages;
        EXPECT_EQ(restoration.status != 0, !restoration.messages.empty());
        EXPECT_EQ(noticed, restoration.status != 0)
            << verification.messages << restoration.messages;
        if (restoration.status != 2) {
            expect_only_what_was_saved(restoration);
        }
        return verification.status;
    }

private:
    // Each entry as it was saved or, when it is named, not at all.
    void expect_only_what_was_saved(const Inside& restoration) const {
        Picture expected = saved_;
        for (const auto& [path, node] : saved_) {
            if (contains(restoration.messages, place() + path + ": left out: ")) {
                expected.erase(path);
            }
        }
        EXPECT_EQ(restoration.status == 0, expected == saved_);
        EXPECT_EQ(expected, picture_of(place()));
    }

    Picture saved_;
};

} // namespace

TEST_F(FlippedBit, IsNoticedOrDoesNoHarm) {
    const bool is_long = std::getenv("MINIBACKUP_LONG") != nullptr;
    const std::vector<int> masks =
        is_long ? std::vector<int>{1, 2, 4, 8, 16, 32, 64, 128} : std::vector<int>{1, 128};
    std::size_t noticed = 0;
    std::size_t harmless = 0;
    fs::create_directory(place());
    const Picture around = outside(at("around"));
    for (const auto& [name, node] : picture_of(store())) {
        if (!S_ISREG(node.type_and_mode)) {
            continue;
        }
        const std::string path = store() + name;
        const std::string intact = read_file(path);
        for (std::size_t i = 0; i < intact.size() * masks.size(); ++i) {
            const std::size_t byte = i / masks.size();
            const int mask = masks[i % masks.size()];
            SCOPED_TRACE("byte " + std::to_string(byte) + " of " + path + " ^ " +
                         std::to_string(mask));
            std::string altered = intact;
            altered[byte] = static_cast<char>(altered[byte] ^ mask);
            write_file(path, altered);
            const bool thorough = i % 97 == 0;
            const Picture before = thorough ? outside(root) : Picture();
            const int status = verified();
            ++(status != 0 ? noticed : harmless);
            EXPECT_EQ(around, outside(at("around")));
            EXPECT_EQ(altered, read_file(path));
            if (thorough) {
                EXPECT_EQ(before, outside(root));
                EXPECT_TRUE(ended(verify(), status)) << "the program does something else";
            }
            for (const fs::directory_entry& entry : fs::directory_iterator(place())) {
                fs::remove_all(entry.path());
            }
            ASSERT_FALSE(HasFailure());
        }
        write_file(path, intact);
    }
    EXPECT_TRUE(ended(verify(), 0));
    std::printf("%zu bits flipped: %zu noticed, %zu without effect\n", noticed + harmless, noticed,
                harmless);
    EXPECT_LT(1500U, noticed);
}

} // namespace minibackup_test
