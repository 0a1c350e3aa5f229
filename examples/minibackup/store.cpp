#include "store.hpp"

#include "settings.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <map>
#include <nuriccl/signature.hpp>
#include <nuriccl/string.hpp>
#include <nuriccl/util.hpp>
#include <nuriccl/Version.hpp>
#include <nuriccl/Zlib.hpp>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace minibackup {

namespace {

using nuriccl::Signature;
using nuriccl::Version;
using nuriccl::Zlib;
using nuriccl::string::format_string;

const std::string MARKER = "minibackup.format";
const std::string FORMAT = "1.0.0";
const std::string BLOCK_SIZE_TEXT = nuriccl::to_str(BLOCK_SIZE);
const std::string MARKER_TEXT = "format = " + FORMAT + "\nblock_size = " + BLOCK_SIZE_TEXT + '\n';
const std::string DAMAGED = "the format of the store is damaged";
const std::string BLOCKS = "blocks";
const std::string TEMPORARY = "minibackup.tmp-";
const std::string MANIFEST = "manifest"; // the last part of a temporary name

// Blocks are committed when there are so many, or so many bytes of them.
constexpr std::size_t BATCH_BLOCKS = 1024;
constexpr std::uint64_t BATCH_BYTES = std::uint64_t{64} * BLOCK_SIZE;

// Room for a whole block that does not compress.
constexpr std::size_t PACKED_SIZE_MAX = BLOCK_SIZE + BLOCK_SIZE / 256;

bool is_temporary(const std::string& name) {
    return name.compare(0, TEMPORARY.size(), TEMPORARY) == 0;
}

std::string block_name(const std::string& signature) {
    return BLOCKS + '/' + signature.substr(0, 2) + '/' + signature.substr(2);
}

bool exists(int directory, const std::string& name, const std::string& path) {
    const bool found = faccessat(directory, name.c_str(), F_OK, 0) == 0;
    check(found || errno == ENOENT ? 0 : -1, path, "cannot be reached");
    return found;
}

Descriptor create(int directory, const std::string& name, const std::string& path) {
    return open_at(directory, name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, path, 0600);
}

void rename_in(int directory, const std::string& from, const std::string& to,
               const std::string& path) {
    check(renameat(directory, from.c_str(), directory, to.c_str()), path, "cannot rename");
}

// Three numbers. What else `Version` reads is not a format.
bool is_version(const std::string& text) {
    std::vector<std::string> numbers;
    nuriccl::string::split(text, '.', numbers);
    return numbers.size() == 3 &&
           std::all_of(numbers.begin(), numbers.end(), [](const std::string& number) {
               return !number.empty() &&
                      number.find_first_not_of("0123456789") == std::string::npos;
           });
}

// The whole of a file with a compressed block.
void read_packed(int fd, std::string& packed, const std::string& path) {
    const auto size = static_cast<std::uint64_t>(status_of(fd, path).st_size);
    if (size > PACKED_SIZE_MAX) {
        throw Error(path, "is longer than it can be");
    }
    packed.resize(static_cast<std::size_t>(size));
    packed.resize(read_whole(fd, packed.data(), packed.size(), path));
}

} // namespace

