#pragma once

/// @file
/// What the SOURCE of a save means.

#include "tree.hpp"

#include <string>

namespace minibackup {

struct Source {
    std::string root; ///< path of the directory that is the root of the saved tree
    Way way;          ///< leads from there to what is saved; empty: all that is in the root
};

/// Takes a SOURCE apart at its first recurse marker: "DIR/./PATH" is PATH in DIR, and a text
/// without the marker is DIR alone. Components "." and a last component "*" add nothing to PATH.
///
/// ".." is never cancelled against a name, since behind a symbolic link it leads elsewhere: in DIR
/// it is left to the system, in PATH there can be none.
/// @throws Error when there is one
Source parse_source(const std::string& text);

/// The directories that a way leads through, the start of the cursor first. Its end need be none,
/// and a symbolic link ends it. The cursor is back at its start then.
/// @throws Error when there is nothing under one of the names, or no directory where one has to be
std::vector<Identity> directories_on(const Way& way, TreeCursor& at);

} // namespace minibackup
