#include <nuriccl/tempfile.hpp>

namespace nuriccl {

namespace {

struct ExclusionClass {
    TempFile::ExclusionType::values kind;
    std::string name;
};

const ExclusionClass exclusions[] = {
    {TempFile::ExclusionType::SYSTEM, "Memory Page File"},
    {TempFile::ExclusionType::SYSTEM, "Power Management"},
    {TempFile::ExclusionType::END, ""},
};

} // namespace

bool TempFile::ExclusionClassByNameAndType(const std::string& name,
                                           ExclusionType::values kind) noexcept {
    for (const ExclusionClass* row = exclusions; row->kind != ExclusionType::END; ++row) {
        if (row->kind == kind && row->name == name) {
            return true;
        }
    }
    return false;
}

void TempFile::PathToPattern(std::string&) noexcept {}

} // namespace nuriccl
