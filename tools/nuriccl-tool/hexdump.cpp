#include "commands.hpp"

#include <climits>
#include <nuriccl/string.hpp>

namespace nuriccl_tool {

namespace {

int run(const Call& call) {
    const std::string bytes = call.bytes();
    if (bytes.size() > INT_MAX) {
        throw BadInput("the input is longer than 2147483647 bytes");
    }
    const std::string title = call.option('t', "");
    const std::string prefix = call.option('p', "");
    std::string dump;
    nuriccl::string::hex_dump(dump, bytes.data(), static_cast<int>(bytes.size()),
                              call.has('t') ? title.c_str() : nullptr,
                              call.has('p') ? prefix.c_str() : nullptr);
    print_bytes(dump);
    return YES;
}

} // namespace

const Command HEXDUMP = {
    "hexdump",
    "bytes in hexadecimal and as characters",
    {{"", "[FILE]", 0, 1, "", run}},
    {{'p', "prefix", "TEXT", "put TEXT in front of each line of bytes"},
     {'t', "title", "TEXT", "put TEXT on a line in front of the dump"}},
    "Shows the bytes of FILE, or of standard input, as the library dumps them to a trace.\n",
    "$ printf 'A\\0z' | nuriccl-tool hexdump\n"
    "0000  41007a                           ** A.z              **\n"
    "$ printf 'A\\0z' | nuriccl-tool hexdump --title 'block 1' --prefix '>'\n"
    "block 1\n"
    "> 0000  41007a                           ** A.z              **\n",
};

} // namespace nuriccl_tool
