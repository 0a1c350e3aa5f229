/// @file
/// `restore`: makes the tree of a run anew in an empty directory.
///
/// Nothing outside that directory is touched, whatever the manifest says: an entry is one name in
/// the directory that was made for it, everything is created exclusively, and no link is followed.

#include "commands.hpp"
#include "manifest.hpp"
#include "progress.hpp"
#include "system/names.hpp"
#include "tree.hpp"

#include <algorithm>
#include <nuriccl/util.hpp>
#include <unistd.h>

namespace minibackup {

namespace {

using nuriccl::to_str;
using Kind = Record::Kind;

constexpr mode_t UNTIL_COMPLETE_DIRECTORY = 0700;
constexpr mode_t UNTIL_COMPLETE_FILE = 0600;

void set_attributes(int fd, const Record& entry, const std::string& path) {
    const timespec times[] = {{0, UTIME_OMIT}, entry.mtime};
    check(fchmod(fd, entry.mode), path, "cannot set the mode");
    check(futimens(fd, times), path, "cannot set the time");
}

class Restorer {
public:
    Restorer(Store& store, ManifestReader& manifest, TreeCursor& at, Progress& progress)
        : store_(store), manifest_(manifest), at_(at), progress_(progress) {}

    void restore();
    const Totals& totals() const { return totals_; }

private:
    void restore_entry(const Record& entry);
    void enter(const Record& entry);
    void leave();
    void restore_link(const Record& entry);
    void restore_file(const Record& entry);
    void write_content(int fd, const std::string& path);

    Store& store_;
    ManifestReader& manifest_;
    TreeCursor& at_;
    Progress& progress_;
    std::vector<Record> open_; // the directories that the cursor is in
    Totals totals_;
};

void Restorer::restore() {
    std::size_t lost = 0; // how deep the entry is in a directory that could not be made
    for (Record entry; manifest_.next(entry);) {
        if (lost != 0) {
            lost += entry.kind == Kind::DIRECTORY;
            lost -= entry.kind == Kind::LEAVE;
        } else if (entry.kind == Kind::LEAVE) {
            leave();
        } else if (!progress_.attempt([&] { restore_entry(entry); })) {
            lost = entry.kind == Kind::DIRECTORY;
        }
    }
}

void Restorer::restore_entry(const Record& entry) {
    if (entry.kind == Kind::DIRECTORY) {
        enter(entry);
    } else if (entry.kind == Kind::LINK) {
        restore_link(entry);
    } else {
        restore_file(entry);
    }
}

void Restorer::enter(const Record& entry) {
    if (!open_.empty()) { // the first one is the destination
        check(mkdirat(at_.fd(), entry.name.c_str(), UNTIL_COMPLETE_DIRECTORY),
              at_.path_of(entry.name), "cannot create");
        at_.enter(entry.name);
    }
    open_.push_back(entry);
}

void Restorer::leave() {
    const Record entry = std::move(open_.back());
    open_.pop_back();
    progress_.attempt([&] { set_attributes(at_.fd(), entry, at_.path()); });
    if (!open_.empty()) {
        at_.leave();
    }
}

void Restorer::restore_link(const Record& entry) {
    const char* const name = entry.name.c_str();
    const std::string path = at_.path_of(entry.name);
    const timespec times[] = {{0, UTIME_OMIT}, entry.mtime};
    check(symlinkat(entry.target.c_str(), at_.fd(), name), path, "cannot create");
    check(utimensat(at_.fd(), name, times, AT_SYMLINK_NOFOLLOW), path, "cannot set the time");
}

void Restorer::restore_file(const Record& entry) {
    const std::string path = at_.path_of(entry.name);
    constexpr int NEW_FILE = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW;
    Descriptor file = open_at(at_.fd(), entry.name, NEW_FILE, path, UNTIL_COMPLETE_FILE);
    try {
        write_content(file.get(), path);
    } catch (const Error& error) {
        unlinkat(at_.fd(), entry.name.c_str(), 0);
        throw Error(path, std::string("left out: ") + error.what());
    }
    set_attributes(file.get(), entry, path);
    close_written(std::move(file), path);
    ++totals_.files;
}

void Restorer::write_content(int fd, const std::string& path) {
    std::uint64_t size = 0;
    for (Record piece; manifest_.next_piece(piece);) {
        size += piece.length;
        if (piece.kind == Kind::ZEROS) { // leaves a hole
            seek(fd, size, path);
        } else {
            const auto length = static_cast<std::uint32_t>(piece.length);
            write_whole(fd, store_.load(piece.signature, length), path);
        }
        progress_.advance(piece.length);
    }
    // A hole at the end is none yet.
    check(ftruncate(fd, static_cast<off_t>(size)), path, "cannot set the size");
    totals_.bytes += size;
}

std::string chosen_run(const Store& store, const std::string& run) {
    const std::vector<std::string> runs = store.runs();
    if (runs.empty()) {
        throw Error(store.path(), "holds no run yet");
    }
    if (run.empty()) {
        return runs.back();
    }
    if (!std::binary_search(runs.begin(), runs.end(), run)) {
        throw Error(store.path(), "holds no run '" + readable(run) + "'");
    }
    return run;
}

TreeCursor empty_directory(const std::string& path) {
    const bool there = mkdir(path.c_str(), UNTIL_COMPLETE_DIRECTORY) == 0 || errno == EEXIST;
    check(there ? 0 : -1, path, "cannot create");
    TreeCursor directory(path);
    std::string name;
    if (DirectoryNames(directory.fd(), ".", path).next(name)) {
        throw Error(path, "is not empty");
    }
    return directory;
}

} // namespace

int restore(const std::string& store_path, const std::string& destination, const Options& options) {
    Progress progress(options.quiet);
    Store store(store_path);
    const std::string run = chosen_run(store, options.run);
    ManifestReader manifest(store, run);
    TreeCursor at = empty_directory(destination);
    progress.expect(manifest.totals().bytes);
    Restorer restorer(store, manifest, at, progress);
    restorer.restore();
    progress.summary({{"run", readable(run)},
                      {"files", to_str(restorer.totals().files)},
                      {"written", byte_text(restorer.totals().bytes)}},
                     restorer.totals().bytes);
    return progress.status();
}

} // namespace minibackup
