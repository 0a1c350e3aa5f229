#include "commands.hpp"

#include <cstdint>
#include <minibackup/system/names.hpp>
#include <nuriccl/encoding.hpp>

namespace nuriccl_tool {

namespace {

namespace Encoding = nuriccl::Encoding;

// A code page by the name that iconv knows.
Encoding::CodePage code_page(const std::string& name) {
    // To iconv an empty name is the code page of the locale.
    Encoding::CodePage page(Encoding::CP_CUSTOM);
    page.init(name.c_str());
    std::string bytes;
    if (name.empty() || page.isDefault() || !Encoding::toMultibyte(L"A", 1, bytes, page)) {
        throw UsageError("there is no code page '" + minibackup::readable(name) +
                         "'; 'iconv --list' names them");
    }
    return page;
}

int run(const Call& call) {
    const Encoding::CodePage from = code_page(call.option('f', "UTF-8"));
    const Encoding::CodePage to = code_page(call.option('t', "UTF-8"));
    const std::string replacement = call.option('r', "");
    const std::string input = call.bytes();
    if (input.size() > UINT32_MAX / sizeof(wchar_t)) {
        throw BadInput("the input is too long");
    }
    if (!input.empty() && input[0] == '\0') {
        throw BadInput("the input starts with NUL, which the library takes for its end");
    }
    std::wstring text;
    const bool is_read = Encoding::toWideChar(input.data(), static_cast<unsigned int>(input.size()),
                                              text, from, call.has('c'));
    std::string bytes;
    const bool is_written =
        Encoding::toMultibyte(text.data(), static_cast<unsigned int>(text.size()), bytes, to,
                              call.has('r') || call.has('c') ? replacement.c_str() : nullptr);
    print_bytes(bytes);
    if (!is_read) {
        throw BadInput("the input is not all in the code page that --from names");
    }
    if (!is_written) {
        throw BadInput("the code page that --to names does not have all characters");
    }
    return YES;
}

} // namespace

const Command CONVERT = {
    "convert",
    "text from one code page in another",
    {{"", "[FILE]", 0, 1, "", run}},
    {{'c', "continue", nullptr, "leave out what cannot be converted, and go on"},
     {'f', "from", "CODEPAGE", "of the input, UTF-8 unless given"},
     {'r', "replacement", "TEXT", "put TEXT in place of characters that are not in the other"},
     {'t', "to", "CODEPAGE", "of the output, UTF-8 unless given"}},
    "Converts the text in FILE, or in standard input. What cannot be converted ends the text, or\n"
    "is left out or replaced as told; the exit status is 1 in any case.\n",
    "$ printf 'caf\\303\\251' | nuriccl-tool convert --to WINDOWS-1252 | nuriccl-tool hexdump\n"
    "0000  636166e9                         ** caf.             **\n"
    "$ printf 'caf\\303\\251\\n' | nuriccl-tool convert --to US-ASCII -r '?' || echo incomplete\n"
    "caf?\n"
    "incomplete\n"
    "$ printf '\\317\\345\\n' | nuriccl-tool convert --from WINDOWS-1251 | nuriccl-tool hexdump\n"
    "0000  d09fd0b50a                       ** .....            **\n",
};

} // namespace nuriccl_tool
