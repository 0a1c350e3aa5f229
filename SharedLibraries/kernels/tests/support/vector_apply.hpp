#pragma once

/// @file
/// The operations for the instructions that the including source is compiled for.

#include "../../vector.hpp"
#include "vector_operations.hpp"

#include <cstring>

namespace vector_operations {

namespace {

using kernels::Vector;

Vector combine(Operation operation, const unsigned char* first, const unsigned char* second) {
    const Vector a = Vector::load(first);
    const Vector b = Vector::load(second);
    switch (operation) {
    case Operation::COPY:
        return a;
    case Operation::COPY_LANES:
        return Vector::load_lanes(first, second);
    case Operation::ZERO:
        return Vector::zero();
    case Operation::ALL:
        return Vector::all(static_cast<char>(first[0]));
    case Operation::ALL_WORDS: {
        std::uint32_t word;
        std::memcpy(&word, first, sizeof word);
        return Vector::all_words(word);
    }
    case Operation::LANES_OF: {
        signed char lane[16];
        std::memcpy(lane, first, sizeof lane);
        return Vector::lanes_of(lane);
    }
    case Operation::AND:
        return a & b;
    case Operation::OR:
        return a | b;
    case Operation::EXCLUSIVE_OR:
        return a ^ b;
    case Operation::ADD_BYTES:
        return add_bytes(a, b);
    case Operation::SUBTRACT_BYTES:
        return subtract_bytes(a, b);
    case Operation::SUBTRACT_TO_ZERO:
        return subtract_to_zero(a, b);
    case Operation::EQUAL_BYTES:
        return equal_bytes(a, b);
    case Operation::GREATER_BYTES:
        return greater_bytes(a, b);
    case Operation::ADD_WORDS:
        return add_words(a, b);
    case Operation::WORDS_SHIFTED_RIGHT:
        return a.words_shifted_right<5>();
    case Operation::WORDS_ROTATED_LEFT:
        return a.words_rotated_left<5>();
    case Operation::MOVED_DOWN:
        return a.moved_down<5>();
    case Operation::MOVED_UP:
        return a.moved_up<5>();
    case Operation::MULTIPLY_ADD_HALVES:
        return multiply_add_halves(a, b);
    case Operation::MULTIPLY_LOW:
        return multiply_low(a, b);
    case Operation::MULTIPLY_HIGH:
        return multiply_high(a, b);
#ifdef __SSSE3__
    case Operation::TAKEN:
        return a.taken(b);
    case Operation::MIDDLE:
        return kernels::middle<5>(a, b);
    case Operation::MULTIPLY_ADD_BYTES:
        return multiply_add_bytes(a, b);
#endif
    default:
        return Vector::zero();
    }
}

std::size_t apply(Operation operation, const unsigned char* a, const unsigned char* b,
                  unsigned char* result) {
    if (operation == Operation::HIGH_BITS) {
        const std::uint32_t bits = Vector::load(a).high_bits();
        std::memcpy(result, &bits, sizeof bits);
    } else if (operation == Operation::IS_ZERO) {
        *result = Vector::load(a).is_zero() ? 1 : 0;
    } else if (operation == Operation::STORE_LOW_OF_LANES) {
        Vector::load(a).store_low_of_lanes(result, result + 12);
    } else if (operation == Operation::COPY_LANES) {
        combine(operation, a, b).store_lanes(result, result + 16);
    } else {
        combine(operation, a, b).store(result);
    }
    return Vector::SIZE;
}

} // namespace

} // namespace vector_operations