bool is_signature(std::string_view text) {
    return text.size() == Signature::STRING_SIGNATURE_SIZE &&
           text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

// Reading

Store::Store(const std::string& path)
    : Store(open_at(AT_FDCWD, path, OPEN_DIRECTORY, path), path) {}

Store::Store(Descriptor root, std::string path) : root_(std::move(root)), path_(std::move(path)) {
    if (!exists(root_.get(), MARKER, path_)) {
        throw Error(path_, "is no minibackup store");
    }
    check_format();
}

void Store::check_format() const {
    const std::string path = path_of(MARKER);
    const Descriptor marker = open_at(root_.get(), MARKER, O_RDONLY | O_NONBLOCK, path);
    std::map<std::string, std::string> values;
    const std::vector<Setting> settings = read_settings(marker.get(), path);
    for (const auto& [key, value] : settings) {
        values.emplace(key, value);
    }
    const std::string format = values["format"];
    if (values.size() != settings.size() || !is_version(format)) {
        throw Error(path, DAMAGED);
    }
    if (Version(format).compare_minor(FORMAT) > 0) {
        throw Error(path_, "is a store of format " + format +
                               ", and this program knows formats up to " + FORMAT +
                               "; use a later minibackup for it");
    }
    if (values.size() != 2 || values["block_size"] != BLOCK_SIZE_TEXT) {
        throw Error(path, DAMAGED);
    }
}

std::vector<std::string> Store::runs() const {
    std::vector<std::string> runs;
    DirectoryNames names(root_.get(), ".", path_);
    for (std::string name; names.next(name);) {
        if (name[0] >= '0' && name[0] <= '9') {
            runs.push_back(name);
        }
    }
    std::sort(runs.begin(), runs.end());
    return runs;
}

const std::string& Store::load(const std::string& signature, std::uint32_t size) {
    const std::string name = block_name(signature);
    const std::string path = path_of(name);
    if (signature != block_signature_) {
        block_signature_.clear();
        const Descriptor file = open_at(root_.get(), name, O_RDONLY | O_NONBLOCK, path);
        read_packed(file.get(), packed_, path);
        if (!Zlib::Inflate(block_, size, packed_) || Signature::of(block_) != signature) {
            throw Error(path, "the block is damaged");
        }
        block_signature_ = signature;
    }
    if (block_.size() != size) {
        throw Error(path, "the block is not as long as the manifest says");
    }
    return block_;
}

// Saving

namespace {

// The beginning of a name that no other process uses.
std::string unique_name() {
    const timespec time = now();
    return TEMPORARY + format_string("%llx-%lx-%x-", static_cast<unsigned long long>(time.tv_sec),
                                     time.tv_nsec, static_cast<unsigned int>(getpid()));
}

// Whether nobody else has the directory locked. A save that is killed is given some time: the
// kernel takes its semaphores, for which the next save waits, before its files and the locks of
// those.
bool lock_alone(int directory) {
    constexpr int TRIES = 50;
    bool locked = flock(directory, LOCK_EX | LOCK_NB) == 0;
    for (int i = 1; i < TRIES && !locked; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        locked = flock(directory, LOCK_EX | LOCK_NB) == 0;
    }
    return locked;
}

std::string next_run(const std::vector<std::string>& runs, const timespec& time) {
    unsigned int last = 0;
    for (const std::string& run : runs) {
        unsigned int number = 0;
        std::from_chars(run.data(), run.data() + run.size(), number);
        last = std::max(last, number);
    }
    std::string when = time_text(time).substr(0, 19); // without hundredths and zone
    nuriccl::string::replace(when, ":", "");
    return format_string("%08u-%sZ", last + 1, when.c_str());
}

} // namespace

// Opens the directory under a lock, and makes a store of it if there is nothing in it.
Descriptor StoreWriter::prepare(const std::string& path) {
    Descriptor root = open_at(AT_FDCWD, path, OPEN_DIRECTORY, path);
    check(flock(root.get(), LOCK_SH), path, "cannot lock");
    if (exists(root.get(), MARKER, path)) {
        return root;
    }
    DirectoryNames names(root.get(), ".", path);
    for (std::string name; names.next(name);) {
        // A first save that was killed leaves temporary files; another one may be at it just now.
        if (!is_temporary(name) && !exists(root.get(), MARKER, path)) {
            throw Error(path, "is not empty, and no minibackup store");
        }
    }
    const std::string temporary = unique_name() + MARKER;
    const Descriptor marker = create(root.get(), temporary, path);
    try {
        write_whole(marker.get(), MARKER_TEXT, path);
        check(fsync(marker.get()), path, "cannot flush");
        rename_in(root.get(), temporary, MARKER, path);
    } catch (const Error&) {
        unlinkat(root.get(), temporary.c_str(), 0);
        throw;
    }
    return root;
}

StoreWriter::StoreWriter(const std::string& path)
    : Store(prepare(path), path), temporary_(unique_name()) {
    if (lock_alone(root_.get())) { // nobody else is saving
        DirectoryNames names(root_.get(), ".", path_);
        for (std::string name; names.next(name);) {
            if (is_temporary(name)) {
                check(unlinkat(root_.get(), name.c_str(), 0), path_of(name), "cannot remove");
            }
        }
    }
    check(flock(root_.get(), LOCK_SH), path_, "cannot lock");
    make_directory(root_.get(), BLOCKS, path_);
}

StoreWriter::~StoreWriter() {
    unlinkat(root_.get(), (temporary_ + MANIFEST).c_str(), 0);
    for (const std::string& signature : pending_) {
        unlinkat(root_.get(), (temporary_ + signature).c_str(), 0);
    }
}

std::string StoreWriter::put(const std::string& block) {
    std::string signature = Signature::of(block);
    const std::string path = path_of(block_name(signature));
    if (pending_.count(signature) != 0 || exists(root_.get(), block_name(signature), path)) {
        return signature;
    }
    if (!Zlib::Deflate(packed_, block)) {
        throw Error(path, "the block cannot be compressed");
    }
    pending_.insert(signature);
    Descriptor file = create(root_.get(), temporary_ + signature, path);
    write_whole(file.get(), packed_, path);
    close_written(std::move(file), path);
    ++blocks_stored_;
    bytes_stored_ += packed_.size();
    pending_bytes_ += packed_.size();
    if (pending_.size() >= BATCH_BLOCKS || pending_bytes_ >= BATCH_BYTES) {
        commit_blocks();
    }
    return signature;
}

void StoreWriter::commit_blocks() {
    if (pending_.empty()) {
        return;
    }
    flush();
    for (const std::string& signature : pending_) {
        const std::string name = block_name(signature);
        make_directory(root_.get(), name.substr(0, name.rfind('/')), path_of(name));
        rename_in(root_.get(), temporary_ + signature, name, path_of(name));
    }
    pending_.clear();
    pending_bytes_ = 0;
}

void StoreWriter::flush() const { check(syncfs(root_.get()), path_, "cannot flush"); }

Descriptor StoreWriter::create_manifest() const {
    return create(root_.get(), temporary_ + MANIFEST, path_);
}

std::string StoreWriter::manifest_path() const { return path_of(temporary_ + MANIFEST); }

std::string StoreWriter::publish(const timespec& time) {
    commit_blocks();
    flush();
    const Descriptor marker = open_at(root_.get(), MARKER, O_RDONLY, path_of(MARKER));
    check(flock(marker.get(), LOCK_EX), path_of(MARKER), "cannot lock");
    std::string run = next_run(runs(), time);
    rename_in(root_.get(), temporary_ + MANIFEST, run, path_of(run));
    check(fsync(root_.get()), path_, "cannot flush");
    return run;
}

} // namespace minibackup
