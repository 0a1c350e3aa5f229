/// @file
/// nuriccl-tool: what the library does, from a shell.
///
/// This file is the command line; see command.hpp for what a sub-command is.

#include "commands.hpp"

#include <algorithm>
#include <cstring>
#include <exception>
#include <getopt.h>
#include <minibackup/system/names.hpp>
#include <new>
#include <nuriccl/string.hpp>

namespace nuriccl_tool {
namespace {

using minibackup::readable;
using nuriccl::string::format_string;

const Command* const COMMANDS[] = {&ADDRESSES, &BASE64,  &CONVERT, &CRON,    &DEFLATE, &ENCODE_NAME,
                                   &FIELDS,    &HEXDUMP, &INFLATE, &LOCK,    &NUMBER,  &PATH,
                                   &QUOTE,     &SIGN,    &TIME,    &VERSION, &WORDS};

constexpr Option HELP = {'h', "help", nullptr, "this text"};

bool has_actions(const Command& command) { return command.actions[0].name[0] != 0; }

void print_help() {
    print_bytes("Usage: nuriccl-tool COMMAND [OPTION]... [ARGUMENT]...\n"
                "\n"
                "Shows from a shell what the library nuriccl makes of bytes, texts and names.\n"
                "\n"
                "Commands:\n");
    for (const Command* const command : COMMANDS) {
        print_bytes(format_string("  %-14s%s\n", command->name, command->purpose));
    }
    print_bytes(
        "\n"
        "'nuriccl-tool COMMAND --help' tells more about a command, with examples. '--version'\n"
        "prints the version. A FILE '-' is standard input, '--' ends the options.\n"
        "\n"
        "Exit status: 0 done, or yes; 1 the input is bad, or the answer is no; 2 the call is\n"
        "wrong, or the system is in the way.\n");
}

void print_option(const Option& option) {
    const std::string argument = option.argument != nullptr ? option.argument : "";
    const std::string name = std::string(option.name) + (argument.empty() ? "" : " ") + argument;
    print_bytes(format_string("  -%c, --%-24s%s\n", option.letter, name.c_str(), option.purpose));
}

// Examples are indented like everything else that help lists.
void print_examples(const std::string& examples) {
    std::vector<std::string> lines;
    nuriccl::string::split(examples, '\n', lines);
    lines.pop_back(); // behind the last line feed
    for (const std::string& line : lines) {
        print_bytes(line.empty() ? "\n" : "  " + line + '\n');
    }
}

void print_help(const Command& command) {
    const std::string start = std::string("Usage: nuriccl-tool ") + command.name;
    if (has_actions(command)) {
        print_bytes(start + " ACTION [OPTION]... [ARGUMENT]...\n\nActions:\n");
        for (const Action& action : command.actions) {
            const std::string words = std::string(action.name) + ' ' + action.arguments;
            print_bytes(format_string("  %-29s %s\n", words.c_str(), action.purpose));
        }
    } else {
        print_bytes(start + " [OPTION]... " + command.actions[0].arguments + '\n');
    }
    print_bytes(std::string("\n") + command.help + "\nOptions:\n");
    for (const Option& option : command.options) {
        print_option(option);
    }
    print_option(HELP);
    print_bytes("\nExamples:\n");
    print_examples(command.examples);
}

// The options of a sub-command, and what getopt_long wants to know of them.
class OptionReader {
public:
    explicit OptionReader(const Command& command) : options_(command.options) {
        options_.push_back(HELP);
        for (const Option& option : options_) {
            const bool takes_argument = option.argument != nullptr;
            letters_ += std::string{option.letter} + (takes_argument ? ":" : "");
            names_.push_back({option.name, takes_argument, nullptr, option.letter});
        }
        names_.push_back({});
    }

