// Two processes and one lock: the second one waits until the first has released it. Then the second
// one dies without a word, and the kernel gives the lock back in its place.
//
// usage: SingleInstance [FILE]     the file that names the lock; without it, the program itself

#include <nuriccl/SingleInstance.hpp>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Acquires the lock, waiting for it.
bool acquire(nuriccl::SingleInstance& instance, const char* path) {
    int error = 0;
    do {
        error = instance.checkForSingleInstance(path);
        // A signal, or a holder that removed the lock just when this process looked at it. When it
        // is the file that is missing, trying again does not help.
    } while (error == EINTR || (error == ENOENT && nuriccl::ftokey(path) != -1));
    if (error != 0) {
        std::cerr << path << ": " << std::strerror(error) << '\n';
    }
    return error == 0;
}

// Tells the parent that it is there, waits for the lock, and dies holding it.
[[noreturn]] void second(const char* path, int ready) {
    std::cout << "second: asks for the lock" << std::endl;
    const bool told = write(ready, "", 1) == 1;
    nuriccl::SingleInstance instance;
    if (told && acquire(instance, path)) {
        std::cout << "second: has the lock, and dies" << std::endl;
    }
    _exit(0); // no destructor runs
}

} // namespace

int main(int argc, char** argv) {
    const char* const path = argc > 1 ? argv[1] : "/proc/self/exe";
    nuriccl::SingleInstance instance;
    int ends[2];
    if (!acquire(instance, path) || pipe(ends) != 0) {
        return 1;
    }
    std::cout << "first: has the lock" << std::endl;
    const pid_t child = fork();
    if (child == 0) {
        second(path, ends[1]);
    }
    close(ends[1]); // so that reading ends should the second process not come that far
    char byte = 0;
    if (child == -1 || read(ends[0], &byte, 1) != 1) {
        std::cerr << "no second process\n";
        return 1;
    }
    std::cout << "first: works, and releases the lock" << std::endl;
    instance.ReleaseMutex();
    waitpid(child, nullptr, 0);
    if (!acquire(instance, path)) {
        return 1;
    }
    std::cout << "first: has the lock again" << std::endl;
    return 0; // which releases it
}
