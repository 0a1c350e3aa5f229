#include "commands.hpp"

#include <minibackup/system/names.hpp>
#include <nuriccl/address_map.hpp>
#include <sstream>

namespace nuriccl_tool {

namespace {

int run(const Call& call) {
    std::stringstream stream(call.bytes());
    nuriccl::AddressMap map;
    map.Load(stream);
    if (!call.has('n')) {
        std::ostringstream out;
        map.Save(out);
        print_bytes(out.str());
        return YES;
    }
    const std::string name = call.option('n', "");
    const auto found = map.find(name);
    if (found == map.end()) {
        throw BadInput("the map does not have the name '" + minibackup::readable(name) + '\'');
    }
    for (const std::string& address : found->second) {
        call.print(address);
    }
    return YES;
}

} // namespace

const Command ADDRESSES = {
    "addresses",
    "what an address map is read as, or the addresses of a name",
    {{"", "[FILE]", 0, 1, "", run}},
    {{'n', "name", "NAME", "print the addresses of NAME, in whatever case, one a line"}},
    "Reads the address map in FILE, or in standard input, and prints it as it is kept: in the\n"
    "order of the names, without lines that count for nothing.\n",
    "$ printf 'beta|10.0.0.2\\nAlpha|10.0.0.1,host2\\n# notes\\n' > map; nuriccl-tool addresses "
    "map\n"
    "Alpha|10.0.0.1,host2\n"
    "beta|10.0.0.2\n"
    "$ nuriccl-tool addresses --name ALPHA map\n"
    "10.0.0.1\n"
    "host2\n",
};

} // namespace nuriccl_tool
