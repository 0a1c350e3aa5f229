// Decides what a server of this version lets clients of other versions do: all, restore only, or
// nothing.
//
// usage: Version [VERSION...]     the clients' versions

#include <nuriccl/Version.hpp>

#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

const nuriccl::Version SERVER("8.12.200");
const nuriccl::Version OLDEST("7.10.0"); // whose format can still be read

const char* verdict(const nuriccl::Version& client) {
    if (client.compare_minor(OLDEST) < 0) {
        return "too old";
    }
    if (client.compare_major(SERVER) > 0) {
        return "newer than the server: update the server first";
    }
    // Patches and builds make no difference to what is stored.
    return client.compare_minor(SERVER) < 0 ? "may restore" : "may save and restore";
}

// Returns whether the text is a version.
bool judge(const std::string& text) {
    try {
        const nuriccl::Version client(text);
        if (client.m_major == 0) { // what cannot be read is 0
            std::cerr << "no version: " << text << '\n';
            return false;
        }
        std::cout << text << " (" << client.m_major << ", " << client.m_minor << ", "
                  << client.m_patch << ", build " << client.m_build << "): " << verdict(client)
                  << '\n';
        return true;
    } catch (const std::out_of_range&) { // ends with its first '.'
        std::cerr << "no version: " << text << '\n';
        return false;
    }
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> versions(argv + 1, argv + argc);
    if (versions.empty()) {
        versions = {"6.40.1", "7.12.345", "8.03.10 build 7", "8.14.0", "9.01"};
    }
    bool all = true;
    for (const std::string& version : versions) {
        all = judge(version) && all;
    }
    return all ? 0 : 1;
}
