#include <nuriagent/safe.hpp>
#include <nuriccl/Version.hpp>

namespace nuriccl {

namespace {

const char BUILD_MARK[] = "build ";

int sign(std::int32_t a, std::int32_t b) { return (a > b) - (a < b); }

// The build number behind the dot at `dot`, or behind the mark.
std::int32_t build_of(const std::string& text, std::string::size_type dot) {
    std::int32_t build = 0;
    if (dot != std::string::npos) {
        build = safe::StringToInt32(text.substr(dot + 1));
    }
    const std::string::size_type mark = build == 0 ? text.find(BUILD_MARK) : std::string::npos;
    if (mark != std::string::npos) {
        build = safe::StringToInt32(text.substr(mark + sizeof BUILD_MARK - 1));
    }
    return build;
}

} // namespace

Version::Version(const char* text) { init(text != nullptr ? text : ""); }

Version::Version(const std::string& text) { init(text); }

void Version::init(const std::string& text) {
    const std::string::size_type dot = text.find('.');
    const std::int32_t major = safe::StringToInt32(text.substr(0, dot));
    std::int32_t minor = 0;
    std::int32_t patch = 0;
    std::string::size_type next_dot = std::string::npos;
    if (dot != std::string::npos) {
        minor = safe::StringToInt32(text.substr(dot + 1, 1));
        patch = safe::StringToInt32(text.substr(dot + 2, 1));
        next_dot = text.find('.', dot + 1);
    }
    const std::int32_t build = build_of(text, next_dot);
    m_major = major;
    m_minor = minor;
    m_patch = patch;
    m_build = build;
}

int Version::compare(const Version& other, const granularity& g) const noexcept {
    const int depth = g < MAJOR || g > BUILD ? MINOR : g;
    int order = sign(m_major, other.m_major);
    if (order == 0 && depth >= MINOR) {
        order = sign(m_minor, other.m_minor);
    }
    if (order == 0 && depth >= PATCH) {
        order = sign(m_patch, other.m_patch);
    }
    if (order == 0 && depth >= BUILD) {
        order = sign(m_build, other.m_build);
    }
    return order;
}

int Version::compare_major(const Version& other) const noexcept { return compare(other, MAJOR); }
int Version::compare_major(const std::string& other) const { return compare_major(Version(other)); }
int Version::compare_minor(const Version& other) const noexcept { return compare(other, MINOR); }
int Version::compare_minor(const std::string& other) const { return compare_minor(Version(other)); }
int Version::compare_patch(const Version& other) const noexcept { return compare(other, PATCH); }
int Version::compare_patch(const std::string& other) const { return compare_patch(Version(other)); }
int Version::compare_build(const Version& other) const noexcept { return compare(other, BUILD); }
int Version::compare_build(const std::string& other) const { return compare_build(Version(other)); }

} // namespace nuriccl
