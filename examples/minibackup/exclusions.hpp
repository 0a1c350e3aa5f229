#pragma once

/// @file
/// What a save leaves out: things that match patterns, and the files of exclusion classes.

#include <string>
#include <sys/stat.h>
#include <vector>

namespace minibackup {

class Exclusions {
public:
    /// Leaves out what matches a pattern, the shell pattern for one name or, when it has a '/' in
    /// front of or between its characters, for a path below the root of the tree. With a '/' at the
    /// end it matches directories only.
    ///
    /// The wildcards are those of POSIX `fnmatch` with FNM_PATHNAME, so that none matches a '/',
    /// and without FNM_PERIOD: a hidden file is as good as any other. They see bytes, as file names
    /// are bytes; letters of different case differ.
    /// @throws Error when it cannot match anything: it is empty, or holds a "." or ".."
    void add_pattern(const std::string& text);

    /// Leaves out the files of a class.
    /// @throws Error when there is no such class; it names those that there are
    void add_class(const std::string& name);

    bool empty() const noexcept { return rules_.empty(); }

    /// Whether to leave out what is under this path below the root and has this type of file.
    bool match(const std::string& path, mode_t mode) const;

private:
    struct Rule {
        std::string pattern;
        bool for_path;   // not for a name
        mode_t only;     // type of file that it is for; 0 for every one
        int match_flags; // of fnmatch
    };

    std::vector<Rule> rules_;
};

/// For each class, on a new line, its name and the files that it means.
std::string exclusion_classes();

} // namespace minibackup
