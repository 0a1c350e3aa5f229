#pragma once

/// @file
/// A map from names, compared regardless of case, to lists of addresses, kept in a small text file.
///
/// Use it for tables that people edit and an agent reads. Names and addresses are written as they
/// are, without quoting: what holds a character of the format does not survive. For fields of any
/// content use `FSVList`.
///
///     Alpha|10.0.0.1,host2      a name, '|', the addresses joined by ','
///     beta                      a name without addresses; it is not read back
///
/// It is a `std::map`, and used as one; the four functions below save and load it.
///
/// Thread safety: thread-compatible.
///
/// @code{.cpp}
/// nuriccl::AddressMap map;
/// map["Alpha"] = {"10.0.0.1", "host2"};
/// std::stringstream stream;
/// map.Save(stream);
/// nuriccl::AddressMap copy;
/// copy.Load(stream);
/// assert(copy.at("ALPHA") == map["alpha"]);
/// @endcode

#include <nuriagent/message.hpp>
#include <nuriccl/export.hpp>
#include <nuriccl/string.hpp>

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

namespace nuriccl {

/// Errors are `VI18NError` of message set 60 and the severity `I18NMessage::error`:
///
/// | number | thrown by | when | parameter |
/// |---|---|---|---|
/// | 4144 | `Load` of a file | it is there, but cannot be opened | its name |
/// | 4145 | `Save` to a file | it cannot be opened, for reading and writing | its name |
/// | 8267 | both forms of `Load` | the stream turns bad, as that of a directory does | none |
/// | 8268 | both forms of `Save` | the stream turns bad | none |
///
/// A stream that is told to throw (`exceptions`) throws exceptions of its own.
class NURICCL_API AddressMap
    : public std::map<std::string, std::vector<std::string>, string::CaseInsensitiveCompare> {
public:
    /// Writes a line for each entry, in the map's order, and flushes each. An entry without
    /// addresses is written as its name alone; what holds '|', ',' or a line feed does not read
    /// back as it was.
    ///
    /// The stream's bad bit is looked at in front of each line: what becomes of the last line, ask
    /// the stream.
    ///
    /// @throws VI18NError 8268; the lines so far are written
    /// @throws std::bad_alloc
    void Save(std::ostream& out) const;

    /// Replaces the map by the entries of the lines that are left in the stream.
    ///
    /// A line is cut at its first '|' and behind that at every ','; nothing behind '|' is an empty
    /// list, otherwise empty addresses are kept. A line without '|' is passed over, and so is one
    /// whose name was read before, in whatever case. Nothing is trimmed: a carriage return in front
    /// of the line feed belongs to the last address.
    ///
    /// @throws VI18NError 8267, also when there is no memory for a line; the map holds the entries
    ///         so far, as it does after std::bad_alloc
    void Load(std::istream& in);

    /// Saves to a file, which is made or emptied first. To keep the old one until the new one is
    /// whole, save under another name and rename that.
    /// @throws VI18NError 4145, and 8268 when the file could not be written to its end
    void Save(const std::string& file_name) const;

    /// Loads from a file. If there is none (`File::exists`), the map stays as it is.
    /// @throws VI18NError 4144, with the map as it was, and 8267
    void Load(const std::string& file_name);
};

} // namespace nuriccl
