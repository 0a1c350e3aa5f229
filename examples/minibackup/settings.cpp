#include "settings.hpp"

#include "system/names.hpp"
#include "system/os.hpp"

#include <map>
#include <nuriccl/string.hpp>
#include <nuriccl/util.hpp>

namespace minibackup {

namespace {

using nuriccl::to_str;

constexpr std::size_t FILE_SIZE_MAX = 0x10000;

std::string read_text(int file, const std::string& path) {
    std::string text(FILE_SIZE_MAX + 1, '\0');
    text.resize(read_whole(file, text.data(), text.size(), path));
    if (text.size() > FILE_SIZE_MAX) {
        throw Error(path, "is longer than " + to_str(FILE_SIZE_MAX) + " bytes");
    }
    return text;
}

// Whether the line is three words, of which keyed values would leave out those around them. What
// follows a line is a word of its own only when no quote and no escape was left open.
bool is_three_words(const std::string& line) {
    const std::string text = line + " .";
    const char* cursor = text.c_str();
    int count = 0;
    for (std::string word; nuriccl::string::unixshellstring_get_word(&cursor, word);) {
        ++count;
    }
    return count == 4 && cursor == text.c_str() + text.size();
}

} // namespace

std::vector<Setting> read_settings(int file, const std::string& path) {
    std::vector<std::string> lines;
    nuriccl::string::split(read_text(file, path), '\n', lines);
    std::vector<Setting> settings;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        const std::size_t start = line.find_first_not_of(nuriccl::string::WHITESPACE);
        if (start == std::string::npos || line[start] == '#') {
            continue;
        }
        std::map<std::string, std::string> pair;
        if (nuriccl::string::unixshellstring_get_keyed_values(line.c_str(), pair) != 1 ||
            !is_three_words(line)) {
            throw Error(path,
                        "line " + to_str(i + 1) + " is not KEY = VALUE: '" + readable(line) + '\'');
        }
        settings.push_back({pair.begin()->first, pair.begin()->second});
    }
    return settings;
}

} // namespace minibackup
