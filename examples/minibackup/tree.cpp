#include "tree.hpp"

#include "system/names.hpp"

#include <nuriccl/filenamehelper.hpp>
#include <optional>

namespace minibackup {

namespace {

using nuriccl::FilenameHelper;

// Each level takes a descriptor, of which a process usually gets 1024.
constexpr std::size_t LEVELS_MAX = 1000;

// Takes a step that may be impossible in this tree, which is reported then; whether it succeeds.
template <class Step>
bool attempt(TreeVisitor& visitor, Step step) {
    try {
        step();
        return true;
    } catch (const Error& error) {
        visitor.fault(error);
        return false;
    }
}

// Visits something in the directory. A sub-directory is only noted.
void visit_entry(const TreeCursor& at, const std::string& name, bool asks, TreeVisitor& visitor,
                 std::vector<std::string>& directories) {
    struct stat status;
    if (!attempt(visitor, [&] { status = at.status_of_entry(name); }) ||
        (asks && !visitor.takes(at, name, status))) {
        return;
    }
    if (S_ISDIR(status.st_mode)) {
        directories.push_back(name);
    } else {
        visitor.entry(at, name, status);
    }
}

// Visits what is next on the way and returns its name if it is a directory.
std::vector<std::string> visit_next(const TreeCursor& at, const Way& way, TreeVisitor& visitor) {
    std::vector<std::string> directories;
    const std::string& name = way[at.depth()];
    visit_entry(at, name, false, visitor, directories);
    if (directories.empty() && at.depth() + 1 < way.size()) {
        visitor.fault(Error(at.path_of(name), "is no directory itself, '" +
                                                  readable(way[at.depth() + 1]) +
                                                  "' in it is not saved"));
    }
    return directories;
}

// Visits what is in the directory and returns the names of its sub-directories.
std::vector<std::string> visit_entries(const TreeCursor& at, TreeVisitor& visitor) {
    std::vector<std::string> directories;
    std::optional<DirectoryNames> names;
    attempt(visitor, [&] { names.emplace(at.fd(), ".", at.path()); });
    bool more = names.has_value();
    std::string name;
    while (more && attempt(visitor, [&] { more = names->next(name); }) && more) {
        visit_entry(at, name, true, visitor, directories);
    }
    return directories;
}

} // namespace

TreeCursor::TreeCursor(const std::string& root) {
    push(open_at(AT_FDCWD, root, OPEN_DIRECTORY, root), root);
    below_start_ = path_of("").size();
}

std::string TreeCursor::path_of(const std::string& name) const {
    return FilenameHelper::appendSeparator(path_) + name;
}

std::string TreeCursor::path_below_start(const std::string& name) const {
    return path_of(name).substr(below_start_);
}

struct stat TreeCursor::status_of_entry(const std::string& name) const {
    struct stat status;
    const int result = fstatat(fd(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW);
    check(result, path_of(name), "cannot get the status");
    return status;
}

void TreeCursor::enter(const std::string& name) {
    const std::string path = path_of(name);
    if (levels_.size() == LEVELS_MAX) {
        throw Error(path, "lies too deep");
    }
    push(open_at(fd(), name, OPEN_DIRECTORY | O_NOFOLLOW, path), path);
}

void TreeCursor::push(Descriptor directory, std::string path) {
    const struct stat status = status_of(directory.get(), path);
    levels_.push_back({std::move(directory), status, path.size()});
    path_ = std::move(path);
}

void TreeCursor::leave() noexcept {
    levels_.pop_back();
    path_.resize(levels_.back().path_length);
}

void walk(TreeCursor& at, const std::string& name, const Way& way, const Identity& left_out,
          TreeVisitor& visitor) {
    visitor.enter(at, name);
    const bool on_way = at.depth() < way.size();
    for (const std::string& directory :
         on_way ? visit_next(at, way, visitor) : visit_entries(at, visitor)) {
        if (attempt(visitor, [&] { at.enter(directory); })) {
            if (identity_of(at.status()) != left_out) {
                walk(at, directory, way, left_out, visitor);
            }
            at.leave();
        }
    }
    visitor.leave();
}

} // namespace minibackup
