/// @file
/// Tests of the lock of a store, with real processes and semaphores: one save at a time, however it
/// ends.

#include "../../../SharedLibraries/nuriccl/tests/support/process.hpp"
#include "../../../SharedLibraries/nuriccl/tests/support/semaphores.hpp"
#include "../lock.hpp"
#include "../system/os.hpp"
#include "support.hpp"

namespace minibackup_test {

namespace {

using minibackup::StoreLock;
using process::eventually;
using semaphores::Watch;

constexpr int BUSY = 3;

class LockTest : public MinibackupTest {
protected:
    LockTest() {
        write_file(at("s/file"), noise(1000, 1));
        write_file(at("s/here"), "here");
    }

    ~LockTest() override {
        for (const pid_t process : stopped_) {
            if (kill(process, SIGKILL) == 0) { // a test that failed has left it
                waitpid(process, nullptr, 0);
                remove_lock();
            }
        }
    }

    /// Starts a save that stops in the middle of its work.
    pid_t start_and_stop(const std::function<void()>& prepare = [] {}) {
        const pid_t process = start({"save", source(), store()}, [&prepare] {
            prepare();
            set_faults({"FAULTS_STOP=here"});
        });
        int status = 0;
        if (waitpid(process, &status, WUNTRACED) != process || !WIFSTOPPED(status)) {
            throw std::runtime_error("the save did not stop: " + errors_of(process));
        }
        stopped_.push_back(process);
        return process;
    }

    Outcome go_on(pid_t process) {
        EXPECT_EQ(0, kill(process, SIGCONT));
        return end_of(process);
    }

    Outcome end_of(pid_t process) {
        stopped_.erase(std::remove(stopped_.begin(), stopped_.end(), process), stopped_.end());
        return wait_for(process);
    }

    std::string message_about(pid_t holder, const std::string& store_text) const {
        return "minibackup: " + store_text + ": process " + std::to_string(holder) +
               " is saving in it";
    }

    std::string waiting_for(pid_t holder) const {
        return message_about(holder, store()) + "; waiting for its end\n";
    }

    /// Starts a save, and returns when it waits for the holder and has told so.
    pid_t start_waiting(pid_t holder) const {
        const pid_t process = start({"save", source(), store()});
        EXPECT_TRUE(eventually([&] { return errors_of(process) == waiting_for(holder); }))
            << errors_of(process);
        EXPECT_TRUE(eventually([&] { return semaphores::waiting(lock_of(store())) > 0; }));
        return process;
    }

    Outcome save_at_once() const { return run({"save", "--no-wait", source(), store()}); }

    std::int32_t key() const { return nuriccl::ftokey(fs::canonical(store()).c_str()); }

    /// The set is the lock, and was taken by the process.
    void expect_held_by(pid_t process, int set) const {
        EXPECT_EQ(set, lock_of(store()));
        EXPECT_EQ(0, semaphores::value(set));
        EXPECT_EQ(process, semaphores::last_process(set));
    }

private:
    std::vector<pid_t> stopped_;
};

// Calls the lock in this process; what it says goes to `said`.
bool acquire(StoreLock& lock, const std::string& store, bool wait, std::string& said) {
    ::testing::internal::CaptureStderr();
    bool acquired = false;
    try {
        acquired = lock.acquire(store, wait);
    } catch (const minibackup::Error& error) {
        EXPECT_EQ("", ::testing::internal::GetCapturedStderr());
        throw;
    }
    said = ::testing::internal::GetCapturedStderr();
    return acquired;
}

// The first call of a kind only: what a Watch may do before it.
class Once {
public:
    Once(std::string call, std::function<int()> act)
        : call_(std::move(call)), act_(std::move(act)) {}

