#include <nuriccl/address_map.hpp>
#include <nuriccl/file.hpp>

#include <fstream>
#include <istream>
#include <ostream>
#include <utility>

namespace nuriccl {

namespace {

constexpr char kKeyValueSeparator = '|';
constexpr char kListSeparator = ',';

constexpr int MESSAGE_SET = 60;
constexpr auto SEVERITY = static_cast<I18NMessage::MessageSeverity>(3); // an error
constexpr int CANNOT_OPEN_FOR_READING = 4144;
constexpr int CANNOT_OPEN_FOR_WRITING = 4145;
constexpr int READING_FAILED = 8267;
constexpr int WRITING_FAILED = 8268;

VI18NError stream_error(int number) { return {MESSAGE_SET, number, SEVERITY}; }

VI18NError file_error(int number, const std::string& file_name) {
    return {MESSAGE_SET, number, SEVERITY, I18NMessage::Parameter(file_name.c_str())};
}

std::string line_of(const AddressMap::value_type& entry) {
    std::string line = entry.first + kKeyValueSeparator;
    for (const std::string& address : entry.second) {
        line += address;
        line += kListSeparator;
    }
    line.pop_back(); // the separator behind the last address or, without one, behind the name
    return line;
}

} // namespace

void AddressMap::Save(std::ostream& out) const {
    for (const value_type& entry : *this) {
        if (out.bad()) {
            throw stream_error(WRITING_FAILED);
        }
        const std::string line = line_of(entry);
        out.write(line.data(), static_cast<std::streamsize>(line.size())) << std::endl;
    }
}

void AddressMap::Load(std::istream& in) {
    clear();
    std::string line;
    do {
        std::getline(in, line);
        if (in.bad()) {
            throw stream_error(READING_FAILED);
        }
        const std::string::size_type separator = line.find(kKeyValueSeparator);
        if (separator != std::string::npos) {
            std::vector<std::string> addresses;
            if (separator + 1 != line.size()) {
                string::split(line.substr(separator + 1), kListSeparator, addresses);
            }
            emplace(line.substr(0, separator), std::move(addresses));
        }
    } while (in.good());
}

void AddressMap::Save(const std::string& file_name) const {
    std::fstream file(file_name, std::ios_base::in | std::ios_base::out | std::ios_base::trunc);
    if (!file) {
        throw file_error(CANNOT_OPEN_FOR_WRITING, file_name);
    }
    Save(file);
    file.close();
    if (!file) { // the last line, or what the file system tells on closing
        throw stream_error(WRITING_FAILED);
    }
}

void AddressMap::Load(const std::string& file_name) {
    if (!File::exists(file_name)) {
        return;
    }
    std::ifstream file(file_name);
    if (!file) {
        throw file_error(CANNOT_OPEN_FOR_READING, file_name);
    }
    Load(file);
}

} // namespace nuriccl
