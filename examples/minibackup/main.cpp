/// @file
/// minibackup: saves directory trees in a store of compressed blocks, each kept once, and restores
/// them.
///
/// This file is the command line; see commands.hpp for what the commands do.

#include "commands.hpp"
#include "settings.hpp"
#include "system/names.hpp"
#include "system/os.hpp"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <getopt.h>
#include <new>
#include <nuriccl/util.hpp>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace minibackup {
namespace {

using Arguments = std::vector<std::string>;

struct Command {
    const char* name;
    const char* arguments;
    std::size_t argument_count;
    const char* options; // letters of those it takes
    int (*run)(const Arguments& arguments, const Options& options);
    const char* purpose;
    const char* help;
};

const Command COMMANDS[] = {
    {"save", "SOURCE STORE", 2, "hoqwxX",
     [](const Arguments& a, const Options& o) { return save(a[0], a[1], o); },
     "save the directory SOURCE in STORE",
     "Saves the directory SOURCE as a new run in STORE, a directory that is made when it is\n"
     "missing or empty. Blocks that STORE has already are not stored again.\n"
     "\n"
     "Kept are regular files, directories and symbolic links with their names, modes and\n"
     "modification times. Owners and access lists are not kept. Hard links are saved as files\n"
     "of their own. FIFOs, sockets and devices are named and left out. STORE is left out when\n"
     "it is in SOURCE.\n"
     "\n"
     "A part of a directory is saved with a '/./' in SOURCE: 'DIR/./PATH' makes DIR the root of\n"
     "what is saved, and takes in only PATH, with everything below it and the directories that\n"
     "lead to it. 'DIR/./' and 'DIR/./*' take in everything below DIR; 'DIR/./PATH/*' is\n"
     "'DIR/./PATH'. PATH has to exist, and holds no '..'. A symbolic link in PATH is saved as a\n"
     "link and not followed; what PATH names behind it is not saved, which is a fault.\n"
     "\n"
     "What a PATTERN matches is left out, a directory with everything in it. A PATTERN without\n"
     "'/' matches a name at any depth; one with '/' matches the path below SOURCE, which is DIR\n"
     "of 'DIR/./PATH': '/cache' and 'home/*/cache' do. With '/' at the end it matches\n"
     "directories only. '*' matches any bytes but '/', '?' one byte, '[a-z]' one of these bytes;\n"
     "a '.' at the start of a name is nothing special; a backslash lets the next byte stand for\n"
     "itself. What SOURCE names itself is never left out.\n"
     "\n"
     "A CLASS stands for files in which a system keeps its memory. Left out are the regular\n"
     "files that it means, told by their path below SOURCE, in upper or lower case.\n"
     "\n"
     "Options may stand in a FILE, too, each on a line of its own:\n"
     "\n"
     "  # what to leave out\n"
     "  exclude = *.o\n"
     "  exclude = \"name with blanks\"\n"
     "  exclude-class = \"Power Management\"\n"
     "  quiet = yes\n"
     "\n"
     "A value with a blank, a quote or a '=' is quoted. A backslash lets the next character stand\n"
     "for itself, also in quotes, so that one of a PATTERN is doubled. An option that takes no\n"
     "argument is 'yes' or 'no'. They are added to those of the command line.\n"
     "\n"
     "A save may be interrupted at any time; what it leaves behind is used or removed by the\n"
     "next.\n"
     "\n"
     "One save at a time works on a store. A second one tells which process it waits for; with\n"
     "--no-wait it ends with status 3 instead. After a save that was killed the next one takes a\n"
     "second longer. Saves on different machines do not see each other: they do the store no\n"
     "harm, but leave files behind for a while.\n"},
    {"list", "STORE", 1, "ch", [](const Arguments& a, const Options& o) { return list(a[0], o); },
     "list the runs in STORE",
     "Lists the runs in STORE, the newest last, with their number of files and bytes.\n"
     "\n"
     "With --csv the list is CSV, in UTF-8: a line of headings, and a line for each run. A name\n"
     "that is not UTF-8, or that holds a control character, a line separator or a mark of text\n"
     "direction, is given as 'base64:' and its bytes in Base64; so is one that begins that way.\n"},
    {"verify", "STORE", 1, "hq",
     [](const Arguments& a, const Options& o) { return verify(a[0], o); },
     "check everything in STORE",
     "Reads all runs and all their blocks in STORE. Names each one that is missing or damaged,\n"
     "and the files that it belongs to.\n"},
    {"restore", "STORE DEST", 2, "hqr",
     [](const Arguments& a, const Options& o) { return restore(a[0], a[1], o); },
     "restore a run from STORE in the directory DEST",
     "Restores the newest run in STORE in the directory DEST, which must be missing or empty.\n"
     "Nothing outside DEST is changed. Modes are restored as they were, set-user-ID bits\n"
     "included; files belong to the user who restores. A file with a damaged block is named\n"
     "and left out.\n"},
    {"next", "SCHEDULE", 1, "hn",
     [](const Arguments& a, const Options& o) { return next(a[0], o); },
     "tell when SCHEDULE is due next",
     "Prints the next times at which SCHEDULE is due, in local time and with its distance from\n"
     "UTC, one a line. SCHEDULE is one argument of five fields:\n"
     "\n"
     "  minute            0 to 59\n"
     "  hour              0 to 23\n"
     "  day of the month  1 to 31, or L for the last one\n"
     "  month             1 to 12, or jan to dec\n"
     "  weekday           0 to 7, from Sunday to Sunday, or sun to sat\n"
     "\n"
     "A field is '*' for all values, or a list with ',' of values and ranges: '0,30', 'mon-fri'.\n"
     "With '/N' behind it, '*' or a range means every Nth value of it: '8-18/2'. '5/15' is\n"
     "'5-59/15', with the field's last value. A field '-' has no value. '30 22 * * 1-5' is due\n"
     "at 22:30 from Monday to Friday.\n"
     "\n"
     "When the day of the month and the weekday are both something else than '*', a day is due\n"
     "that is either of them: '0 0 13 * fri' on each 13th and on each Friday.\n"
     "\n"
     "When clocks go forward, what is due at a time that is left out is due once, at the first\n"
     "moment after the gap. When they go back, a time that comes twice is due the first time.\n"
     "\n"
     "A SCHEDULE that is never due, such as '0 0 30 2 *', is a fault.\n"},
};

const option OPTIONS[] = {{"count", required_argument, nullptr, 'n'},
                          {"csv", no_argument, nullptr, 'c'},
                          {"help", no_argument, nullptr, 'h'},
                          {"no-wait", no_argument, nullptr, 'w'},
                          {"options", required_argument, nullptr, 'o'},
                          {"quiet", no_argument, nullptr, 'q'},
                          {"run", required_argument, nullptr, 'r'},
                          {"exclude", required_argument, nullptr, 'x'},
                          {"exclude-class", required_argument, nullptr, 'X'},
                          {}};

const char* option_help(char letter) {
    return letter == 'c'   ? "-c, --csv                  print CSV, for other programs"
           : letter == 'n' ? "-n, --count N              print N times, 1 to 1000, and not 5"
           : letter == 'o' ? "-o, --options FILE         take options from FILE, too"
           : letter == 'q' ? "-q, --quiet                no progress bar and no summary"
           : letter == 'r' ? "-r, --run NAME             restore this run and not the newest one"
           : letter == 'w' ? "-w, --no-wait              end when another save works on STORE"
           : letter == 'x' ? "-x, --exclude PATTERN      leave out what matches; may be repeated"
           : letter == 'X' ? "-X, --exclude-class CLASS  leave out the files of it; may be repeated"
                           : "-h, --help                 this text";
}

bool takes(const Command& command, int letter) {
    return std::strchr(command.options, letter) != nullptr;
}

int print_help() {
    std::puts("Usage: minibackup COMMAND [OPTION]... ARGUMENT...\n"
              "\n"
              "Saves directories in a store of compressed blocks, each of which is kept once.\n"
              "\n"
              "Commands:");
    for (const Command& command : COMMANDS) {
        std::printf("  %-8s%-14s%s\n", command.name, command.arguments, command.purpose);
    }
    std::puts(
        "\n"
        "'minibackup COMMAND --help' tells more about a command.\n"
        "\n"
        "Names are shown with '\\\\' for a backslash and '\\xhh' for each byte that is no UTF-8,\n"
        "or part of a control character, a line separator or a mark of text direction.\n"
        "\n"
        "Exit status: 0 done; 1 something could not be saved, restored or verified, and was\n"
        "named; 2 the command could not be done; 3 another save works on the store.");
    return DONE;
}

int print_help(const Command& command) {
    std::printf("Usage: minibackup %s [OPTION]... %s\n\n%s\nOptions:\n", command.name,
                command.arguments, command.help);
    for (const char* letter = command.options; *letter != 0; ++letter) {
        std::printf("  %s\n", option_help(*letter));
    }
    if (takes(command, 'X')) {
        std::printf("\nClasses:%s\n", exclusion_classes().c_str());
    }
    return DONE;
}

// What getopt_long has refused last. It tells a short option; a long one is unknown, not unique or
// has an argument although it takes none: then it tells what is in the table, 0 or the short form.
std::string refused_option(char** argv) {
    const auto is_refused = [](const option& known) { return known.val == optopt; };
    const bool is_long = std::any_of(std::begin(OPTIONS), std::end(OPTIONS), is_refused);
    return is_long ? argv[optind - 1] : std::string("-") + static_cast<char>(optopt);
}

int usage_error(const std::string& reason) {
    std::fprintf(stderr, "minibackup: %s\nTry 'minibackup --help'.\n", reason.c_str());
    return FAILED;
}

unsigned int read_count(const std::string& text) {
    constexpr unsigned int MAX = 1000;
    unsigned int count = 0;
    const bool is_number = text.find_first_not_of("0123456789") == std::string::npos &&
                           nuriccl::fromStr(count, text) && count >= 1 && count <= MAX;
    return is_number ? count : throw Error(text, "is no count from 1 to 1000");
}

void set(Options& options, int letter, const std::string& value) {
    if (letter == 'c') {
        options.csv = true;
    } else if (letter == 'n') {
        options.count = read_count(value);
    } else if (letter == 'q') {
        options.quiet = true;
    } else if (letter == 'r') {
        options.run = value;
    } else if (letter == 'w') {
        options.no_wait = true;
    } else if (letter == 'x') {
        options.exclusions.add_pattern(value);
    } else {
        options.exclusions.add_class(value);
    }
}

// Whether the option can stand in a file. Help is of no use there, and files in files might never
// end.
bool takes_in_file(const Command& command, const option& known) {
    return known.name != nullptr && takes(command, known.val) && known.val != 'h' &&
           known.val != 'o';
}

void add_options_of_file(const Command& command, const std::string& path, Options& options) {
    const Descriptor file = open_at(AT_FDCWD, path, O_RDONLY, path);
    for (const auto& [key, value] : read_settings(file.get(), path)) {
        const auto* const known =
            std::find_if(std::begin(OPTIONS), std::end(OPTIONS), [&, &key = key](const option& o) {
                return takes_in_file(command, o) && o.name == key;
            });
        if (known == std::end(OPTIONS)) {
            throw Error(path, std::string(command.name) + " has no option '" + readable(key) +
                                  "' for a file");
        }
        const bool yes_or_no = known->has_arg == no_argument;
        if (yes_or_no && value != "yes" && value != "no") {
            throw Error(path, key + " is neither 'yes' nor 'no'");
        }
        if (!yes_or_no || value == "yes") {
            set(options, known->val, value);
        }
    }
}

// Reads what stands behind the command, and does it.
int run_command(const Command& command, int argc, char** argv) {
    Options options;
    optind = 2;
    // The ':' in front keeps getopt_long from messages of its own, which show options as they are.
    for (int letter;
         (letter = getopt_long(argc, argv, ":chn:o:qr:wx:X:", OPTIONS, nullptr)) != -1;) {
        if (letter == ':') {
            return usage_error("an argument is missing behind '" + readable(argv[argc - 1]) + "'");
        }
        if (letter == '?') {
            return usage_error("there is no such option: '" + readable(refused_option(argv)) + "'");
        }
        if (!takes(command, letter)) {
            return usage_error(std::string(command.name) + " does not take this option");
        }
        if (letter == 'h') {
            return print_help(command);
        }
        const std::string value = optarg != nullptr ? optarg : "";
        if (letter == 'o') {
            add_options_of_file(command, value, options);
        } else {
            set(options, letter, value);
        }
    }
    const Arguments arguments(argv + optind, argv + argc);
    if (arguments.size() != command.argument_count) {
        return usage_error(std::string(command.name) + " takes the arguments " + command.arguments);
    }
    return command.run(arguments, options);
}

int run(int argc, char** argv) {
    const std::string name = argc > 1 ? argv[1] : "";
    if (name == "--help" || name == "-h") {
        return print_help();
    }
    if (name == "--version") {
        std::puts("minibackup " MINIBACKUP_VERSION);
        return DONE;
    }
    for (const Command& command : COMMANDS) {
        if (name == command.name) {
            return run_command(command, argc, argv);
        }
    }
    return usage_error(name.empty() ? "a command is missing"
                                    : "there is no command '" + readable(name) + "'");
}

int run_and_report(int argc, char** argv) {
    try {
        const int status = run(argc, argv);
        check(std::fflush(stdout), "standard output", "cannot write");
        return status;
    } catch (const std::bad_alloc&) {
        std::fputs("minibackup: out of memory\n", stderr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "minibackup: %s\n", error.what());
    }
    return FAILED;
}

} // namespace
} // namespace minibackup

int main(int argc, char** argv) {
    std::signal(SIGXFSZ, SIG_IGN); // a file size limit is an error like a full disk
    umask(077);                    // backups are for their owner's eyes only
    return minibackup::run_and_report(argc, argv);
}