    int operator()(const std::string& call) {
        if (done_ || call != call_) {
            return 0;
        }
        done_ = true;
        return act_();
    }

private:
    std::string call_;
    std::function<int()> act_;
    bool done_ = false;
};

} // namespace

// Waiting

TEST_F(LockTest, SecondSaveTellsForWhichProcessItWaitsAndIsDoneAfterIt) {
    const pid_t first = start_and_stop();
    const pid_t second = start_waiting(first);
    EXPECT_EQ(0U, runs().size());
    ASSERT_TRUE(ended(go_on(first), 0));
    const Outcome outcome = wait_for(second);
    ASSERT_TRUE(ended(outcome, 0));
    EXPECT_EQ(waiting_for(first), outcome.err);
    EXPECT_TRUE(contains(outcome.out, "0 new blocks"));
    EXPECT_EQ(2U, runs().size());
    ASSERT_TRUE(ended(verify(), 0));
}

TEST_F(LockTest, SaveThatDoesNotWaitEndsWithAStatusOfItsOwn) {
    const pid_t first = start_and_stop();
    const Picture before = picture_of(store());
    write_file(at("options"), "no-wait = yes\n");
    for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
             {"--no-wait"}, {"-w"}, {"--options", at("options")}, {"-w", "--quiet"}}) {
        std::vector<std::string> arguments = {"save", source(), store()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const Outcome outcome = run(arguments);
        ASSERT_TRUE(ended(outcome, BUSY));
        EXPECT_EQ(message_about(first, store()) + '\n', outcome.err);
        EXPECT_EQ("", outcome.out);
    }
    EXPECT_EQ(before, picture_of(store()));
    ASSERT_TRUE(ended(go_on(first), 0));
    ASSERT_TRUE(ended(save_at_once(), 0));
    EXPECT_EQ(2U, runs().size());
}

TEST_F(LockTest, EverySpellingOfAStoreIsOneLock) {
    const pid_t first = start_and_stop();
    fs::create_directory_symlink("b", at("link"));
    fs::create_directory_symlink(root, at("way"));
    const auto go_there = [this] { static_cast<void>(!chdir(root.c_str())); };
    for (const std::string& spelling :
         {std::string("b"), std::string("./b//"), std::string("link"), at("link/."),
          at("way/b/blocks/.."), at("/b/"), std::string("s/../way/link")}) {
        const Outcome outcome = run({"save", "--no-wait", source(), spelling}, go_there);
        ASSERT_TRUE(ended(outcome, BUSY)) << spelling;
        EXPECT_EQ(message_about(first, spelling) + '\n', outcome.err);
    }
    ASSERT_TRUE(ended(go_on(first), 0));
}

TEST_F(LockTest, StoresHaveLocksOfTheirOwn) {
    const pid_t first = start_and_stop();
    const int set = lock_of(store());
    ASSERT_TRUE(ended(run({"save", "--no-wait", source(), at("b2")}), 0));
    EXPECT_EQ(-1, lock_of(at("b2")));
    expect_held_by(first, set);
    ASSERT_TRUE(ended(go_on(first), 0));
}

TEST_F(LockTest, ReadersDoNotWait) {
    ASSERT_TRUE(ended(save(), 0));
    const pid_t second = start_and_stop();
    ASSERT_TRUE(ended(run({"list", store()}), 0));
    ASSERT_TRUE(ended(verify(), 0));
    ASSERT_TRUE(ended(restore(), 0));
    EXPECT_EQ(picture_of(source()), picture_of(destination()));
    ASSERT_TRUE(ended(go_on(second), 0));
}

TEST_F(LockTest, ManySavesTakeTurns) {
    std::vector<pid_t> saves(4);
    for (pid_t& process : saves) { // the first of which make the store
        process = start({"save", source(), store()});
    }
    for (const pid_t process : saves) {
        ASSERT_TRUE(ended(wait_for(process), 0));
    }
    EXPECT_EQ(saves.size(), runs().size());
    EXPECT_EQ(std::vector<std::string>(), leftovers());
    ASSERT_TRUE(ended(verify(), 0));
}

