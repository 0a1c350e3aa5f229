// Maps the paths of saved files to where they are restored: what lay below FROM comes below TO.
// Components are compared, not characters, and nothing is written outside of TO.
//
// usage: filenamehelper [FROM TO PATH...]

#include <nuriccl/filenamehelper.hpp>

#include <algorithm>
#include <iostream>
#include <list>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using nuriccl::FilenameHelper;

std::list<std::string> components(std::string path) {
    if (FilenameHelper::isRelative(path)) {
        throw std::invalid_argument("not an absolute path");
    }
    FilenameHelper::squeeze_filename(path); // "." and ".." are gone, so nothing leads upwards
    std::list<std::string> parts;
    FilenameHelper::split_filename(path, parts);
    return parts;
}

std::string restored(const std::string& from, const std::string& to, const std::string& path) {
    const std::list<std::string> base = components(from);
    const std::list<std::string> parts = components(path);
    const auto [end, rest] = std::mismatch(base.begin(), base.end(), parts.begin(), parts.end());
    if (end != base.end()) {
        throw std::invalid_argument("not below " + from);
    }
    std::string target = to;
    for (auto part = rest; part != parts.end(); ++part) {
        target = FilenameHelper::join(target, *part);
    }
    return target;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() < 3) {
        arguments = {"/home/anna/",
                     "/restore",
                     "/home/anna/letters//march.txt",
                     "/home/./anna",
                     "/home/anna/a/../b/",
                     "/home/annabel/notes",
                     "/home/anna/../root",
                     "letters"};
    }
    int faults = 0;
    for (auto path = arguments.begin() + 2; path != arguments.end(); ++path) {
        std::cout << *path << ": ";
        try {
            std::cout << restored(arguments[0], arguments[1], *path) << '\n';
        } catch (const std::invalid_argument& error) {
            std::cout << "not restored, " << error.what() << '\n';
            ++faults;
        }
    }
    return faults == 0 ? 0 : 1;
}
