#include "sha1.hpp"
#include "sha1_schedule.hpp"

void kernels::sha1_blocks_ssse3(std::uint32_t* state, const unsigned char* blocks,
                                std::size_t count) noexcept {
    Sha1Scheduled::run(state, blocks, count);
}