TEST_F(LockTest, SavesThatDoNotWaitAreDoneOrNotBegun) {
    constexpr int SAVES = 8;
    std::vector<pid_t> saves(SAVES);
    for (pid_t& process : saves) {
        process = start({"save", "--no-wait", source(), store()});
    }
    std::size_t done = 0;
    for (const pid_t process : saves) {
        const Outcome outcome = wait_for(process);
        ASSERT_TRUE(ended(outcome, outcome.err.empty() ? 0 : BUSY));
        done += outcome.status == 0;
    }
    EXPECT_LE(1U, done);
    EXPECT_EQ(done, runs().size());
    ASSERT_TRUE(ended(verify(), 0));
}

// Ends of all kinds

TEST_F(LockTest, KilledSaveBlocksNobodyAndItsLeftoversAreTakenOver) {
    const pid_t first = start_and_stop();
    const pid_t second = start_waiting(first);
    EXPECT_NE(std::vector<std::string>(), leftovers());
    ASSERT_EQ(0, kill(first, SIGKILL));
    ASSERT_TRUE(ended(end_of(first), -1));
    ASSERT_TRUE(ended(wait_for(second), 0));
    EXPECT_EQ(std::vector<std::string>(), leftovers());

    const pid_t third = start_and_stop();
    ASSERT_EQ(0, kill(third, SIGKILL));
    ASSERT_TRUE(ended(end_of(third), -1));
    EXPECT_NE(-1, lock_of(store())); // nobody holds it, and nobody is said to
    EXPECT_NE(std::vector<std::string>(), leftovers());
    const Outcome outcome = save_at_once();
    ASSERT_TRUE(ended(outcome, 0));
    EXPECT_EQ("", outcome.err);
    EXPECT_EQ(std::vector<std::string>(), leftovers());
    EXPECT_EQ(2U, runs().size());
    ASSERT_TRUE(ended(verify(), 0));
}

TEST_F(LockTest, SignalsEndAWaitAtOnceAndLeaveTheHolderAlone) {
    const pid_t first = start_and_stop();
    const int set = lock_of(store());
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGKILL}) {
        const pid_t second = start_waiting(first);
        ASSERT_EQ(0, kill(second, signal));
        ASSERT_TRUE(ended(wait_for(second), -1));
        expect_held_by(first, set);
        EXPECT_EQ(0, semaphores::waiting(set));
    }
    ASSERT_TRUE(ended(go_on(first), 0));
    EXPECT_EQ(1U, runs().size());
}

TEST_F(LockTest, SaveThatIsStoppedWhileItWaitsGoesOnWaiting) {
    const pid_t first = start_and_stop();
    const pid_t second = start_waiting(first);
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(0, kill(second, SIGSTOP));
        int status = 0;
        ASSERT_EQ(second, waitpid(second, &status, WUNTRACED));
        ASSERT_EQ(0, kill(second, SIGCONT)); // interrupts what waits for a semaphore
        EXPECT_TRUE(eventually([&] { return semaphores::waiting(lock_of(store())) > 0; }));
    }
    ASSERT_TRUE(ended(go_on(first), 0));
    const Outcome outcome = wait_for(second);
    ASSERT_TRUE(ended(outcome, 0));
    EXPECT_EQ(waiting_for(first), outcome.err); // once
}

TEST_F(LockTest, SignalsThatEndASaveTakeTheLockAlong) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        const pid_t process = start_and_stop();
        expect_held_by(process, lock_of(store()));
        ASSERT_EQ(0, kill(process, signal));
        ASSERT_EQ(0, kill(process, SIGCONT));
        ASSERT_TRUE(ended(end_of(process), -1)) << signal;
        EXPECT_EQ(-1, lock_of(store())) << signal;
    }
    ASSERT_TRUE(ended(save_at_once(), 0));
    EXPECT_EQ(std::vector<std::string>(), leftovers());
}

TEST_F(LockTest, SignalsThatAreIgnoredStayIgnored) {
    const pid_t process = start_and_stop([] { std::signal(SIGHUP, SIG_IGN); });
    ASSERT_EQ(0, kill(process, SIGHUP));
    ASSERT_TRUE(ended(go_on(process), 0));
}

