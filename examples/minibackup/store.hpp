#pragma once

/// @file
/// The store: blocks of file content, each kept once under its signature, and a manifest for each
/// run.
///
///     STORE/minibackup.format      what this directory is, and of which format; see below
///     STORE/blocks/xx/y..y         the block with the signature xxy..y (40 digits), compressed
///     STORE/00000001-2026-...      a run (see manifest.hpp); the number counts up, so that the
///                                  names of runs sort by time even when the clock is set back
///     STORE/minibackup.tmp-*       what a save is writing
///
/// minibackup.format is a file of settings (see settings.hpp), each of which is there once:
///
///     format = 1.0.0        the version of all that this page and manifest.hpp tell
///     block_size = 1048576  bytes of a block; there is no other size yet
///
/// A store whose format has a later first or second number (of one digit) is refused: this program
/// cannot know how to read it, let alone how to write in it. The third number may grow with what
/// this program does no harm to. A setting that is unknown in a known format is damage, as is one
/// that is missing.
///
/// A file appears under its final name only by renaming, whole and flushed to disk:
///  1. Blocks are written under temporary names, hundreds of them.
///  2. One `syncfs` flushes them. It costs about as much as one `fsync`, where an `fsync` for each
///     block would cost more than all the rest of the work. (Linux reports lost writes there since
///     5.8.)
///  3. They are renamed. A block that is there is therefore whole, and later saves rely on it.
///  4. At the end a second `syncfs` flushes the renames and the manifest, which still has its
///     temporary name. Then the manifest is renamed and the directory flushed. A manifest that is
///     there therefore has all its blocks.
/// A save that is killed leaves temporary files, which the next save removes, and blocks in no run,
/// which the next save uses.
///
/// One save at a time writes: it has the lock of the store (see lock.hpp). Where that does not
/// reach, as on another machine, two saves at once do no harm: temporary names are unique and
/// created exclusively, equal blocks replace each other, and runs are numbered under a lock. Every
/// save holds a shared lock on STORE as long as it lives, and removes temporary files only when it
/// gets the lock exclusively: when nobody else is writing any.
///
/// Who reads needs no lock, and waits for nobody: the runs it finds and their blocks are whole,
/// nothing ever changes or removes them, and it does not look at temporary files. A run that is
/// renamed after the directory was read is not seen; that reader came before it.

#include "system/os.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace minibackup {

/// Bytes of a block; the last one of a file is shorter.
constexpr unsigned int BLOCK_SIZE = 0x100000;

/// Whether the text is a signature string, and so safe to use as a name.
bool is_signature(std::string_view text);

/// A store for reading.
class Store {
public:
    /// @throws Error when `path` is no store, or one that this program cannot read
    explicit Store(const std::string& path);

    const std::string& path() const noexcept { return path_; }
    std::string path_of(const std::string& name) const { return path_ + '/' + name; }
    Identity identity() const { return identity_of(status_of(root_.get(), path_)); }

    /// The names of the runs, oldest first.
    std::vector<std::string> runs() const;

    /// The block with this signature, whose length must be `size`. It is read and checked, unless
    /// it is the block that was loaded last. The result is valid until the next call.
    /// @throws Error when the block is missing or damaged
    const std::string& load(const std::string& signature, std::uint32_t size);

protected:
    Store(Descriptor root, std::string path);

    Descriptor root_;
    std::string path_;
    std::string packed_; // a compressed block

private:
    void check_format() const;

    std::string block_;
    std::string block_signature_; // of `block_`; empty when that is no block
};

/// A store for saving. Its lock is to be held as long as it lives.
class StoreWriter : public Store {
public:
    /// Opens a store, or makes one of an empty directory.
    explicit StoreWriter(const std::string& path);

    /// Removes what was not published, but for the blocks that are in their place.
    ~StoreWriter();

    /// Stores the block, which is not empty, unless the store has it.
    /// @return its signature
    std::string put(const std::string& block);

    /// The file to write the manifest to.
    Descriptor create_manifest() const;
    std::string manifest_path() const;

    /// Makes the blocks and then the manifest part of the store.
    /// @return the name of the run
    std::string publish(const timespec& time);

    std::uint64_t blocks_stored() const noexcept { return blocks_stored_; }
    std::uint64_t bytes_stored() const noexcept { return bytes_stored_; }

private:
    static Descriptor prepare(const std::string& path);
    void commit_blocks();
    void flush() const;

    std::string temporary_;                   // how the temporary names of this save begin
    std::unordered_set<std::string> pending_; // signatures of the blocks under temporary names
    std::uint64_t pending_bytes_ = 0;
    std::uint64_t blocks_stored_ = 0;
    std::uint64_t bytes_stored_ = 0;
};

} // namespace minibackup
