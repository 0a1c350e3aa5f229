#pragma once

/// @file
/// Lines of fields with a separator between them, in the manner of CSV: a field stands in quotes
/// when it holds the separator, a quote or a line break, and a quote in it is doubled.

#include <algorithm>
#include <cstddef>
#include <nuriccl/fsvlist.hpp>
#include <string>
#include <utility>
#include <vector>

namespace minibackup {

/// The fields of a line, of which none is empty.
class FieldList : nuriccl::FSVList {
public:
    explicit FieldList(char separator) : FSVList({separator}) {}

    std::size_t size() const noexcept { return fields_.size(); }
    const std::string& operator[](std::size_t i) const { return fields_[i]; }

    /// Takes the fields and returns their line.
    std::string write(std::vector<std::string> fields) {
        fields_ = std::move(fields);
        return to_str();
    }

    /// Takes the fields of a line.
    /// @return false when the line is not what `write` makes of any fields
    bool read(const std::string& line) {
        const auto is_empty = [](const std::string& field) { return field.empty(); };
        return parse(line).to_str() == line &&
               std::none_of(fields_.begin(), fields_.end(), is_empty);
    }
};

} // namespace minibackup
