#pragma once

/// @file
/// Lists of text fields kept as one line of text, in the manner of CSV (RFC 4180).
///
/// Use it for records that people and other programs read. Fields may hold anything: one with a
/// separator, a quote or a line break is written in quotes, and quotes in it are doubled. Two
/// things are lost on the way back: an empty first field that is not quoted, and an empty last
/// field. Quote every field (`to_str(true)`) to keep them, or use `Base64Wrapper` for bytes. A
/// separator that may begin within the end of a field ("aa" behind "ba") wants all fields quoted,
/// too.
///
///     fields   a    b,c      say "hi"            line   a,"b,c","say ""hi"""
///
/// `FSVList` has the usual settings; `QuoteStringCSV` and `DequoteStringCSV` do the work for one
/// field each and take every setting as an argument. A class derived from `FSVList` may change its
/// settings.
///
/// Thread safety: thread-compatible. `CSV_QuoteChar` and `CSV_SpecialChars` are set before threads
/// start that use them.
///
/// @code{.cpp}
/// nuriccl::FSVList list;
/// assert(list.parse("a,\"b,c\"").to_list() == (std::vector<std::string>{"a", "b,c"}));
/// assert(list.to_str() == "a,\"b,c\"" && list.to_str(true) == "\"a\",\"b,c\"");
/// @endcode

#include <nuriccl/export.hpp>

#include <string>
#include <vector>

namespace nuriccl {

/// A list of fields, and the rules by which it is read and written. See the top of fsvlist.hpp.
class NURICCL_API FSVList {
public:
    /// What new lists quote with; '"' at start.
    static char CSV_QuoteChar;

    /// A set of special characters for callers of `QuoteStringCSV` and `DequoteStringCSV`, ",". No
    /// list uses it.
    static std::string CSV_SpecialChars;

    /// An empty list; see `field_separator`.
    explicit FSVList(const std::string& separator = "");

    /// Sets what stands between fields; the empty text sets ",". It ends at its first NUL.
    /// @throws std::bad_alloc with the list as it was
    FSVList& field_separator(const std::string& separator);

    /// Replaces the fields by those of the line, as `DequoteStringCSV` reads them. The empty text
    /// has no fields. Linear in the length of the text.
    ///
    /// @param text            the line
    /// @param literal_quotes  whether quotes are ordinary characters
    /// @throws std::bad_alloc with the fields as they were
    FSVList& parse(const std::string& text, bool literal_quotes = false);

    /// The fields as one line, as `QuoteStringCSV` writes them. Fields in front of the first one
    /// that leaves a trace are lost: the fields "" and "b" give "b".
    ///
    /// @param quote_all  whether every field is quoted
    /// @throws std::bad_alloc, std::length_error
    /// @throws std::out_of_range as `QuoteStringCSV`, when a derived class has set such characters
    std::string to_str(bool quote_all = false) const;

    /// A copy of the fields.
    std::vector<std::string> to_list() const;

    /// Appends a field to a line: the separator if the line is not empty, and the field, quoted and
    /// escaped as it has to be. Null texts are empty ones. When `field` is `out` itself, it is
    /// quoted and escaped in place.
    ///
    /// A field is quoted when it holds the quote character, a special character, the separator, or
    /// a line feed or carriage return that is not escaped. With an escape character, NUL, the
    /// escape character itself and the characters of `escape_set` are written as that and '0' for
    /// NUL, 'n' for a line feed, 'r' for a carriage return, the character for any other.
    ///
    /// @param field             the field
    /// @param out               the line so far
    /// @param quote             stands around a quoted field, and twice in it for itself; 0 for
    ///                          none: fields that would be quoted are only escaped
    /// @param separator         stands between fields
    /// @param specials          characters that have a field quoted
    /// @param escape            the escape character; 0 for none
    /// @param escape_set        characters to escape; it and `escape` must not hold special
    ///                          characters nor the first character of the separator
    /// @param quote_blank_ends  whether a blank (C `isspace`) at an end has a field quoted
    /// @param quote_always      whether every field is quoted
    /// @return false when the field stands there unchanged
    /// @throws std::out_of_range when what has the field quoted is to be escaped at the same time:
    ///         a special character, or the separator in a field that nothing in front of it has
    ///         quoted. As after std::bad_alloc and std::length_error `out` is as it was then.
    static bool QuoteStringCSV(const std::string& field, std::string& out, char quote,
                               const char* separator, const char* specials, char escape,
                               const char* escape_set, bool quote_blank_ends, bool quote_always);

    /// Reads a field from a line. Null texts are empty ones. When `text` is `out` itself, the field
    /// is written in place, from where it starts, and the line keeps its length.
    ///
    /// Quotes are dropped wherever they stand, a doubled one in quotes is one; what stands around a
    /// quoted section belongs to the field. Outside quotes a separator ends the field, and so does
    /// a terminator: it is not part of the field, unless the field starts with it, when it is the
    /// whole field. Behind the escape character 'n', 'r', 't' and '0' are a line feed, a carriage
    /// return, a tab and NUL, every other character is itself.
    ///
    /// @param position      in: where the field starts; out: where the next one starts, or
    ///                      `static_cast<unsigned int>(std::string::npos)` at the end of the text.
    ///                      A separator that ends the text has no field behind it, and a start at
    ///                      or behind the end gives an empty one.
    /// @param text          the line
    /// @param out           receives the field
    /// @param field_start   null, or receives the position that was given
    /// @param field_length  null, or receives the length of a field that was read in place, else 0
    /// @param quote         the quote character; 0 for none
    /// @param separator     stands between fields; empty for none
    /// @param escape        the escape character; 0 for none
    /// @param terminators   characters that end a field, too
    /// @param drop_plain    whether to drop all that is neither escaped nor a doubled quote nor a
    ///                      terminator
    /// @return false when the field stands in `out` as it stood in the text
    /// @throws std::bad_alloc with the field so far in `out`
    static bool DequoteStringCSV(unsigned int& position, const std::string& text, std::string& out,
                                 unsigned int* field_start, unsigned int* field_length, char quote,
                                 const char* separator, char escape, const char* terminators,
                                 bool drop_plain);

protected:
    std::vector<std::string> fields_; ///< in the order of the line
    std::string separator_;           ///< never empty
    std::string specials_;            ///< have a field quoted; end a field that is read
    std::string escape_set_;          ///< written with the escape character
    char quote_ = CSV_QuoteChar;      ///< 0: no quoting
    char escape_ = 0;                 ///< 0: no escapes
    bool drop_plain_ = false;         ///< when reading
    bool quote_blank_ends_ = false;   ///< when writing
};

} // namespace nuriccl
