#include "commands.hpp"

#include <algorithm>
#include <fcntl.h>
#include <minibackup/system/names.hpp>
#include <minibackup/system/os.hpp>
#include <nuriccl/signature.hpp>
#include <nuriccl/string.hpp>
#include <unistd.h>

namespace nuriccl_tool {

namespace {

using minibackup::readable;

std::string signature_of(const std::string& file) {
    const bool is_input = file == "-";
    const auto own =
        is_input ? minibackup::Descriptor() : minibackup::open_at(AT_FDCWD, file, O_RDONLY, file);
    nuriccl::Signature signature;
    std::vector<unsigned char> bytes(0x100000);
    std::size_t count = 0;
    do {
        count = minibackup::read_whole(is_input ? STDIN_FILENO : own.get(), bytes.data(),
                                       bytes.size(), title_of(file));
        signature.update(bytes.data(), static_cast<unsigned int>(count));
    } while (count == bytes.size());
    return signature.close().to_string();
}

// The form of sha1sum: a backslash in front of a line says that its name is escaped.
std::string line_of(const std::string& signature, const std::string& name) {
    std::string escaped = name;
    nuriccl::string::replace(escaped, "\\", "\\\\");
    nuriccl::string::replace(escaped, "\n", "\\n");
    nuriccl::string::replace(escaped, "\r", "\\r");
    return (escaped != name ? "\\" : "") + signature + "  " + escaped + '\n';
}

// Undoes `line_of`.
bool read_line(std::string line, std::string& signature, std::string& name) {
    const bool is_escaped = !line.empty() && line[0] == '\\';
    line.erase(0, is_escaped ? 1 : 0);
    constexpr std::size_t SIZE = nuriccl::Signature::STRING_SIGNATURE_SIZE;
    // A blank and the mark of binary files, or two blanks.
    if (line.find_first_not_of("0123456789abcdefABCDEF") != SIZE || line.size() <= SIZE + 2 ||
        line[SIZE] != ' ' || (line[SIZE + 1] != ' ' && line[SIZE + 1] != '*')) {
        return false;
    }
    signature = line.substr(0, SIZE);
    name.clear();
    for (std::size_t i = SIZE + 2; i < line.size(); ++i) {
        if (is_escaped && line[i] == '\\' && ++i < line.size()) {
            name += line[i] == 'n' ? '\n' : line[i] == 'r' ? '\r' : line[i];
        } else if (i < line.size()) {
            name += line[i];
        }
    }
    return true;
}

// Does `action` for a file; trouble with it is told, and is not the end.
template <class Act>
int with_file(const Call& call, Act act) {
    try {
        return act();
    } catch (const minibackup::Error& error) {
        call.complain(error.what());
        return FAILED;
    }
}

int check_line(const Call& call, const std::string& line) {
    std::string expected;
    std::string name;
    if (!read_line(line, expected, name)) {
        call.complain("'" + readable(line) + "' is not a signature and a name");
        return NO;
    }
    return with_file(call, [&] {
        const bool is_same = nuriccl::string::icompare(signature_of(name), expected) == 0;
        print_bytes(readable(name) + (is_same ? ": OK\n" : ": FAILED\n"));
        return is_same ? YES : NO;
    });
}

int check(const Call& call, const std::string& list) {
    std::vector<std::string> lines;
    nuriccl::string::tokenize(read_file(list), lines, "\n");
    if (lines.empty()) {
        throw BadInput(readable(title_of(list)) + " names no files");
    }
    int status = YES;
    for (const std::string& line : lines) {
        status = std::max(status, check_line(call, line));
    }
    return status;
}

int sign(const Call& call, const std::string& file) {
    return with_file(call, [&] {
        print_bytes(line_of(signature_of(file), file));
        return YES;
    });
}

int run(const Call& call) {
    const std::vector<std::string> standard_input = {"-"};
    int status = YES;
    for (const std::string& file : call.arguments.empty() ? standard_input : call.arguments) {
        status = std::max(status, call.has('c') ? check(call, file) : sign(call, file));
    }
    return status;
}

} // namespace

const Command SIGN = {
    "sign",
    "SHA-1 signatures of files, and whether files have them",
    {{"", "[FILE]...", 0, ANY_NUMBER, "", run}},
    {{'c', "check", nullptr, "FILE is a list of signatures and names: check these files"}},
    "Prints the signature of each FILE, or of standard input, in the form of sha1sum, which can\n"
    "check it.\n",
    "$ printf abc | nuriccl-tool sign\n"
    "a9993e364706816aba3e25717850c26c9cd0d89d  -\n"
    "$ echo one > a; echo two > b\n"
    "$ nuriccl-tool sign a b > list; echo three > b; nuriccl-tool sign -c list || echo damage\n"
    "a: OK\n"
    "b: FAILED\n"
    "damage\n",
};

} // namespace nuriccl_tool
