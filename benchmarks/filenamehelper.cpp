#include "benchmark.hpp"

#include <nuriccl/filenamehelper.hpp>

#include <filesystem>
#include <string>

namespace {

using namespace benchmarks;
using nuriccl::FilenameHelper;
using Path = std::filesystem::path;

// One separator for each run of them.
std::string squeeze_by_hand(const std::string& path) {
    std::string squeezed;
    squeezed.reserve(path.size());
    for (const char c : path) {
        if (c != '/' || squeezed.empty() || squeezed.back() != '/') {
            squeezed += c;
        }
    }
    return squeezed;
}

} // namespace

// Who has names in strings makes a path of one, and a string of the result. How far a path that is
// kept would get is told for comparison.

TEST_CASE("squeeze", "[filenamehelper]") {
    const std::string name = "/var//lib/backup///volumes/0042/data//2026-11-21/snapshot.db";
    REQUIRE(name.size() == 60);
    Row row("filenamehelper.squeeze", [&] { return FilenameHelper::squeeze(name); });
    row.peer("hand loop", [&] { return squeeze_by_hand(name); });
    row.peer("filesystem::path", [&] { return Path(name).lexically_normal().string(); });
    const Path kept(name);
    row.peer("filesystem::path, kept", [&] { return kept.lexically_normal(); });
    row.limit("copy of the path", [&] { return std::string(name); });
}

TEST_CASE("join", "[filenamehelper]") {
    const std::string directory = "/var/lib/backup/volumes/0042/data/2026-11";
    const std::string name = "snapshot-00042.tar";
    REQUIRE(directory.size() + 1 + name.size() == 60);
    Row row("filenamehelper.join", [&] { return FilenameHelper::join(directory, name); });
    row.peer("string concatenation", [&] { return directory + '/' + name; });
    row.peer("filesystem::path", [&] { return (Path(directory) / name).string(); });
    const Path kept(directory);
    const Path kept_name(name);
    row.peer("filesystem::path, kept", [&] { return kept / kept_name; });
}

TEST_CASE("squeeze_filename", "[filenamehelper]") {
    const std::string name = "/var/lib/./backup/volumes/../volumes/0042//data/snapshot0.db";
    REQUIRE(name.size() == 60);
    Row row("filenamehelper.squeeze_filename", [&] {
        std::string path = name;
        FilenameHelper::squeeze_filename(path);
        return path;
    });
    row.peer("filesystem::path", [&] { return Path(name).lexically_normal().string(); });
    const Path kept(name);
    row.peer("filesystem::path, kept", [&] { return kept.lexically_normal(); });
}
