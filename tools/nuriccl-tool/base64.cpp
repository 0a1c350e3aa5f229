#include "commands.hpp"

#include <algorithm>
#include <nuriccl/Base64Wrapper.hpp>

namespace nuriccl_tool {

namespace {

using nuriccl::Base64Wrapper;

int decode(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\n'), text.end()); // where others break lines
    std::string bytes;
    if (!Base64Wrapper::decode(text, bytes)) {
        throw BadInput("the input is not Base64");
    }
    print_bytes(bytes);
    return YES;
}

int run(const Call& call) {
    const std::string input = call.bytes();
    if (call.has('d')) {
        return decode(input);
    }
    std::string text;
    if (!Base64Wrapper::encode(input, text,
                               call.has('u') ? Base64Wrapper::url_safe : Base64Wrapper::standard)) {
        throw std::bad_alloc();
    }
    print_bytes(text);
    print_bytes("\n");
    return YES;
}

} // namespace

const Command BASE64 = {
    "base64",
    "bytes as Base64 text, and back",
    {{"", "[FILE]", 0, 1, "", run}},
    {{'d', "decode", nullptr, "decode either alphabet; line feeds are left out"},
     {'u', "url", nullptr, "encode with '-' and '_' for '+' and '/'"}},
    "Encodes the bytes of FILE, or of standard input, on one line.\n",
    "$ printf 'hello' | nuriccl-tool base64\n"
    "aGVsbG8=\n"
    "$ printf '\\373\\377' | nuriccl-tool base64 --url\n"
    "-_8=\n"
    "$ echo SGVsbG8K | nuriccl-tool base64 --decode\n"
    "Hello\n",
};

} // namespace nuriccl_tool
