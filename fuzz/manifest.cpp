// The manifest reader of minibackup: a manifest that it takes is one that a model takes, it shows
// what the model shows, nothing in it leads out of the tree, and all of its lines come back.

#include "fuzz.hpp"
#include "support/fsv_model.hpp"

#include <manifest.hpp>
#include <system/names.hpp>

#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <nuriccl/signature.hpp>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

using minibackup::ManifestReader;
using minibackup::Record;
using Kind = Record::Kind;
using Fields = std::vector<std::string>;

const std::string RUN = "run";
const std::string HEAD = "minibackup manifest 1\nsaved 1 2 3\nsource s\n";
const std::string ROOT = "dir 755 1 2 3 .\n";

std::string signed_text(const std::string& text) {
    return text + "signature " + nuriccl::Signature::of(text) + '\n';
}

// The fields of a line; none when it is not in the one form that it may have.
Fields fields_of(const std::string& line) {
    fsv_model::Reading reading;
    reading.separator = " ";
    const Fields fields = fsv_model::read_all(line, reading);
    fsv_model::Writing writing;
    writing.separator = " ";
    const bool empty_one = std::find(fields.begin(), fields.end(), "") != fields.end();
    return empty_one || fsv_model::write_all(fields, writing).line != line ? Fields() : fields;
}

// A number of at most `most` without sign or zeros in front; -1 for anything else.
constexpr unsigned long long NONE = ~0ULL;
unsigned long long number_of(const std::string& digits, unsigned int radix,
                             unsigned long long most) {
    if (digits.empty() || (digits.size() > 1 && digits[0] == '0')) {
        return NONE;
    }
    unsigned long long value = 0;
    for (const char c : digits) {
        const auto digit = static_cast<unsigned int>(c - '0');
        if (c < '0' || digit >= radix || value > (most - digit) / radix || digit > most) {
            return NONE;
        }
        value = value * radix + digit;
    }
    return value;
}

bool is_time(const std::string& seconds, const std::string& nanoseconds) {
    constexpr auto latest = std::numeric_limits<std::int64_t>::max();
    const bool negative = seconds[0] == '-';
    const unsigned long long distance = number_of(
        seconds.substr(negative ? 1 : 0), 10, static_cast<unsigned long long>(latest) + negative);
    return distance != NONE && !(negative && distance == 0) &&
           number_of(nanoseconds, 10, 999999999) != NONE;
}

// A manifest, line by line, as the rules of the format tell it.
class Model {
public:
    // Whether the text is a manifest.
    bool read(const std::string& text) {
        std::vector<std::string> lines;
        std::istringstream stream(text);
        std::size_t size = 0;
        for (std::string line; std::getline(stream, line); size += line.size() + 1) {
            if (line.compare(0, 10, "signature ") == 0) {
                return text == signed_text(text.substr(0, size)) && read_lines(lines);
            }
            lines.push_back(line);
        }
        return false;
    }

    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    Fields records; // all lines behind the head

private:
    bool read_lines(const std::vector<std::string>& lines) {
        if (lines.size() < 4 || lines[0] != "minibackup manifest 1" ||
            !read_head(fields_of(lines[1]), fields_of(lines[2]))) {
            return false;
        }
        records.assign(lines.begin() + 3, lines.end());
        const bool good = std::all_of(records.begin(), records.end(), [this](const auto& line) {
            return read_record(fields_of(line));
        });
        return good && begun_ && depth_ == 0 && !in_file_;
    }

    static bool read_head(const Fields& saved, const Fields& source) {
        std::string name;
        return saved.size() == 4 && saved[0] == "saved" && is_time(saved[1], saved[2]) &&
               source.size() == 2 && source[0] == "source" &&
               minibackup::decode_name(name, source[1]);
    }

    bool read_record(const Fields& fields) {
        if (fields.empty() || begun_ != (depth_ != 0)) {
            return false;
        }
        if (in_file_) {
            return read_piece(fields);
        }
        if (fields.size() == 1 && fields[0] == "leave") {
            return depth_-- != 0;
        }
        return read_entry(fields);
    }

    bool read_entry(const Fields& fields) {
        const std::string& kind = fields[0];
        const bool is_link = kind == "link";
        if ((kind != "dir" && kind != "file" && !is_link) || fields.size() != (is_link ? 7 : 6) ||
            number_of(fields[1], 8, 07777) == NONE || !is_time(fields[2], fields[3])) {
            return false;
        }
        std::string name;
        std::string target;
        if (!minibackup::decode_name(name, fields[5]) ||
            (is_link && (!minibackup::decode_name(target, fields[6]) || target.empty() ||
                         target.find('\0') != std::string::npos))) {
            return false;
        }
        const bool is_component = !name.empty() && name != "." && name != ".." &&
                                  name.find_first_of(std::string("/\0", 2)) == std::string::npos;
        if (begun_ ? !is_component : name != "." || kind != "dir") {
            return false;
        }
        begun_ = true;
        depth_ += kind == "dir" ? 1 : 0;
        in_file_ = kind == "file";
        files += in_file_ ? 1 : 0;
        size_ = 0;
        return true;
    }

    bool read_piece(const Fields& fields) {
        constexpr unsigned long long longest = std::numeric_limits<std::int64_t>::max();
        const unsigned long long length = number_of(fields.back(), 10, longest);
        if (fields[0] == "end" && fields.size() == 2 && length == size_) {
            in_file_ = false;
            bytes += size_;
            return true;
        }
        const bool is_block =
            fields.size() == 3 && fields[0] == "block" && fields[1].size() == 40 &&
            fields[1].find_first_not_of("0123456789abcdef") == std::string::npos &&
            length <= minibackup::BLOCK_SIZE;
        const bool is_hole = fields.size() == 2 && fields[0] == "zeros";
        if ((!is_block && !is_hole) || length == 0 || length == NONE || length > longest - size_) {
            return false;
        }
        size_ += length;
        return true;
    }

