// Tells what a backup does with each path that it was given: directories are walked, links are
// saved as links and never followed, and what is gone is reported.
//
// usage: file [PATH...]

#include <nuriccl/file.hpp>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

namespace {

using nuriccl::File;

// Nobody nests directories that deep on purpose.
constexpr unsigned int MOST_PARTS = 64;

// Returns whether there is something to save.
bool plan(const std::string& path) {
    errno = 0;
    if (!File::exists(path)) {
        // An empty path is not asked for, so there is no error then.
        std::cout << path << ": " << std::strerror(errno == 0 ? ENOENT : errno) << '\n';
        return false;
    }
    if (File::parts(path) > MOST_PARTS) {
        std::cout << path << ": too deep\n";
        return false;
    }
    // A separator at the end would ask for what a link leads to: "link/" is a directory.
    const bool follows = path.size() > 1 && path.back() == '/';
    std::cout << path << ": "
              << (!File::IsRegularDirectory(path) ? "save"
                  : follows                       ? "walk, also when it is a link"
                                                  : "walk")
              << '\n';
    return true;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> paths(argv + 1, argv + argc);
    if (paths.empty()) {
        paths = {"/", "/proc/self", "/proc/self/", "/proc/self/exe", "/no/such/file", ""};
    }
    int missing = 0;
    for (const std::string& path : paths) {
        missing += plan(path) ? 0 : 1;
    }
    return missing == 0 ? 0 : 1;
}
