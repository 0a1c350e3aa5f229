#pragma once

/// @file
/// What a sub-command is, and what it gets and gives: its options and arguments, what it reads,
/// what it prints.
///
/// Sub-commands read in one of two ways:
///  - **Bytes** are a FILE or standard input, whole and as they are.
///  - **Items** are the arguments or, when there are none or one "-", the lines of standard input;
///    with the option `zero` what is in front of each NUL. Results are ended in the same way.
///
/// What is printed is written when it has come to some length and in the end, so that every failure
/// to write is seen.

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace nuriccl_tool {

/// Exit statuses.
constexpr int YES = 0;    ///< done, or the answer is yes
constexpr int NO = 1;     ///< the input is bad, or the answer is no
constexpr int FAILED = 2; ///< wrong usage, or trouble with the system

/// The input is not what it should be.
class BadInput : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The program was called in a wrong way.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Option {
    char letter;
    const char* name;
    const char* argument; ///< null: it takes none
    const char* purpose;
};

/// The option of all sub-commands that work on items.
constexpr Option ZERO = {'z', "zero", nullptr, "items end with NUL, not with a line feed"};

/// A call of a sub-command.
struct Call {
    std::string command;                 ///< its name, for messages
    std::map<char, std::string> options; ///< the argument of each option that was given
    std::vector<std::string> arguments;  ///< what is no option

    bool has(char letter) const { return options.count(letter) != 0; }

    /// The argument of the option; `otherwise` when it was not given.
    std::string option(char letter, const std::string& otherwise) const;

    /// A number that is the argument of an option.
    /// @throws UsageError when it is none from `min` to `max`
    unsigned int number(char letter, unsigned int otherwise, unsigned int min,
                        unsigned int max) const;

    /// One character that is the argument of an option.
    /// @throws UsageError when there is not exactly one
    char character(char letter, char otherwise) const;

    /// The bytes of the file that is the first argument, or of standard input.
    std::string bytes() const;

    /// The first argument, or standard input without the line feed at its end.
    std::string text() const;

    /// Whether items, or a text, come from standard input.
    bool reads_standard_input() const;

    std::vector<std::string> items() const;

    /// Prints an item with its end.
    void print(const std::string& item) const;

    /// Tells people on standard error what is wrong.
    void complain(const std::string& message) const;
};

constexpr std::size_t ANY_NUMBER = static_cast<std::size_t>(-1);

/// One of the things that a sub-command does.
struct Action {
    const char* name; ///< empty when the sub-command has no other
    const char* arguments;
    std::size_t min; ///< number of arguments
    std::size_t max;
    const char* purpose;
    std::function<int(const Call& call)> run; ///< returns the exit status
};

struct Command {
    const char* name;
    const char* purpose;
    std::vector<Action> actions;
    std::vector<Option> options;
    const char* help;
    const char* examples; ///< commands behind "$ ", each with what it prints; run by the tests
};

/// Does `action` for all items. A bad one is complained of, and the others are done.
/// @return YES, or NO when an item was bad or `action` false
int for_each_item(const Call& call, const std::function<bool(const std::string& item)>& action);

/// What runs an action that prints a text for each item.
std::function<int(const Call&)>
edit_items(const std::function<std::string(const std::string& item)>& edit);

/// What runs an action that answers by its exit status: whether all items are as asked for.
std::function<int(const Call&)> ask_items(bool (*is_so)(const std::string& item));

/// The bytes of a file; "-" is standard input.
/// @throws minibackup::Error
std::string read_file(const std::string& name);

/// What people call the file.
std::string title_of(const std::string& file);

/// @name Standard output
/// @throws minibackup::Error
/// @{
void print_bytes(const std::string& bytes);
/// Writes what was printed, and closes standard output if that was anything: some file systems tell
/// only now that they could not keep the data.
void close_output();
/// @}

} // namespace nuriccl_tool
