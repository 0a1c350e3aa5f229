#pragma once

/// @file
/// Moving through directory trees by descriptors: no path is resolved, so no symbolic link is followed,
/// and paths may have any length.

#include "os.hpp"

#include <string>
#include <vector>

namespace minibackup {

/// A directory in a tree, moved one level at a time. Keeps a descriptor open for each level, so a tree may
/// be a thousand levels deep.
class TreeCursor {
public:
    /// Starts at a directory, which may be told by a symbolic link.
    explicit TreeCursor(const std::string& root);

    int fd() const noexcept { return levels_.back().directory.get(); }
    const struct stat& status() const noexcept { return levels_.back().status; }
    const std::string& path() const noexcept { return path_; }
    std::string path_of(const std::string& name) const;

    /// Moves down; `name` must be a directory itself, not a link to one. Stays where it is on failure.
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
};

/// What `walk` reports to.
struct TreeVisitor {
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

/// Visits the tree at the cursor: the directory under the name given, what is in it, then its
/// sub-directories one by one. The directory `left_out` is passed over.
///
/// Memory: the names of the sub-directories, for the current path only.
/// @throws what the visitor throws
void walk(TreeCursor& at, const std::string& name, const Identity& left_out, TreeVisitor& visitor);

} // namespace minibackup
