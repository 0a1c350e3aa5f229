#pragma once

/// @file
/// Small text files of settings: the format of a store, and options of a save.
///
///     # what a comment says
///     KEY = VALUE
///     KEY = "VALUE with blanks, '=', quotes \" or a backslash \\"
///
/// Each line that is neither blank nor a comment has one key and one value, both words as
/// `nuriccl::string::unixshellstring_get_word` reads them: quotes of either kind keep a word
/// together, and a backslash, also in quotes, lets the next character stand for itself. There are
/// no empty values, and a quote or backslash that is left open at the end of its line is a fault. A
/// key may come more than once.

#include <string>
#include <vector>

namespace minibackup {

struct Setting {
    std::string key;
    std::string value;
};

/// The settings in a file that is open at its beginning, in their order.
/// @throws Error when it cannot be read, is longer than such a file can be, or holds anything else
std::vector<Setting> read_settings(int file, const std::string& path);

} // namespace minibackup
