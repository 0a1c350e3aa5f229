// Changes the addresses of a server in a table that people edit. The old file stays until the new
// one is whole: the table is written under another name, which is then given its own.
//
// usage: address_map FILE NAME [ADDRESS...]     without addresses: removes the server
//        address_map                            changes a table in memory and prints it

#include <nuriccl/address_map.hpp>

#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

// Returns whether the table has changed.
bool change(nuriccl::AddressMap& table, const std::string& name,
            const std::vector<std::string>& addresses) {
    if (addresses.empty()) {
        return table.erase(name) != 0;
    }
    std::vector<std::string>& place = table[name]; // in whatever case it was written
    if (place == addresses) {
        return false;
    }
    place = addresses;
    return true;
}

int change_file(const std::string& path, const std::string& name,
                const std::vector<std::string>& addresses) {
    nuriccl::AddressMap table;
    table.Load(path); // no file is an empty table
    if (!change(table, name, addresses)) {
        std::cout << "nothing to change\n";
        return 0;
    }
    const std::string fresh = path + ".new";
    table.Save(fresh);
    if (std::rename(fresh.c_str(), path.c_str()) != 0) {
        std::perror(path.c_str());
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        if (arguments.size() >= 2) {
            return change_file(arguments[0], arguments[1],
                               {arguments.begin() + 2, arguments.end()});
        }
        std::istringstream text("Alpha|10.0.0.1,alpha.example.net\n"
                                "a line that is no entry\n"
                                "beta|10.0.0.2\n");
        nuriccl::AddressMap table;
        table.Load(text);
        change(table, "BETA", {"10.0.0.20", "beta.example.net"});
        change(table, "Gamma", {"10.0.0.3"});
        table.Save(std::cout);
    } catch (const VI18NError& error) { // a message of the agent's catalogue, for the operator
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
