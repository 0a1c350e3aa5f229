// Writes a catalogue of saved files as text, a line for each, and reads it back: names may hold
// commas, quotes and line breaks, and any field may be empty.
//
// usage: fsvlist [LINE]     reads one line of a catalogue; without it, writes some and reads them

#include <nuriccl/fsvlist.hpp>

#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

struct Entry {
    std::string name;
    std::string size;
    std::string note;
};

// A list whose line is one line whatever the fields hold: line breaks are written as escapes.
class CatalogueLine : public nuriccl::FSVList {
public:
    CatalogueLine() {
        escape_ = '\\';
        escape_set_ = "\n\r";
    }

    // With all fields in quotes, since empty ones at the ends would be lost otherwise.
    std::string write(const Entry& entry) {
        fields_ = {entry.name, entry.size, entry.note};
        return to_str(true);
    }

    Entry read(const std::string& line) {
        std::vector<std::string> fields = parse(line).to_list();
        if (fields.size() != 3) {
            throw std::runtime_error("not a line of the catalogue: " + line);
        }
        return {std::move(fields[0]), std::move(fields[1]), std::move(fields[2])};
    }
};

void show(const Entry& entry) {
    std::cout << "name [" << entry.name << "] size [" << entry.size << "] note [" << entry.note
              << "]\n";
}

} // namespace

int main(int argc, char** argv) {
    try {
        CatalogueLine line;
        if (argc > 1) {
            show(line.read(argv[1]));
            return 0;
        }
        const Entry entries[] = {{"report, final.txt", "5120", ""},
                                 {"the \"old\" plan", "0", "C:\\plans"},
                                 {"", "17", "a name\nthat was lost"}};
        for (const Entry& entry : entries) {
            const std::string text = line.write(entry);
            std::cout << text << '\n';
            show(line.read(text));
        }
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