    bool begun_ = false;
    bool in_file_ = false;
    std::size_t depth_ = 0;
    unsigned long long size_ = 0; // of the file so far
};

// The line of a record, but for the text of its time, which nobody reads.
std::string line_of(const Record& record, const std::string& original) {
    static const std::array<std::string, 7> kinds = {"dir",   "leave", "link", "file",
                                                     "block", "zeros", "end"};
    Fields fields{kinds[static_cast<std::size_t>(record.kind)]};
    if (record.kind == Kind::BLOCK) {
        fields.push_back(record.signature);
    }
    if (record.kind >= Kind::BLOCK) {
        fields.push_back(std::to_string(record.length));
    } else if (record.kind != Kind::LEAVE) {
        std::ostringstream mode;
        mode << std::oct << record.mode;
        fields.insert(fields.end(),
                      {mode.str(), std::to_string(record.mtime.tv_sec),
                       std::to_string(record.mtime.tv_nsec), fields_of(original).at(4),
                       minibackup::encode_name(record.name)});
    }
    if (record.kind == Kind::LINK) {
        fields.push_back(minibackup::encode_name(record.target));
    }
    fsv_model::Writing writing;
    writing.separator = " ";
    return fsv_model::write_all(fields, writing).line;
}

// Neither absolute nor with a component that leads elsewhere.
bool stays_inside(const std::string& path) {
    const std::string framed = '/' + path + '/';
    return path.empty() ||
           (framed.find("//") == std::string::npos && framed.find("/./") == std::string::npos &&
            framed.find("/../") == std::string::npos && path.find('\0') == std::string::npos);
}

class Store {
public:
    Store() {
        std::string name = (std::filesystem::temp_directory_path() / "manifest.XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("cannot make a folder for a store");
        }
        folder_ = name;
        minibackup::StoreWriter writer(name);
        store_.emplace(name);
        std::filesystem::create_symlink("/proc/self/fd/" + std::to_string(manifest_.get()),
                                        store_->path_of(RUN));
    }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store() { std::filesystem::remove_all(folder_); }

    void check(const std::string& text) {
        const auto size = static_cast<ssize_t>(text.size());
        FUZZ_REQUIRE(ftruncate(manifest_.get(), 0) == 0 &&
                     pwrite(manifest_.get(), text.data(), text.size(), 0) == size);
        Model model;
        const bool expected = model.read(text);
        try {
            ManifestReader reader(*store_, RUN);
            FUZZ_REQUIRE(expected);
            check_contents(reader, model);
        } catch (const minibackup::Error&) {
            FUZZ_REQUIRE(!expected);
        }
    }

private:
    static void check_contents(ManifestReader& reader, const Model& model) {
        FUZZ_REQUIRE(reader.totals().files == model.files);
        FUZZ_REQUIRE(reader.totals().bytes == model.bytes);
        auto original = model.records.begin();
        const auto check_line = [&](const Record& record) {
            FUZZ_REQUIRE(original != model.records.end() &&
                         line_of(record, *original) == *original);
            ++original;
        };
        for (Record entry; reader.next(entry);) {
            check_line(entry);
            FUZZ_REQUIRE(stays_inside(reader.path()));
            Record piece;
            while (reader.next_piece(piece)) {
                check_line(piece);
            }
            if (entry.kind == Kind::FILE) {
                check_line(piece);
            }
        }
        FUZZ_REQUIRE(original == model.records.end());
    }

    std::filesystem::path folder_;
    std::optional<minibackup::Store> store_;
    // In memory: a disk would take most of the time.
    const minibackup::Descriptor manifest_{memfd_create("manifest", MFD_CLOEXEC)};
};

// Bytes hardly ever spell a record by chance: each stands for a piece of one.
std::string spelled(const std::string& bytes) {
    static const std::vector<std::string> pieces = {"dir 755 1 2 3 ",
                                                    "leave\n",
                                                    "link 777 0 0 x ",
                                                    "file 644 -1 999999999 x ",
                                                    "a",
                                                    "b\n",
                                                    "base64:",
                                                    "YQ==",
                                                    "block ",
                                                    "0123456789abcdef0123456789abcdef01234567 ",
                                                    "zeros ",
                                                    "end ",
                                                    "0\n",
                                                    "1\n",
                                                    "2\n",
                                                    "3\n",
                                                    "1048576\n",
                                                    "9223372036854775807\n",
                                                    "18446744073709551616\n",
                                                    ".",
                                                    "/",
                                                    "\n",
                                                    " ",
                                                    "\"",
                                                    "7",
                                                    "0",
                                                    "-",
                                                    "dir 700 0 0 x d\n",
                                                    "file 600 0 0 x f\nend 0\n",
                                                    "file 600 0 0 x f\nzeros 5\nend 5\n",
                                                    "signature ",
                                                    "\x01"};
    std::string text;
    for (const char c : bytes) {
        text += pieces[static_cast<unsigned char>(c) % pieces.size()];
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Store store;
    const std::string text = text_of(data, size);
    store.check(text);
    store.check(signed_text(text));
    store.check(signed_text(HEAD + ROOT + text));
    // Most that is spelled ends outside of a file.
    store.check(signed_text(HEAD + ROOT + spelled(text)));
    store.check(signed_text(HEAD + ROOT + spelled(text) + "leave\n"));
    return 0;
}
