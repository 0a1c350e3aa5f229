#include "escape.hpp"
#include "vector.hpp"

namespace kernels {

namespace {

constexpr std::size_t WIDTH = 16;

constexpr signed char BIT_OF[] = {1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4, 8, 16, 32, 64, -128};

// A set of bytes by their low nibbles: for each one, a bit for each high nibble, of the lower half
// and of the upper half of all bytes.
class Members {
public:
    explicit Members(const ByteSet& set)
        : lower_(columns_of(set.bits)), upper_(columns_of(set.bits + 16)),
          bit_of_(Vector::lanes_of(BIT_OF)) {}

    // A bit for each of WIDTH bytes, the first one lowest.
    unsigned int among(const char* text) const {
        const Vector bytes = Vector::load(text);
        const Vector keep = Vector::all(static_cast<char>(0x8f)); // a sign takes nothing
        const Vector columns =
            lower_.taken(bytes & keep) | upper_.taken((bytes ^ Vector::all(-128)) & keep);
        const Vector bit = bit_of_.taken(bytes.words_shifted_right<4>() & Vector::all(0x0f));
        return equal_bytes(columns & bit, bit).high_bits();
    }

private:
    // Turns 8 rows of 16 bits by a right angle.
    static Vector columns_of(const unsigned char* rows) {
        constexpr signed char HALVES[] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1};
        const Vector all = Vector::load(rows);
        const Vector bit = Vector::lanes_of(BIT_OF);
        Vector places = Vector::lanes_of(HALVES);
        Vector columns = Vector::zero();
        for (int row = 0; row < 8; ++row) {
            const Vector present = equal_bytes(all.taken(places) & bit, bit);
            columns = columns | (present & Vector::all(static_cast<char>(1 << row)));
            places = add_bytes(places, Vector::all(2));
        }
        return columns;
    }

    Vector lower_;
    Vector upper_;
    Vector bit_of_;
};

constexpr std::size_t SHORT = 2 * WIDTH; // for which it does not pay to turn the set

} // namespace

std::size_t count_members_ssse3(const char* text, std::size_t length, const ByteSet& set) noexcept {
    std::size_t count = 0;
    if (length >= SHORT) {
        const Members members(set);
        for (; length >= WIDTH; text += WIDTH, length -= WIDTH) {
            for (unsigned int bits = members.among(text); bits != 0; bits &= bits - 1) {
                ++count;
            }
        }
    }
    return count + count_members_portable(text, length, set);
}

void escape_members_ssse3(const char* text, std::size_t length, const ByteSet& set, char escape,
                          char* to) noexcept {
    if (length >= SHORT) {
        const Members members(set);
        while (length >= WIDTH) { // and at least as much room
            Vector::load(text).store(to);
            const unsigned int bits = members.among(text);
            const std::size_t run =
                bits != 0 ? static_cast<std::size_t>(__builtin_ctz(bits)) : WIDTH;
            text += run;
            to += run;
            length -= run;
            if (bits != 0) {
                to = write_escaped(to, escape, *text++);
                --length;
            }
        }
    }
    escape_members_portable(text, length, set, escape, to);
}

} // namespace kernels
