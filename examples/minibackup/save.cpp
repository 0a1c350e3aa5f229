/// @file
/// `save`: walks a tree and makes a run of it.

#include "block_reader.hpp"
#include "commands.hpp"
#include "lock.hpp"
#include "manifest.hpp"
#include "progress.hpp"
#include "source.hpp"
#include "system/names.hpp"

#include <algorithm>
#include <array>
#include <climits>
#include <nuriccl/util.hpp>
#include <unistd.h>

namespace minibackup {

namespace {

using nuriccl::to_str;
using Kind = Record::Kind;

// Takes all but what is excluded, which is counted.
class Selector : public TreeVisitor {
public:
    explicit Selector(const Exclusions& exclusions) : exclusions_(exclusions) {}

    bool takes(const TreeCursor& at, const std::string& name, const struct stat& status) override {
        if (!exclusions_.match(at.path_below_start(name), status.st_mode)) {
            return true;
        }
        ++(S_ISDIR(status.st_mode) ? directories_ : others_);
        return false;
    }

    std::string excluded() const {
        return to_str(directories_) + " directories, " + to_str(others_) + " others";
    }

private:
    const Exclusions& exclusions_;
    std::uint64_t directories_ = 0; // what is in them is not counted
    std::uint64_t others_ = 0;
};

// Adds up what a save is going to read; faults are left to the save.
struct SizeCounter : Selector {
    using Selector::Selector;

    std::uint64_t total = 0;

    void entry(const TreeCursor&, const std::string&, const struct stat& status) override {
        total += S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : 0;
    }
};

class Saver : public Selector {
public:
    Saver(StoreWriter& store, const std::string& source, const Exclusions& exclusions,
          Progress& progress)
        : Selector(exclusions), store_(store), manifest_(store, source), progress_(progress) {}

    void enter(const TreeCursor& at, const std::string& name) override;
    void leave() override { manifest_.write({}); }
    void entry(const TreeCursor& at, const std::string& name, const struct stat& status) override;
    void fault(const Error& error) override { progress_.fault(error.what()); }

    std::string finish() { return manifest_.finish(); }
    const Totals& totals() const { return totals_; }

private:
    void save_link(const TreeCursor& at, const std::string& name, const struct stat& status);
    void save_file(const TreeCursor& at, const std::string& name);
    bool save_content(std::uint64_t& size);

    StoreWriter& store_;
    ManifestWriter manifest_;
    Progress& progress_;
    BlockReader reader_;
    Totals totals_;
};

Record record_of(Kind kind, const std::string& name, const struct stat& status) {
    Record record;
    record.kind = kind;
    record.mode = status.st_mode & 07777;
    record.mtime = status.st_mtim;
    record.name = name;
    return record;
}

void Saver::enter(const TreeCursor& at, const std::string& name) {
    manifest_.write(record_of(Kind::DIRECTORY, name, at.status()));
}

void Saver::entry(const TreeCursor& at, const std::string& name, const struct stat& status) {
    if (S_ISREG(status.st_mode)) {
        save_file(at, name);
    } else if (S_ISLNK(status.st_mode)) {
        save_link(at, name, status);
    } else {
        const char* const kind = S_ISFIFO(status.st_mode)   ? "a FIFO"
                                 : S_ISSOCK(status.st_mode) ? "a socket"
                                                            : "a device";
        progress_.warn(readable(at.path_of(name)) + ": is " + kind + ", left out");
    }
}

void Saver::save_link(const TreeCursor& at, const std::string& name, const struct stat& status) {
    std::array<char, PATH_MAX> target; // a target is at least one byte shorter
    Record record = record_of(Kind::LINK, name, status);
    const auto read = [&] {
        const ssize_t length = readlinkat(at.fd(), name.c_str(), target.data(), target.size());
        check(length, at.path_of(name), "cannot read the link");
        record.target.assign(target.data(), static_cast<std::size_t>(length));
    };
    if (progress_.attempt(read)) {
        manifest_.write(record);
    }
}

void Saver::save_file(const TreeCursor& at, const std::string& name) {
    const std::string path = at.path_of(name);
    Descriptor file;
    struct stat status;
    const auto open = [&] { // it may be something else by now: follow no link, wait for no FIFO
        file = open_at(at.fd(), name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, path);
        status = status_of(file.get(), path);
        if (!S_ISREG(status.st_mode)) {
            throw Error(path, "is no regular file any more");
        }
    };
    if (!progress_.attempt(open)) {
        return;
    }
    manifest_.write(record_of(Kind::FILE, name, status));
    reader_.start(file.get(), status, path);
    Record end;
    end.kind = Kind::END;
    if (!save_content(end.length)) {
        manifest_.abandon_file();
        return;
    }
    manifest_.write(end);
    ++totals_.files;
    totals_.bytes += end.length;
}

// Stores what the reader finds and adds up its size. False when the file cannot be read to its end,
// which is named then; what the store cannot do is thrown and ends the run.
bool Saver::save_content(std::uint64_t& size) {
    Record piece;
    bool more = true;
    while (progress_.attempt([&] { more = reader_.next(piece); })) {
        if (!more) {
            return true;
        }
        if (piece.kind == Kind::BLOCK) {
            piece.signature = store_.put(reader_.block());
        }
        manifest_.write(piece);
        size += piece.length;
        progress_.advance(piece.length);
    }
    return false;
}

} // namespace

int save(const std::string& source_text, const std::string& store_path, const Options& options) {
    const Source source = parse_source(source_text);
    TreeCursor at(source.root);
    const std::vector<Identity> leading = directories_on(source.way, at);
    StoreLock lock;
    if (!lock.acquire(store_path, !options.no_wait)) {
        return BUSY;
    }
    Progress progress(options.quiet); // counts the time from now on
    StoreWriter store(store_path);
    const Identity left_out = store.identity();
    if (std::find(leading.begin(), leading.end(), left_out) != leading.end()) {
        throw Error(source_text, "is the store itself, or lies in it");
    }
    if (progress.shows_bar()) {
        SizeCounter counter(options.exclusions);
        walk(at, ".", source.way, left_out, counter);
        progress.expect(counter.total);
    }
    Saver saver(store, source_text, options.exclusions, progress);
    walk(at, ".", source.way, left_out, saver);
    const std::string run = saver.finish();
    const Totals& totals = saver.totals();
    const double ratio =
        static_cast<double>(totals.bytes) / static_cast<double>(store.bytes_stored());
    Progress::Rows rows = {{"run", run},
                           {"files", to_str(totals.files)},
                           {"read", byte_text(totals.bytes)},
                           {"stored", byte_text(store.bytes_stored()) + " in " +
                                          to_str(store.blocks_stored()) + " new blocks"},
                           {"ratio", store.bytes_stored() == 0 ? "-" : to_str(ratio)}};
    if (!options.exclusions.empty()) {
        rows.insert(rows.begin() + 2, {"excluded", saver.excluded()});
    }
    progress.summary(rows, totals.bytes);
    return progress.status();
}

} // namespace minibackup