TEST_F(LockTest, ErrorsGiveTheLockBack) {
    fs::create_directory(at("photos"));
    write_file(at("photos/me"), "me");
    ASSERT_TRUE(ended(run({"save", source(), at("photos")}), 2));
    EXPECT_EQ(-1, lock_of(at("photos")));
    ASSERT_TRUE(ended(save(), 0));
    ASSERT_TRUE(ended(run({"save", store(), store()}), 2)); // its own source
    EXPECT_EQ(-1, lock_of(store()));
    write_file(at("s/file"), noise(1000, 2));
    ASSERT_TRUE(ended(run_with_faults({"save", source(), store()}, {"FAULTS_WRITE=0"}), 2));
    EXPECT_EQ(-1, lock_of(store()));
    write_file(at("b/minibackup.format"), "damaged");
    ASSERT_TRUE(ended(save(), 2));
    EXPECT_EQ(-1, lock_of(store()));
}

TEST_F(LockTest, StoreThatIsRemovedEndsTheWait) {
    const pid_t first = start_and_stop();
    const pid_t second = start_waiting(first);
    fs::rename(store(), at("moved"));
    ASSERT_EQ(0, kill(first, SIGKILL));
    ASSERT_TRUE(ended(end_of(first), -1));
    ASSERT_TRUE(ended(wait_for(second), 2));
    EXPECT_FALSE(fs::exists(store()));
}

TEST_F(LockTest, StoreThatCannotBeMadeIsNamed) {
    write_file(at("file"), "content");
    for (const std::string name : {"none/b", "file/b"}) {
        const Outcome outcome = run({"save", source(), at(name)});
        ASSERT_TRUE(ended(outcome, 2));
        EXPECT_TRUE(contains(outcome.err, at(name) + ": cannot create: "));
    }
    const Outcome outcome = run({"save", source(), at("file")});
    ASSERT_TRUE(ended(outcome, 2));
    EXPECT_TRUE(contains(outcome.err, at("file") + ": cannot open: Not a directory"));
}

// What another process does between two calls of the system

TEST_F(LockTest, HolderThatComesBetweenTheLookAndTheCallIsFound) {
    fs::create_directory(store());
    const int set = semaphores::make(key(), 1); // left by a holder that was killed
    const auto take = [set] {
        semaphores::set_value(set, 0);
        return 0;
    };
    std::string said;
    {
        const Watch watch(key(), Once("pause", take));
        StoreLock lock;
        EXPECT_FALSE(acquire(lock, store(), false, said));
        EXPECT_EQ(message_about(getpid(), store()) + '\n', said);
    }
    expect_held_by(getpid(), set);

    semaphores::set_value(set, 1);
    Once taken("pause", take);
    int pauses = 0;
    const auto take_and_leave = [&](const std::string& call) {
        pauses += call == "pause";
        if (pauses == 2) { // told of by now
            semaphores::remove(set);
        }
        return taken(call);
    };
    const Watch watch(key(), take_and_leave);
    StoreLock lock;
    EXPECT_TRUE(acquire(lock, store(), true, said));
    EXPECT_EQ(waiting_for(getpid()), said);
    EXPECT_NE(set, lock_of(store()));
    expect_held_by(getpid(), lock_of(store()));
}

TEST_F(LockTest, SetThatIsRemovedBeforeItIsAcquiredIsMadeAnew) {
    fs::create_directory(store());
    const auto remove = [this] {
        EXPECT_TRUE(semaphores::remove(lock_of(store())));
        return 0;
    };
    const Watch watch(key(), Once("take", remove));
    StoreLock lock;
    std::string said;
    EXPECT_TRUE(acquire(lock, store(), true, said));
    EXPECT_EQ("", said);
    expect_held_by(getpid(), lock_of(store()));
}

TEST_F(LockTest, RefusalOfTheSystemIsNamed) {
    fs::create_directory(store());
    const Watch watch(key(), Once("create", [] { return ENOSPC; }));
    StoreLock lock;
    std::string said;
    try {
        acquire(lock, store(), true, said);
        FAIL() << "no error";
    } catch (const minibackup::Error& error) {
        EXPECT_EQ(store() + ": cannot lock: No space left on device", std::string(error.what()));
    }
}

} // namespace minibackup_test
