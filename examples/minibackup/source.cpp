#include "source.hpp"

#include <algorithm>
#include <list>
#include <nuriccl/filenamehelper.hpp>

namespace minibackup {

using nuriccl::FilenameHelper;

Source parse_source(const std::string& text) {
    if (!FilenameHelper::hasRecurseMarker(text)) {
        return {text, {}};
    }
    const std::string& marker = FilenameHelper::POSIX_RECURSE_MARKER;
    const std::size_t start = text.find(marker);
    std::list<std::string> names;
    FilenameHelper::split_filename(text.substr(start + marker.size()), names);
    names.remove(FilenameHelper::POSIX_PATH_SEPARATOR); // of "DIR/.//PATH"
    names.remove(FilenameHelper::DOT);
    if (std::find(names.begin(), names.end(), "..") != names.end()) {
        throw Error(text, "holds a '..' behind the '/./'");
    }
    if (!names.empty() && names.back() == FilenameHelper::POSIX_ALL_FILES) {
        names.pop_back();
    }
    return {text.substr(0, start + 1), {names.begin(), names.end()}};
}

std::vector<Identity> directories_on(const Way& way, TreeCursor& at) {
    std::vector<Identity> directories = {identity_of(at.status())};
    for (const std::string& name : way) {
        const mode_t mode = at.status_of_entry(name).st_mode;
        const bool last = at.depth() + 1 == way.size();
        if (S_ISLNK(mode) || (last && !S_ISDIR(mode))) {
            break;
        }
        at.enter(name);
        directories.push_back(identity_of(at.status()));
    }
    while (at.depth() != 0) {
        at.leave();
    }
    return directories;
}

} // namespace minibackup
