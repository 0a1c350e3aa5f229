#include <nuriccl/SingleInstance.hpp>

#include <cerrno>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

namespace nuriccl {

namespace {

constexpr int NONE = -1;
constexpr int RIGHTS = 0666;

union Argument { // of semctl, which wants it declared by its caller
    int value;
    unsigned short* values;
};

// Makes the set of the key, with the semaphore free. Fails with EEXIST when there is one.
int make_set(key_t key) {
    const int set = semget(key, 1, IPC_CREAT | IPC_EXCL | RIGHTS);
    if (set != NONE) {
        unsigned short free[] = {1};
        Argument argument;
        argument.values = free;
        semctl(set, 0, SETALL, argument);
    }
    return set;
}

// Adds -1, waiting for it, or +1 to the semaphore; undone by the kernel when this process ends.
int operate(int set, short change) {
    sembuf operation{};
    operation.sem_op = change;
    operation.sem_flg = SEM_UNDO;
    return semop(set, &operation, 1);
}

int acquire(int set) { return operate(set, -1); }

int give_back(int set) { return operate(set, 1); }

void remove_set(int set) { semctl(set, 0, IPC_RMID); }

} // namespace

std::int32_t ftokey(const char* path) noexcept {
    errno = 0;
    const char* const name = path != nullptr ? path : "";
    struct stat status;
    if (stat(name, &status) != 0) {
        return -1;
    }
    auto key = static_cast<std::uint32_t>(status.st_ino);
    for (const char* c = name; *c != 0; ++c) { // modulo 2^32
        key = key * 33 + static_cast<std::uint32_t>(static_cast<signed char>(*c));
    }
    return static_cast<std::int32_t>(key);
}

SingleInstance::SingleInstance() noexcept : set_(NONE) {}

SingleInstance::~SingleInstance() { ReleaseMutex(); }

int SingleInstance::checkForSingleInstance(const char* path) noexcept {
    ReleaseMutex();
    const key_t key = ftokey(path);
    if (key == -1) {
        return errno;
    }
    for (;;) {
        set_ = make_set(key);
        const bool made = set_ != NONE;
        if (!made) {
            if (errno != EEXIST) {
                return errno;
            }
            // Its maker may not have set it free yet.
            // NOLINTNEXTLINE(concurrency-mt-unsafe): Linux needs no SIGALRM for it
            sleep(1);
            set_ = semget(key, 1, 0);
            if (set_ == NONE) {
                return errno;
            }
        }
        if (acquire(set_) != 0 && errno == EINTR) {
            set_ = NONE;
            return EINTR;
        }
        if (made) {
            return 0;
        }
        // The holder is gone. Its set goes, too: nobody holds a lock through a set of others.
        if (give_back(set_) == 0) {
            remove_set(set_);
        }
    }
}

bool SingleInstance::isSingleInstanceAvailable(const char* path) const noexcept {
    if (set_ == NONE) {
        return true;
    }
    return ftokey(path) != -1 && semctl(set_, 0, GETVAL) == 0;
}

int SingleInstance::ReleaseMutex() noexcept {
    if (set_ != NONE) {
        give_back(set_);
        remove_set(set_);
        set_ = NONE;
    }
    return 0;
}

} // namespace nuriccl
