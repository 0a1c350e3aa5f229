#pragma once

/// @file
/// What an address map has to write, and what it has to make of a text; the tests and the fuzz
/// target hold the library against it.

#include <nuriccl/address_map.hpp>
#include <nuriccl/string.hpp>

#include <cstddef>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace address_map_model {

using nuriccl::AddressMap;

using Addresses = std::vector<std::string>;
using Entry = std::pair<std::string, Addresses>;

/// Entries with the spelling of their names, in the map's order.
inline std::vector<Entry> entries_of(const AddressMap& map) { return {map.begin(), map.end()}; }

inline std::string upper(std::string text) {
    nuriccl::string::NormalizeNameCaseInsensitive(text);
    return text;
}

/// An entry's line.
inline std::string line_of(const Entry& entry) {
    std::string line = entry.first + '|';
    for (const std::string& address : entry.second) {
        line += address + ',';
    }
    return line.substr(0, line.size() - 1) + '\n';
}

inline std::string saved(const AddressMap& map) {
    std::string text;
    for (const Entry& entry : entries_of(map)) {
        text += line_of(entry);
    }
    return text;
}

/// The entries in a text, by their upper-case names.
inline std::vector<Entry> loaded(const std::string& text) {
    std::map<std::string, Entry> entries;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t separator = line.find('|');
        if (separator == std::string::npos) {
            continue;
        }
        Addresses addresses;
        std::string rest = line.substr(separator + 1);
        if (!rest.empty()) {
            rest += ',';
            for (std::size_t end; (end = rest.find(',')) != std::string::npos;) {
                addresses.push_back(rest.substr(0, end));
                rest.erase(0, end + 1);
            }
        }
        const std::string name = line.substr(0, separator);
        entries.insert({upper(name), {name, addresses}});
    }
    std::vector<Entry> in_order;
    in_order.reserve(entries.size());
    for (const auto& [key, entry] : entries) {
        in_order.push_back(entry);
    }
    return in_order;
}

} // namespace address_map_model
