#include <nuriccl/file.hpp>

#include <algorithm>
#include <sys/stat.h>

namespace nuriccl {

bool File::exists(const std::string& path) noexcept {
    struct stat status;
    return !path.empty() && lstat(path.c_str(), &status) == 0;
}

unsigned int File::parts(const std::string& path) noexcept {
    return path == "/" ? 1
                       : static_cast<unsigned int>(std::count(path.begin(), path.end(), '/')) + 1;
}

bool File::IsRegularDirectory(const std::string& path) noexcept {
    struct stat status;
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace nuriccl
