#include "command.hpp"

#include <algorithm>
#include <cstdio>
#include <minibackup/system/names.hpp>
#include <minibackup/system/os.hpp>
#include <nuriccl/string.hpp>
#include <nuriccl/util.hpp>
#include <unistd.h>
#include <utility>

namespace nuriccl_tool {

namespace {

constexpr std::size_t CHUNK = 0x10000;

const char STANDARD_OUTPUT[] = "standard output";

std::string output; // printed and not yet written
bool was_written = false;

void write_output(const std::string& bytes) {
    was_written = was_written || !bytes.empty();
    minibackup::write_whole(STDOUT_FILENO, bytes, STANDARD_OUTPUT);
}

void flush_output() {
    const std::string bytes = std::exchange(output, ""); // what fails is not tried again
    write_output(bytes);
}

std::string read_descriptor(int file, const std::string& name) {
    std::string bytes;
    std::size_t done = 0;
    do {
        bytes.resize(done + std::max(done, CHUNK));
        done += minibackup::read_whole(file, &bytes[done], bytes.size() - done, name);
    } while (done == bytes.size());
    bytes.resize(done);
    return bytes;
}

} // namespace

std::string title_of(const std::string& file) { return file == "-" ? "standard input" : file; }

std::string read_file(const std::string& name) {
    if (name == "-") {
        return read_descriptor(STDIN_FILENO, title_of(name));
    }
    return read_descriptor(minibackup::open_at(AT_FDCWD, name, O_RDONLY, name).get(), name);
}

void print_bytes(const std::string& bytes) {
    if (output.size() + bytes.size() <= CHUNK) {
        output += bytes;
    } else {
        flush_output();
        write_output(bytes);
    }
}

void close_output() {
    flush_output();
    if (was_written) { // a standard output that nobody needed may be closed
        minibackup::close_written(minibackup::Descriptor(STDOUT_FILENO), STANDARD_OUTPUT);
    }
}

std::string Call::option(char letter, const std::string& otherwise) const {
    const auto found = options.find(letter);
    return found != options.end() ? found->second : otherwise;
}

unsigned int Call::number(char letter, unsigned int otherwise, unsigned int min,
                          unsigned int max) const {
    if (!has(letter)) {
        return otherwise;
    }
    const std::string text = option(letter, "");
    unsigned int value = 0;
    const bool is_number = !text.empty() &&
                           text.find_first_not_of("0123456789") == std::string::npos &&
                           nuriccl::fromStr(value, text);
    if (!is_number || value < min || value > max) {
        throw UsageError('\'' + minibackup::readable(text) + "' is no number from " +
                         nuriccl::to_str(min) + " to " + nuriccl::to_str(max));
    }
    return value;
}

char Call::character(char letter, char otherwise) const {
    const std::string text = option(letter, {otherwise});
    if (text.size() != 1) {
        throw UsageError('\'' + minibackup::readable(text) + "' is not one character");
    }
    return text[0];
}

std::string Call::bytes() const { return read_file(arguments.empty() ? "-" : arguments[0]); }

bool Call::reads_standard_input() const {
    return arguments.empty() || (arguments.size() == 1 && arguments[0] == "-");
}

std::string Call::text() const {
    if (!reads_standard_input()) {
        return arguments[0];
    }
    std::string text = read_file("-");
    if (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    return text;
}

std::vector<std::string> Call::items() const {
    if (!reads_standard_input()) {
        return arguments;
    }
    std::vector<std::string> items;
    nuriccl::string::split(read_file("-"), has('z') ? '\0' : '\n', items);
    if (items.back().empty()) {
        items.pop_back(); // behind the end of the last one
    }
    return items;
}

void Call::print(const std::string& item) const {
    print_bytes(item);
    print_bytes({has('z') ? '\0' : '\n'});
}

void Call::complain(const std::string& message) const {
    const std::string who = command.empty() ? "nuriccl-tool" : "nuriccl-tool " + command;
    std::fprintf(stderr, "%s: %s\n", who.c_str(), message.c_str());
}

int for_each_item(const Call& call, const std::function<bool(const std::string& item)>& action) {
    int status = YES;
    for (const std::string& item : call.items()) {
        try {
            status = action(item) ? status : NO;
        } catch (const BadInput& error) {
            call.complain('\'' + minibackup::readable(item) + "' " + error.what());
            status = NO;
        }
    }
    return status;
}

std::function<int(const Call&)>
edit_items(const std::function<std::string(const std::string& item)>& edit) {
    return [edit](const Call& call) {
        return for_each_item(call, [&](const std::string& item) {
            call.print(edit(item));
            return true;
        });
    };
}

std::function<int(const Call&)> ask_items(bool (*is_so)(const std::string& item)) {
    return [is_so](const Call& call) { return for_each_item(call, is_so); };
}

} // namespace nuriccl_tool
