#include "commands.hpp"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstdint>
#include <nuriccl/util.hpp>
#include <nuriccl/Zlib.hpp>

namespace nuriccl_tool {

namespace {

using nuriccl::Zlib;

// This form, unlike that for strings, takes a level and the empty input.
int deflate(const Call& call) {
    constexpr unsigned int DEFAULT_LEVEL = 10; // any other than 0 to 9
    const auto level = static_cast<int>(call.number('l', DEFAULT_LEVEL, 0, 9));
    const std::string input = call.bytes();
    const auto bytes = boost::make_shared<std::vector<unsigned char>>(input.begin(), input.end());
    if (!Zlib::Deflate(bytes, bytes, level)) {
        throw std::bad_alloc(); // all that can go wrong
    }
    print_bytes(std::string(bytes->begin(), bytes->end()));
    return YES;
}

// The library is to be told the length of the data, which nobody knows here: room is added until
// there is enough. zlib's format makes 1032 bytes of one at most.
bool inflate(std::string& output, const std::string& input, std::uint64_t limit) {
    const std::uint64_t most = std::min<std::uint64_t>(limit, input.size() * std::uint64_t{1032});
    for (std::uint64_t room = input.size() * std::uint64_t{4}; room < most; room *= 4) {
        if (Zlib::Inflate(output, static_cast<unsigned int>(room), input)) {
            return true;
        }
    }
    return Zlib::Inflate(output, static_cast<unsigned int>(most), input);
}

int inflate(const Call& call) {
    const unsigned int limit = call.number('l', 0x40000000, 1, UINT32_MAX);
    std::string output;
    if (!inflate(output, call.bytes(), limit)) {
        throw BadInput("the input is not in the zlib format, or holds more than " +
                       nuriccl::to_str(limit) + " bytes (see --limit)");
    }
    print_bytes(output);
    return YES;
}

} // namespace

const Command DEFLATE = {
    "deflate",
    "compress bytes in the zlib format",
    {{"", "[FILE]", 0, 1, "", deflate}},
    {{'l', "level", "LEVEL", "0 (stored) to 9 (smallest); zlib's default is 6"}},
    "Compresses the bytes of FILE, or of standard input, as one block.\n",
    "$ printf 'hello' | nuriccl-tool deflate | nuriccl-tool hexdump\n"
    "0000  789ccb48cdc9c90700062c0215       ** x..H......,..    **\n"
    "$ printf 'hello' | nuriccl-tool deflate --level 0 | wc -c\n"
    "16\n",
};

const Command INFLATE = {
    "inflate",
    "decompress a block in the zlib format",
    {{"", "[FILE]", 0, 1, "", static_cast<int (*)(const Call&)>(inflate)}},
    {{'l', "limit", "BYTES", "the most to make of it; 1073741824 unless given"}},
    "Decompresses the block in FILE, or in standard input.\n",
    "$ printf 'hello\\n' | nuriccl-tool deflate | nuriccl-tool inflate\n"
    "hello\n"
    "$ printf 'hello\\n' | nuriccl-tool deflate | nuriccl-tool inflate --limit 5 || echo no\n"
    "no\n",
};

} // namespace nuriccl_tool
