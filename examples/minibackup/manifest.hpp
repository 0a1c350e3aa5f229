#pragma once

/// @file
/// The manifest of a run: what the saved tree looks like and which blocks its files are made of.
///
/// It is text, a record on each line, its fields separated by one blank and quoted where they have
/// to be (see fields.hpp). MTIME is three fields: seconds since 1970, nanoseconds, and the same as
/// a time stamp, which is for people and not read. Names are encoded (see names.hpp).
///
///     minibackup manifest 1
///     saved MTIME
///     source NAME                  the directory that was saved, as it was called
///     dir MODE MTIME NAME          a directory; what follows is in it, up to its
///     leave
///     link MODE MTIME NAME TARGET  a symbolic link
///     file MODE MTIME NAME         a regular file; what follows is its content, up to its
///     block SIGNATURE LENGTH       a block of the store
///     zeros LENGTH                 zero bytes, which are stored nowhere
///     end LENGTH                   sum of the lengths
///     signature SIGNATURE          of all lines before
///
/// The first entry is the directory "."; everything else is in it. A name is one component of a
/// path: neither empty nor "." or "..", without '/' and NUL. Modes are octal, 12 bits.
///
/// The separator is a blank and not the usual comma because a manifest is for the eye, too, and its
/// lines are mostly words and numbers. Each field has one form: one that is written in another, a
/// number with a zero in front or a name in quotes that needs none, is damage.
///
/// The program was not released yet, and until it is, version 1 changes without a new number. It
/// has changed last in the form of names. A store with manifests from before is to be made anew.
///
/// Both classes handle a manifest as a stream, in constant memory.

#include "fields.hpp"
#include "store.hpp"

#include <cstdint>
#include <fstream>
#include <nuriccl/signature.hpp>
#include <optional>
#include <string>
#include <vector>

namespace minibackup {

constexpr char FIELD_SEPARATOR = ' ';

struct Record {
    enum class Kind { DIRECTORY, LEAVE, LINK, FILE, BLOCK, ZEROS, END };

    Kind kind = Kind::LEAVE;
    mode_t mode = 0;
    timespec mtime = {};
    std::string name;
    std::string target;
    std::string signature;
    std::uint64_t length = 0;
};

/// Files, and bytes in them.
struct Totals {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
};

class ManifestWriter {
public:
    /// Starts the manifest of a run in a store, which must outlive it.
    ManifestWriter(StoreWriter& store, const std::string& source);

    /// Adds a record. Zeros in a row are joined.
    void write(const Record& record);

    /// Takes back the file that was begun last and has not ended.
    void abandon_file();

    /// Signs the manifest and publishes the run. Nothing may be written any more.
    /// @return the name of the run
    std::string finish();

private:
    void write_entry(const Record& record);
    void line(std::vector<std::string> fields);
    void flush();

    StoreWriter& store_;
    const timespec time_ = now();
    Descriptor file_;
    std::string buffer_;           // what is not written yet
    std::uint64_t written_ = 0;    // bytes
    std::uint64_t file_start_ = 0; // where the record of the last file begins
    std::uint64_t zeros_ = 0;      // bytes of the last file that no record tells of yet
};

class ManifestReader {
public:
    /// Opens the manifest of a run and reads through it once, to find every fault it has.
    /// @throws Error when it was altered, or breaks the rules although its signature is right
    ManifestReader(const Store& store, const std::string& run);

    const timespec& time() const noexcept { return time_; }
    const std::string& source() const noexcept { return source_; }
    const Totals& totals() const noexcept { return totals_; }

    /// The next entry, or the end of a directory; what is left of a file is skipped.
    /// @return false at the end
    bool next(Record& record);

    /// The next piece of the file that `next` has told of last.
    /// @return false at the end of the file
    bool next_piece(Record& record);

    /// Path of the entry that `next` has told of last, below the source.
    const std::string& path() const noexcept { return path_; }

private:
    void start();
    bool read(Record& record);
    void read_entry(Record& record);
    void read_piece(Record& record);
    void read_time(timespec& time, std::size_t field) const;
    bool next_line();
    bool read_line();
    void require(bool rule) const;

    const std::string file_path_;
    std::ifstream file_;
    std::optional<nuriccl::Signature> signature_; // of the lines so far
    std::string line_;
    std::uint64_t line_number_ = 0;
    FieldList fields_{FIELD_SEPARATOR}; // of the line

    timespec time_ = {};
    std::string source_;
    Totals totals_;

    bool begun_ = false; // the first entry was met
    std::string path_;
    std::vector<std::size_t> open_; // lengths of the paths of the directories that were not left
    bool in_file_ = false;
    std::uint64_t file_size_ = 0; // of the pieces so far
};

} // namespace minibackup
