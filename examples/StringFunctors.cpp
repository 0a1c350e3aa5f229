// Finds clients by name, regardless of case, and prints what is known of them: names in lower case,
// as the name service compares them, and numbers and flags as text.
//
// usage: StringFunctors [NAME...]     without names: all clients

#include <nuriccl/StringFunctors.hpp>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <locale>
#include <string>
#include <vector>

namespace {

struct Client {
    std::string name;
    std::vector<unsigned int> ports;
    bool enabled;
};

const std::vector<Client> CLIENTS = {
    {"Mail.Example.NET", {1500, 1501}, true},
    {"FILES.example.net", {1500}, false},
    {"db1.example.net", {}, true},
};

void print(const Client& client) {
    std::string name = client.name;
    // The same on every machine, whatever its locale.
    std::transform(name.begin(), name.end(), name.begin(),
                   nuriccl::ToLower(std::locale::classic()));
    std::cout << name << ": enabled " << nuriccl::ToString()(client.enabled) << ", ports";
    std::vector<std::string> ports;
    std::transform(client.ports.begin(), client.ports.end(), std::back_inserter(ports),
                   nuriccl::ToString());
    for (const std::string& port : ports) {
        std::cout << ' ' << port;
    }
    std::cout << (ports.empty() ? " none\n" : "\n");
}

// Returns whether there is such a client.
bool print_named(const std::string& name) {
    const nuriccl::StringMatcher matches(name, true, std::locale::classic());
    const auto client =
        std::find_if(CLIENTS.begin(), CLIENTS.end(),
                     [&matches](const Client& candidate) { return matches(candidate.name); });
    // An empty pattern is equal to every text.
    if (name.empty() || client == CLIENTS.end()) {
        std::cerr << "no client '" << name << "'\n";
        return false;
    }
    print(*client);
    return true;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::for_each(CLIENTS.begin(), CLIENTS.end(), print);
        return 0;
    }
    return std::count_if(argv + 1, argv + argc, print_named) == argc - 1 ? 0 : 1;
}
