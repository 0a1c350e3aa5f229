#include "progress.hpp"

#include "commands.hpp"

#include <algorithm>
#include <cstdio>
#include <nuriccl/string.hpp>
#include <nuriccl/util.hpp>
#include <unistd.h>

namespace minibackup {

namespace {

using nuriccl::string::format_string;

constexpr std::chrono::milliseconds BETWEEN_DRAWINGS(100);
constexpr unsigned int BAR_WIDTH = 16;

std::string in_units(double bytes) {
    static const char* const UNITS[] = {"bytes", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    std::size_t unit = 0;
    for (; bytes >= 1024 && unit + 1 < std::size(UNITS); ++unit) {
        bytes /= 1024;
    }
    return format_string(unit == 0 ? "%.0f %s" : "%.1f %s", bytes, UNITS[unit]);
}

} // namespace

std::string byte_text(std::uint64_t bytes) {
    return nuriccl::to_str(bytes) + " bytes (" + in_units(static_cast<double>(bytes)) + ')';
}

Progress::Progress(bool quiet) : quiet_(quiet), shows_bar_(!quiet && isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() { erase(); }

void Progress::expect(std::uint64_t bytes) {
    total_ += bytes;
    advance(0);
}

void Progress::advance(std::uint64_t bytes) {
    done_ += bytes;
    if (shows_bar_ && Clock::now() >= next_draw_) {
        draw();
        next_draw_ = Clock::now() + BETWEEN_DRAWINGS;
    }
}

void Progress::draw() {
    const auto done = static_cast<double>(done_);
    const auto total = static_cast<double>(std::max(total_, done_)); // files grow
    const double rate = done / std::max(seconds(), 0.001);
    const double part = total > 0 ? done / total : 0;
    const auto left =
        static_cast<unsigned long>(std::min((total - done) / std::max(rate, 1.0), 359999.0));
    std::string bar(static_cast<std::size_t>(part * BAR_WIDTH), '#');
    bar.resize(BAR_WIDTH, '.');
    std::fprintf(stderr, "\r[%s] %3.0f%%  %s of %s  %s/s  %lu:%02lu:%02lu left\033[K", bar.c_str(),
                 part * 100, in_units(done).c_str(), in_units(total).c_str(),
                 in_units(rate).c_str(), left / 3600, left / 60 % 60, left % 60);
    drawn_ = true;
}

void Progress::erase() {
    if (drawn_) {
        std::fputs("\r\033[K", stderr);
        drawn_ = false;
    }
}

void Progress::fault(const std::string& message) {
    ++faults_;
    warn(message);
}

void Progress::warn(const std::string& message) {
    erase();
    std::fprintf(stderr, "minibackup: %s\n", message.c_str());
}

void Progress::summary(const Rows& rows, std::uint64_t bytes) {
    erase();
    if (quiet_) {
        return;
    }
    for (const auto& [heading, text] : rows) {
        std::printf("%-10s%s\n", heading, text.c_str());
    }
    std::printf("%-10s%.2f s (%s/s)\n", "time", seconds(),
                in_units(static_cast<double>(bytes) / std::max(seconds(), 0.001)).c_str());
    if (faults_ != 0) {
        std::printf("%-10s%s, named above\n", "faults", nuriccl::to_str(faults_).c_str());
    }
}

int Progress::status() const noexcept { return faults_ == 0 ? DONE : INCOMPLETE; }

} // namespace minibackup
