#include "manifest.hpp"

#include "system/names.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <nuriccl/util.hpp>
#include <unistd.h>

namespace minibackup {

namespace {

using nuriccl::Signature;
using nuriccl::to_str;
using Kind = Record::Kind;

const std::string FIRST_LINE_START = "minibackup manifest ";
const std::string FIRST_LINE = FIRST_LINE_START + "1";
const std::string SIGNATURE_START = "signature ";

// First fields of the records and how many fields they have, by kind.
const std::array<std::string, 7> KINDS = {"dir", "leave", "link", "file", "block", "zeros", "end"};
constexpr std::array<std::size_t, 7> FIELD_COUNTS = {6, 1, 7, 6, 3, 2, 2};

constexpr std::size_t WRITE_SIZE = 0x10000;
constexpr std::uint64_t FILE_SIZE_MAX = std::numeric_limits<std::int64_t>::max();

// Reads a number in its only form.
template <class Number>
bool parse(Number& number, const std::string& field, int radix = 10) {
    const char* const end = field.data() + field.size();
    const auto [stop, error] = std::from_chars(field.data(), end, number, radix);
    std::array<char, 24> digits;
    const auto written = std::to_chars(digits.begin(), digits.end(), number, radix);
    return error == std::errc() && stop == end && field == std::string(digits.begin(), written.ptr);
}

const unsigned char* to_bytes(const char* text) {
    return reinterpret_cast<const unsigned char*>(text);
}

bool is_component(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

} // namespace

// Writing

ManifestWriter::ManifestWriter(StoreWriter& store, const std::string& source)
    : store_(store), file_(store.create_manifest()), buffer_(FIRST_LINE + '\n') {
    line({"saved", to_str(time_.tv_sec), to_str(time_.tv_nsec), time_text(time_)});
    line({"source", encode_name(source)});
}

void ManifestWriter::write(const Record& record) {
    const std::string& kind = KINDS[static_cast<std::size_t>(record.kind)];
    if (record.kind == Kind::ZEROS) {
        zeros_ += record.length;
        return;
    }
    if (zeros_ != 0) {
        line({"zeros", to_str(zeros_)});
        zeros_ = 0;
    }
    if (record.kind == Kind::LEAVE) {
        line({kind});
    } else if (record.kind == Kind::BLOCK) {
        line({kind, record.signature, to_str(record.length)});
    } else if (record.kind == Kind::END) {
        line({kind, to_str(record.length)});
    } else {
        write_entry(record);
    }
}

void ManifestWriter::write_entry(const Record& record) {
    std::vector<std::string> fields = {KINDS[static_cast<std::size_t>(record.kind)],
                                       to_str(record.mode, std::oct),
                                       to_str(record.mtime.tv_sec),
                                       to_str(record.mtime.tv_nsec),
                                       time_text(record.mtime),
                                       encode_name(record.name)};
    if (record.kind == Kind::LINK) {
        fields.push_back(encode_name(record.target));
    }
    file_start_ = written_ + buffer_.size();
    line(std::move(fields));
}

void ManifestWriter::abandon_file() {
    zeros_ = 0;
    if (file_start_ >= written_) {
        buffer_.resize(static_cast<std::size_t>(file_start_ - written_));
        return;
    }
    check(ftruncate(file_.get(), static_cast<off_t>(file_start_)), store_.path(), "cannot shorten");
    seek(file_.get(), file_start_, store_.path());
    written_ = file_start_;
    buffer_.clear();
}

std::string ManifestWriter::finish() {
    flush();
    std::ifstream written(store_.manifest_path(), std::ios::binary);
    const std::string signature = Signature::of(written);
    // A stream that fails is signed like an empty one.
    check(written.eof() && !written.bad() ? 0 : -1, store_.path(), "cannot read the manifest");
    buffer_ = SIGNATURE_START + signature + '\n';
    flush();
    close_written(std::move(file_), store_.path());
    return store_.publish(time_);
}

void ManifestWriter::line(std::vector<std::string> fields) {
    buffer_.append(FieldList(FIELD_SEPARATOR).write(std::move(fields))) += '\n';
    if (buffer_.size() >= WRITE_SIZE) {
        flush();
    }
}

void ManifestWriter::flush() {
    write_whole(file_.get(), buffer_, store_.path());
    written_ += buffer_.size();
    buffer_.clear();
}

// Reading

ManifestReader::ManifestReader(const Store& store, const std::string& run)
    : file_path_(store.path_of(run)), file_(file_path_, std::ios::binary) {
    check(file_ ? 0 : -1, file_path_, "cannot open");
    start();
    Record piece;
    for (Record entry; next(entry);) {
        totals_.files += entry.kind == Kind::FILE;
        while (next_piece(piece)) {
            totals_.bytes += piece.length;
        }
    }
    start();
}

void ManifestReader::start() {
    file_.clear();
    file_.seekg(0);
    signature_.emplace();
    line_number_ = 0;
    begun_ = false;
    require(next_line() && line_.compare(0, FIRST_LINE_START.size(), FIRST_LINE_START) == 0);
    if (line_ != FIRST_LINE) {
        throw Error(file_path_,
                    "is a '" + readable(line_) + "'; this program knows version 1 only");
    }
    require(read_line() && fields_.size() == 4 && fields_[0] == "saved");
    read_time(time_, 1);
    require(read_line() && fields_.size() == 2 && fields_[0] == "source");
    require(decode_name(source_, fields_[1]));
}

bool ManifestReader::next(Record& record) {
    bool found = read(record);
    while (found && record.kind >= Kind::BLOCK) {
        found = read(record);
    }
    return found;
}

bool ManifestReader::next_piece(Record& record) {
    return in_file_ && read(record) && record.kind != Kind::END;
}

bool ManifestReader::read(Record& record) {
    if (!read_line()) {
        require(begun_ && open_.empty());
        return false;
    }
    const auto kind =
        static_cast<std::size_t>(std::find(KINDS.begin(), KINDS.end(), fields_[0]) - KINDS.begin());
    require(kind < KINDS.size() && fields_.size() == FIELD_COUNTS[kind]);
    record.kind = static_cast<Kind>(kind);
    require(in_file_ == (record.kind >= Kind::BLOCK));
    require(begun_ != open_.empty());
    if (in_file_) {
        read_piece(record);
    } else if (record.kind == Kind::LEAVE) {
        require(begun_);
        path_.resize(open_.back());
        open_.pop_back();
    } else {
        read_entry(record);
    }
    return true;
}

void ManifestReader::read_entry(Record& record) {
    require(parse(record.mode, fields_[1], 8) && record.mode <= 07777);
    read_time(record.mtime, 2);
    require(decode_name(record.name, fields_[5]));
    if (record.kind == Kind::LINK) {
        require(decode_name(record.target, fields_[6]) && !record.target.empty());
        require(record.target.find('\0') == std::string::npos);
    }
    if (begun_) {
        require(is_component(record.name));
        path_.resize(open_.back());
        path_.append(path_.empty() ? "" : "/").append(record.name);
    } else {
        require(record.kind == Kind::DIRECTORY && record.name == ".");
        path_.clear();
    }
    if (record.kind == Kind::DIRECTORY) {
        open_.push_back(path_.size());
    }
    begun_ = true;
    in_file_ = record.kind == Kind::FILE;
    file_size_ = 0;
}

void ManifestReader::read_piece(Record& record) {
    require(parse(record.length, fields_[fields_.size() - 1]));
    if (record.kind == Kind::END) {
        require(record.length == file_size_);
        in_file_ = false;
        return;
    }
    require(record.length != 0 && record.length <= FILE_SIZE_MAX - file_size_);
    file_size_ += record.length;
    if (record.kind == Kind::BLOCK) {
        require(is_signature(fields_[1]) && record.length <= BLOCK_SIZE);
        record.signature = fields_[1];
    }
}

void ManifestReader::read_time(timespec& time, std::size_t field) const {
    require(parse(time.tv_sec, fields_[field]) && parse(time.tv_nsec, fields_[field + 1]));
    require(time.tv_nsec >= 0 && time.tv_nsec < 1000000000);
}

// Goes to the next line. False at the signature, which must be right, and the last line.
bool ManifestReader::next_line() {
    ++line_number_;
    std::getline(file_, line_);
    check(file_.bad() ? -1 : 0, file_path_, "cannot read");
    require(file_ && !file_.eof()); // each line has its end
    if (line_.compare(0, SIGNATURE_START.size(), SIGNATURE_START) == 0) {
        require(line_ == SIGNATURE_START + signature_->close().to_string());
        require(file_.peek() == std::ifstream::traits_type::eof());
        return false;
    }
    signature_->update(to_bytes(line_.data()), static_cast<unsigned int>(line_.size()));
    signature_->update(to_bytes("\n"), 1);
    return true;
}

// Goes to the next line and takes it apart.
bool ManifestReader::read_line() {
    if (!next_line()) {
        return false;
    }
    require(fields_.read(line_) && fields_.size() != 0);
    return true;
}

void ManifestReader::require(bool rule) const {
    if (!rule) {
        throw Error(file_path_, "the manifest is damaged (line " + to_str(line_number_) + ")");
    }
}

} // namespace minibackup
