// Checks the exclusions that somebody has configured: "system CLASS" leaves out the files of a
// class that the agent knows, "path PATH" what lies there. A class that is misspelt must not go
// unnoticed, or its files are saved every night.
//
// usage: tempfile [EXCLUSION...]

#include <nuriccl/tempfile.hpp>

#include <iostream>
#include <string>
#include <vector>

namespace {

using nuriccl::TempFile;

// Returns whether the exclusion is understood.
bool check(const std::string& exclusion) {
    const std::string::size_type blank = exclusion.find(' ');
    const std::string kind = exclusion.substr(0, blank);
    std::string what = blank == std::string::npos ? "" : exclusion.substr(blank + 1);
    if (kind == "path" && !what.empty() && what[0] == '/') {
        TempFile::PathToPattern(what);
        std::cout << "leaves out what matches " << what << '\n';
        return true;
    }
    if (kind == "system" &&
        TempFile::ExclusionClassByNameAndType(what, TempFile::ExclusionType::SYSTEM)) {
        std::cout << "leaves out the files of the class " << what << '\n';
        return true;
    }
    std::cout << "not understood: " << exclusion << '\n';
    return false;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> exclusions(argv + 1, argv + argc);
    if (exclusions.empty()) {
        exclusions = {"system Memory Page File", "system Power Management",
                      "system memory page file", "user Memory Page File", "path /var/tmp"};
    }
    int faults = 0;
    for (const std::string& exclusion : exclusions) {
        faults += check(exclusion) ? 0 : 1;
    }
    return faults == 0 ? 0 : 1;
}
