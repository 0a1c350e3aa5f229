// Address maps: what is read from any text, and what is written of any map, is what a model makes
// of it; and what is written comes back as far as the format can hold it. By streams and by files.

#include "fuzz.hpp"
#include "support/address_map_model.hpp"

#include <nuriccl/address_map.hpp>

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using address_map_model::entries_of;
using address_map_model::Entry;
using nuriccl::AddressMap;

// A file in memory, by name.
class File {
public:
    File() : descriptor_(memfd_create("address map", MFD_CLOEXEC)) {
        if (descriptor_ < 0) {
            throw std::runtime_error("no file in memory");
        }
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { close(descriptor_); }

    std::string name() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

    std::string text() const {
        std::ostringstream text;
        text << std::ifstream(name(), std::ios::binary).rdbuf();
        return text.str();
    }

private:
    int descriptor_;
};

AddressMap used_map() {
    AddressMap map;
    map["earlier"] = {"entry"};
    return map;
}

void check_saving(const AddressMap& map, const File& file) {
    const std::string expected = address_map_model::saved(map);
    std::ostringstream out;
    map.Save(out);
    FUZZ_REQUIRE(out.str() == expected);
    map.Save(file.name());
    FUZZ_REQUIRE(file.text() == expected);

    AddressMap loaded = used_map();
    loaded.Load(file.name());
    FUZZ_REQUIRE(entries_of(loaded) == address_map_model::loaded(expected));
}

// Names without addresses do not come back; all else that was read does.
void check_round_trip(const AddressMap& map) {
    std::vector<Entry> expected;
    for (const Entry& entry : entries_of(map)) {
        if (!entry.second.empty()) {
            expected.push_back(entry);
        }
    }
    std::stringstream stream;
    map.Save(stream);
    AddressMap back = used_map();
    back.Load(stream);
    FUZZ_REQUIRE(entries_of(back) == expected);
}

void check_text(const std::string& text, const File& file) {
    AddressMap map = used_map();
    std::istringstream in(text);
    map.Load(in);
    FUZZ_REQUIRE(entries_of(map) == address_map_model::loaded(text));
    FUZZ_REQUIRE(in.eof() && !in.bad());
    check_saving(map, file);
    check_round_trip(map);
}

// A map whose names and addresses hold anything.
AddressMap map_of(const std::string& bytes) {
    AddressMap map;
    FuzzInput input(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    const auto piece = [&input] {
        std::string text(input.byte() % 6U, '\0');
        for (char& c : text) {
            c = static_cast<char>(input.byte());
        }
        return text;
    };
    while (!input.empty()) {
        address_map_model::Addresses& addresses = map[piece()];
        for (unsigned int count = input.byte() % 4U; count != 0; --count) {
            addresses.push_back(piece());
        }
    }
    return map;
}

// Lines have parts, and names come twice.
constexpr char COMMON[] = "aAbB01.:|||,,\n\n\r ";

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const File file;
    const std::string text = text_of(data, size);
    check_text(text, file);
    check_text(spelled(text, COMMON), file);
    check_saving(map_of(text), file);
    return 0;
}
