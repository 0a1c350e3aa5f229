#include "commands.hpp"

#include <algorithm>
#include <minibackup/system/names.hpp>
#include <nuriccl/string.hpp>
#include <nuriccl/Version.hpp>
#include <utility>

namespace nuriccl_tool {

namespace {

using nuriccl::Version;

Version read_version(const std::string& text) {
    try {
        return Version(text);
    } catch (const std::out_of_range&) {
        throw BadInput("ends with its first '.'");
    }
}

std::string numbers_of(const std::string& text) {
    const Version version = read_version(text);
    return nuriccl::string::format_string("major %d minor %d patch %d build %d", version.m_major,
                                          version.m_minor, version.m_patch, version.m_build);
}

// The version that is an argument by itself.
Version argument(const Call& call, std::size_t number) {
    try {
        return read_version(call.arguments[number]);
    } catch (const BadInput& error) {
        throw BadInput('\'' + minibackup::readable(call.arguments[number]) + "' " + error.what());
    }
}

Version::granularity granularity_of(const std::string& name) {
    return name == "major"   ? Version::MAJOR
           : name == "minor" ? Version::MINOR
           : name == "patch" ? Version::PATCH
           : name == "build"
               ? Version::BUILD
               : throw UsageError("there is no number '" + minibackup::readable(name) +
                                  "', but major, minor, patch and build");
}

int order(const Call& call) {
    return argument(call, 0).compare(argument(call, 1), granularity_of(call.option('n', "build")));
}

int compare(const Call& call) {
    const int result = order(call);
    call.print(result < 0 ? "older" : result > 0 ? "newer" : "equal");
    return YES;
}

int at_least(const Call& call) { return order(call) >= 0 ? YES : NO; }

int sort(const Call& call) {
    const Version::granularity granularity = granularity_of(call.option('n', "build"));
    std::vector<std::pair<Version, std::string>> versions;
    const int status = for_each_item(call, [&](const std::string& item) {
        versions.emplace_back(read_version(item), item);
        return true;
    });
    std::stable_sort(versions.begin(), versions.end(), [&](const auto& a, const auto& b) {
        return a.first.compare(b.first, granularity) < 0;
    });
    for (const auto& version : versions) {
        call.print(version.second);
    }
    return status;
}

} // namespace

const Command VERSION = {
    "version",
    "product versions, read, compared and sorted",
    {{"print", "[VERSION]...", 0, ANY_NUMBER, "the four numbers that are read",
      edit_items(numbers_of)},
     {"compare", "VERSION OTHER", 2, 2, "older, equal or newer than OTHER", compare},
     {"at-least", "VERSION OTHER", 2, 2, "status 0 if not older than OTHER", at_least},
     {"sort", "[VERSION]...", 0, ANY_NUMBER, "the oldest one first", sort}},
    {{'n', "number", "NUMBER", "the last one to compare: major, minor, patch or build"}, ZERO},
    "Reads versions such as 7.12.345, which is major 7, minor 1, patch 2 and build 345: minor and\n"
    "patch number have one digit each. What cannot be found is 0.\n",
    "$ nuriccl-tool version print 7.12.345\n"
    "major 7 minor 1 patch 2 build 345\n"
    "$ nuriccl-tool version compare 7.12.345 7.12.346\n"
    "older\n"
    "$ nuriccl-tool version at-least 7.12.345 7.12.346 --number patch && echo yes\n"
    "yes\n"
    "$ printf '8.1\\n7.2\\n7.12.3\\n' | nuriccl-tool version sort\n"
    "7.12.3\n"
    "7.2\n"
    "8.1\n",
};

} // namespace nuriccl_tool
