#pragma once

/// @file
/// Moving through directory trees by descriptors: no path is resolved, so no symbolic link is
/// followed, and paths may have any length.

#include "system/os.hpp"

#include <string>
#include <vector>

namespace minibackup {

/// A directory in a tree, moved one level at a time. Keeps a descriptor open for each level, so a
/// tree may be a thousand levels deep.
class TreeCursor {
public:
    /// Starts at a directory, which may be told by a symbolic link.
    explicit TreeCursor(const std::string& root);

    int fd() const noexcept { return levels_.back().directory.get(); }
    const struct stat& status() const noexcept { return levels_.back().status; }
    const std::string& path() const noexcept { return path_; }
    std::string path_of(const std::string& name) const;

    /// Path of something in the directory, from the start on.
    std::string path_below_start(const std::string& name) const;

    /// How many levels below the start it is.
    std::size_t depth() const noexcept { return levels_.size() - 1; }

    /// The status of something in the directory, which may be a link.
    struct stat status_of_entry(const std::string& name) const;

    /// Moves down; `name` must be a directory itself, not a link to one. Stays where it is on
    /// failure.
    void enter(const std::string& name);

    /// Moves up.
    void leave() noexcept;

private:
    struct Level {
        Descriptor directory;
        struct stat status;
        std::size_t path_length;
    };

    void push(Descriptor directory, std::string path);

    std::vector<Level> levels_;
    std::string path_;
    std::size_t below_start_ = 0; // where in `path_` the path from the start on begins
};

/// Names that lead from a directory to something below it, one level each.
using Way = std::vector<std::string>;

/// What `walk` asks and reports to.
struct TreeVisitor {
    /// Whether to visit what was found in the directory, and with a directory all that is in it.
    virtual bool takes(const TreeCursor& at, const std::string& name,
                       const struct stat& status) = 0;

    /// The walk has come into a directory; it is left when everything in it was visited.
    virtual void enter(const TreeCursor& /*at*/, const std::string& /*name*/) {}
    virtual void leave() {}

    /// There is something else than a directory in the directory.
    virtual void entry(const TreeCursor& at, const std::string& name,
                       const struct stat& status) = 0;

    /// Something cannot be reached; the walk goes on.
    virtual void fault(const Error& /*error*/) {}

protected:
    ~TreeVisitor() = default;
};

/// Visits the tree at the cursor, which is at its start: the directory under the name given, what
/// is in it, then its sub-directories one by one. The directory `left_out` is passed over.
///
/// Down to the end of `way`, only what is next on it is visited of each directory, without asking
/// the visitor. A way that cannot be followed to its end, as when a link stands on it, is a fault.
///
/// Memory: the names of the sub-directories, for the current path only.
/// @throws what the visitor throws
void walk(TreeCursor& at, const std::string& name, const Way& way, const Identity& left_out,
          TreeVisitor& visitor);

} // namespace minibackup
