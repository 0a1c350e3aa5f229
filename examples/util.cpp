// Reads settings into typed values, strictly: fromStr takes more than people mean ("80x" is 80,
// "-1" a large number), so what counts is checked first. The settings are printed as they read
// back.
//
// usage: util [NAME=VALUE...]     names: port, mask (hexadecimal), compress, since

#include <nuriccl/util.hpp>

#include <iostream>
#include <string>

namespace {

struct Settings {
    unsigned short port = 1500;
    unsigned int mask = 0xff00;
    bool compress = true;
    isotime since{}; // no time
};

const char* const DECIMAL = "0123456789";
const char* const HEXADECIMAL = "0123456789abcdefABCDEF";

template <class Number>
bool read_number(Number& number, const std::string& text, const char* digits) {
    // With digits alone, what is left to go wrong is the size of the number.
    Number value = 0;
    const bool read = !text.empty() && text.find_first_not_of(digits) == std::string::npos &&
                      nuriccl::fromStr(value, text, digits == DECIMAL ? std::dec : std::hex);
    number = read ? value : number;
    return read;
}

bool read_time(isotime& time, const std::string& text) {
    isotime value{};
    // Separators are not looked at in reading: a text that was one is printed as it was.
    const bool read = nuriccl::fromStr(value, text) && nuriccl::to_str(value) == text;
    time = read ? value : time;
    return read;
}

bool set(Settings& settings, const std::string& name, const std::string& value) {
    return name == "port"       ? read_number(settings.port, value, DECIMAL)
           : name == "mask"     ? read_number(settings.mask, value, HEXADECIMAL)
           : name == "compress" ? nuriccl::fromStr(settings.compress, value)
           : name == "since"    ? read_time(settings.since, value)
                                : false;
}

} // namespace

int main(int argc, char** argv) {
    Settings settings;
    int faults = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string setting = argv[i];
        const std::string::size_type equals = setting.find('=');
        if (equals == std::string::npos ||
            !set(settings, setting.substr(0, equals), setting.substr(equals + 1))) {
            std::cerr << "not understood: " << setting << '\n';
            ++faults;
        }
    }
    std::cout << "port=" << nuriccl::to_str(static_cast<unsigned int>(settings.port))
              << "\nmask=" << nuriccl::to_str(settings.mask, std::hex)
              << "\ncompress=" << nuriccl::to_str(settings.compress)
              << "\nsince=" << nuriccl::to_str(settings.since) << '\n';
    return faults == 0 ? 0 : 1;
}
