// Reads an options file as people write them: blanks anywhere, comments, quotes around values with
// blanks, and names in any case, of which the first one counts.
//
// usage: string [FILE]     without a file: reads a small one that it brings along

#include <nuriccl/string.hpp>

#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace text = nuriccl::string;

using Options = std::map<std::string, std::string, text::CaseInsensitiveCompare>;

const char* const SAMPLE = "# the nightly run\n"
                           "  Server  = backup7.example.net\r\n"
                           "label = \"Night of the accounts\"\n"
                           "EXCLUDE = '/tmp,/var/cache,,/proc'\n"
                           "Label = spare\n"
                           "verbose\n";

// The number of lines that are no option is added to `faults`.
Options read_options(std::istream& in, int& faults) {
    Options options;
    for (std::string line; std::getline(in, line);) {
        text::crop_both(line, text::WHITESPACE);
        if (line.empty() || line[0] == '#') {
            continue;
        }
        std::map<std::string, std::string> pairs;
        if (text::unixshellstring_get_keyed_values(line.c_str(), pairs) != 1) {
            std::cerr << "no option: " << line << '\n';
            ++faults;
            continue;
        }
        options.insert(pairs.begin(), pairs.end());
    }
    return options;
}

} // namespace

int main(int argc, char** argv) {
    std::ifstream file(argc > 1 ? argv[1] : "");
    std::istringstream sample(SAMPLE);
    if (argc > 1 && !file) {
        std::cerr << "cannot read " << argv[1] << '\n';
        return 2;
    }
    int faults = 0;
    const Options options = argc > 1 ? read_options(file, faults) : read_options(sample, faults);
    for (const auto& [name, value] : options) {
        std::cout << text::format_string("%-8s %s\n", name.c_str(), value.c_str());
    }
    if (const auto exclude = options.find("exclude"); exclude != options.end()) {
        std::vector<std::string> paths;
        text::tokenize(exclude->second, paths, ","); // drops the empty one
        for (const std::string& path : paths) {
            std::cout << "left out: " << path << '\n';
        }
    }
    return faults == 0 ? 0 : 1;
}
