#include "tree.hpp"

#include <optional>

namespace minibackup {

namespace {

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

// Visits what is in the directory and returns the names of its sub-directories.
std::vector<std::string> visit_entries(const TreeCursor& at, TreeVisitor& visitor) {
    std::vector<std::string> directories;
    std::optional<DirectoryNames> names;
    attempt(visitor, [&] { names.emplace(at.fd(), ".", at.path()); });
    bool more = names.has_value();
    std::string name;
    while (more && attempt(visitor, [&] { more = names->next(name); }) && more) {
        struct stat status;
        const auto get_status = [&] {
            const int result = fstatat(at.fd(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW);
            check(result, at.path_of(name), "cannot get the status");
        };
        if (!attempt(visitor, get_status)) {
            continue;
        }
        if (S_ISDIR(status.st_mode)) {
            directories.push_back(name);
        } else {
            visitor.entry(at, name, status);
        }
    }
    return directories;
}

} // namespace

TreeCursor::TreeCursor(const std::string& root) {
    push(open_at(AT_FDCWD, root, OPEN_DIRECTORY, root), root);
}

std::string TreeCursor::path_of(const std::string& name) const {
    return path_.back() == '/' ? path_ + name : path_ + '/' + name;
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

void walk(TreeCursor& at, const std::string& name, const Identity& left_out, TreeVisitor& visitor) {
    visitor.enter(at, name);
    for (const std::string& directory : visit_entries(at, visitor)) {
        if (attempt(visitor, [&] { at.enter(directory); })) {
            if (identity_of(at.status()) != left_out) {
                walk(at, directory, left_out, visitor);
            }
            at.leave();
        }
    }
    visitor.leave();
}

} // namespace minibackup
