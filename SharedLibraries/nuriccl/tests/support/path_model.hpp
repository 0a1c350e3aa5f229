#pragma once

/// @file
/// What the functions for paths have to give, one step after the other; the tests and the fuzz
/// target hold the library against it.

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <list>
#include <string>
#include <string_view>

namespace path_model {

template <class Char>
using Text = std::basic_string<Char>;

/// The same ASCII text in either width.
template <class Char>
Text<Char> text(std::string_view ascii) {
    return {ascii.begin(), ascii.end()};
}

template <class Char>
Text<Char> or_slash(const Text<Char>& sep) {
    return sep.empty() ? text<Char>("/") : sep;
}

template <class Char>
bool begins_with_unc_marker(const Text<Char>& path) {
    return path.size() >= 2 && path[0] == Char('\\') && path[1] == Char('\\');
}

/// Searches from the start each time. What takes more steps than could ever be needed never ends:
/// then nothing is done.
template <class Char>
Text<Char> squeezed_step_by_step(const Text<Char>& path, const Text<Char>& sep) {
    Text<Char> work = path;
    const bool unc = begins_with_unc_marker(work);
    if (unc) {
        work.erase(0, 2);
    }
    const Text<Char> single = or_slash(sep);
    const Text<Char> doubled = single + single;
    std::size_t steps_left = 4 * path.size();
    for (std::size_t found; (found = work.find(doubled)) != Text<Char>::npos; --steps_left) {
        if (steps_left == 0) {
            return path;
        }
        work.replace(found, 2, single);
    }
    return unc ? text<Char>("\\\\") + work : work;
}

/// The same for a separator of one character, in one pass.
template <class Char>
Text<Char> squeezed_in_one_pass(const Text<Char>& path, const Text<Char>& sep) {
    const Char separator = or_slash(sep)[0];
    const std::size_t start = begins_with_unc_marker(path) ? 2 : 0;
    Text<Char> result = path.substr(0, start);
    bool separated = false;
    for (std::size_t i = start; i < path.size(); ++i) {
        if (path[i] != separator || !separated) {
            result += path[i];
        }
        separated = path[i] == separator;
    }
    return result;
}

template <class Char>
Text<Char> squeeze(const Text<Char>& path, const Text<Char>& sep = {}) {
    return sep.size() <= 1 && path.size() > 1000 ? squeezed_in_one_pass(path, sep)
                                                 : squeezed_step_by_step(path, sep);
}

template <class Char>
Text<Char> chop(const Text<Char>& path) {
    if (path.empty()) {
        return path;
    }
    if (path.back() == Char('/')) {
        const Text<Char> squeezed = squeeze(path);
        return squeezed.substr(0, squeezed.size() - 1);
    }
    return path;
}

template <class Char>
Text<Char> plain_join(const Text<Char>& dir, const Text<Char>& name, const Text<Char>& sep) {
    const Text<Char> s = or_slash(sep);
    if (dir.empty()) {
        return name.empty() ? s : s + name;
    }
    return name.empty() ? dir + s : dir + s + name;
}

inline std::string join(const std::string& dir, const std::string& name, const std::string& sep) {
    return squeeze(plain_join(dir, name, sep), sep);
}

inline std::wstring join(const std::wstring& dir, const std::wstring& name,
                         const std::wstring& sep) {
    return plain_join(dir, name, sep);
}

template <class Char>
Text<Char> append_separator(const Text<Char>& path, const Text<Char>& sep) {
    Text<Char> s = or_slash(sep);
    if (path.empty()) {
        return s;
    }
    return Text<Char>(1, path.back()) == s ? path : path + s;
}

template <class Char>
Text<Char> dir_name(const Text<Char>& path) {
    const Text<Char> chopped = chop(path);
    for (std::size_t p = chopped.size(); p-- > 0;) {
        if (chopped[p] == Char('/')) {
            return chopped.substr(0, p + 1);
        }
    }
    return {};
}

inline constexpr std::size_t NONE = static_cast<std::size_t>(-1);

template <class Char>
std::size_t marker(const Text<Char>& path) {
    const Text<Char> marker = text<Char>("/./");
    const auto found = std::search(path.begin(), path.end(), marker.begin(), marker.end());
    return found == path.end() ? NONE : static_cast<std::size_t>(found - path.begin());
}

template <class Char>
Text<Char> append_marker(const Text<Char>& path) {
    return marker(path) != NONE ? path : join(path, text<Char>("/./"), {});
}

template <class Char>
Text<Char> insert_marker(const Text<Char>& path) {
    if (marker(path) != NONE) {
        return path;
    }
    for (std::size_t p = path.size(); p-- > 0;) {
        if (path[p] == Char('/')) {
            return squeeze(path.substr(0, p) + text<Char>("/./") + path.substr(p));
        }
    }
    return append_marker(path);
}

template <class Char>
Text<Char> remove_marker(const Text<Char>& path) {
    const std::size_t p = marker(path);
    return p == NONE ? path : path.substr(0, p) + path.substr(p + 2);
}

template <class Char>
Text<Char> select_all(const Text<Char>& path) {
    return join(append_marker(path), text<Char>("*"), {});
}

using Parts = std::list<std::string>;

inline Parts split(const std::string& path) {
    Parts parts;
    for (std::size_t i = 0; i < path.size();) {
        if (path[i] == '/') {
            if (i == 0) {
                parts.push_back("/");
            }
            ++i;
            continue;
        }
        const std::size_t next = path.find('/', i);
        if (next == std::string::npos) {
            parts.push_back(path.substr(i));
            break;
        }
        parts.push_back(path.substr(i, next - i));
        i = next + 1;
    }
    return parts;
}

/// Removes components while it walks over the list.
inline void cancel(Parts& parts) {
    unsigned int cancellable = 0;
    for (auto part = parts.begin(); part != parts.end();) {
        if (*part == "." || part->empty() || (*part == "/" && part != parts.begin())) {
            part = parts.erase(part);
        } else if (*part == ".." && cancellable >= 1) {
            const auto following = parts.erase(part);
            const auto before = std::prev(following);
            if (before == parts.begin()) {
                part = before;
            } else {
                --cancellable;
                parts.erase(before);
                part = following;
            }
        } else {
            cancellable += *part == ".." ? 0 : 1;
            ++part;
        }
    }
}

inline std::string squeeze_filename(const std::string& path) {
    Parts parts = split(path);
    cancel(parts);
    std::string result;
    for (auto part = parts.begin(); part != parts.end(); ++part) {
        if (part != parts.begin() && result != "/") {
            result += '/';
        }
        result += *part;
    }
    return result;
}

template <class Char>
Text<Char> without_stream(const Text<Char>& path) {
    for (std::size_t p = 1; p < path.size(); ++p) {
        if (path[p] == Char(':')) {
            return path.substr(0, p);
        }
    }
    return path;
}

inline std::string without_wildcards(std::string path) {
    for (std::size_t p; (p = path.find_first_of("*?")) != std::string::npos;) {
        path.erase(p, 1);
    }
    return path;
}

} // namespace path_model