    void read(int argc, char** argv, Call& call) {
        int letter = 0;
        while ((letter = getopt_long(argc, argv, letters_.c_str(), names_.data(), nullptr)) != -1) {
            if (letter == ':') {
                throw UsageError("an argument is missing behind '" + readable(argv[argc - 1]) +
                                 '\'');
            }
            if (letter == '?') {
                throw UsageError("there is no such option: '" + readable(refused(argv)) + '\'');
            }
            call.options[static_cast<char>(letter)] = optarg != nullptr ? optarg : "";
        }
        call.arguments.assign(argv + optind, argv + argc);
    }

private:
    // What getopt_long has refused last: it tells a short option. Of a long one it tells 0 or, if
    // it has an argument although it takes none, the short form.
    std::string refused(char** argv) const {
        const bool is_long =
            optopt == 0 || std::any_of(options_.begin(), options_.end(), [](const Option& option) {
                return option.letter == optopt;
            });
        return is_long ? argv[optind - 1] : std::string("-") + static_cast<char>(optopt);
    }

    std::vector<Option> options_;
    std::string letters_ = ":"; // in front: getopt_long prints no messages of its own
    std::vector<option> names_;
};

const Action& take_action(const Command& command, Call& call) {
    if (!has_actions(command)) {
        return command.actions[0];
    }
    if (call.arguments.empty()) {
        throw UsageError("an action is missing");
    }
    const std::string name = call.arguments[0];
    const auto found = std::find_if(command.actions.begin(), command.actions.end(),
                                    [&](const Action& action) { return action.name == name; });
    if (found == command.actions.end()) {
        throw UsageError("there is no action '" + readable(name) + '\'');
    }
    call.arguments.erase(call.arguments.begin());
    return *found;
}

int run_command(const Command& command, int argc, char** argv, Call& call) {
    OptionReader(command).read(argc, argv, call);
    if (call.has(HELP.letter)) {
        print_help(command);
        return YES;
    }
    const Action& action = take_action(command, call);
    const std::size_t count = call.arguments.size();
    if (count < action.min || count > action.max) {
        throw UsageError(action.arguments[0] == 0
                             ? std::string("takes no arguments")
                             : std::string("takes the arguments ") + action.arguments);
    }
    return action.run(call);
}

int run(int argc, char** argv, Call& call) {
    if (argc < 2) {
        throw UsageError("a command is missing");
    }
    const std::string name = argv[1];
    if (name == "--help" || name == "-h") {
        print_help();
        return YES;
    }
    if (name == "--version") {
        print_bytes("nuriccl-tool " NURICCL_TOOL_VERSION "\n");
        return YES;
    }
    for (const Command* const command : COMMANDS) {
        if (name == command->name) {
            call.command = name;
            return run_command(*command, argc - 1, argv + 1, call);
        }
    }
    throw UsageError("there is no command '" + readable(name) + '\'');
}

// The status of `act`, which may be an exception.
template <class Act>
int report(const Call& call, Act act) {
    try {
        return act();
    } catch (const BadInput& error) {
        call.complain(error.what());
        return NO;
    } catch (const UsageError& error) {
        const std::string command = call.command.empty() ? "" : call.command + ' ';
        call.complain(std::string(error.what()) + "\nTry 'nuriccl-tool " + command + "--help'.");
    } catch (const std::bad_alloc&) {
        call.complain("out of memory");
    } catch (const std::length_error&) {
        call.complain("out of memory"); // more than a string can hold
    } catch (const std::exception& error) {
        call.complain(error.what());
    }
    return FAILED;
}

} // namespace
} // namespace nuriccl_tool

int main(int argc, char** argv) {
    nuriccl_tool::Call call;
    const int status =
        nuriccl_tool::report(call, [&] { return nuriccl_tool::run(argc, argv, call); });
    // What was printed in front of a fault is written, too.
    const int written = nuriccl_tool::report(call, [] {
        nuriccl_tool::close_output();
        return nuriccl_tool::YES;
    });
    return written == nuriccl_tool::YES ? status : written;
}
