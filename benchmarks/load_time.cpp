/// @file
/// Prints how many nanoseconds it takes to load a library, in a process that has no C++ yet.
///
/// usage: load_time LIBRARY

#include <cstdio>
#include <ctime>
#include <dlfcn.h>

namespace {

long long now() {
    timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1'000'000'000LL + time.tv_nsec;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: load_time LIBRARY\n", stderr);
        return 2;
    }
    const long long start = now();
    const void* const library = dlopen(arguments[1], RTLD_NOW);
    const long long end = now();
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    std::printf("%lld\n", end - start);
    return 0;
}
