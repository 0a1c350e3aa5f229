// Objects for gdb to show: in gallery::is_open they are all there.

#include <nuriccl/nuriccl.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <utility>

namespace gallery {

using nuriccl::Buffer;
using nuriccl::MultiBuffer;
using nuriccl::Encoding::CodePage;

// Buffers. Capacities are multiples of 24, which need no rounding in either pointer size.

Buffer buffer_of(const std::string& text, unsigned int capacity = 24) {
    Buffer buffer(capacity);
    std::memcpy(buffer.begin_update(), text.data(), text.size());
    buffer.end_update(static_cast<unsigned int>(text.size()));
    return buffer;
}

Buffer in_update(Buffer buffer) {
    buffer.begin_update();
    buffer.begin_update();
    return buffer;
}

std::string all_bytes() {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

Buffer no_storage;
Buffer no_storage_in_update;
Buffer fresh(48);
Buffer greeting = buffer_of("hello, world");
Buffer copy = greeting;
Buffer world = greeting.segment(7, 5);
Buffer taken = buffer_of("taken");
Buffer taker = std::move(taken);
Buffer updated = buffer_of("abc");
Buffer bytes = buffer_of(all_bytes(), 264);
Buffer large = buffer_of(std::string(1'000'000, 'x'), 1'000'008);
Buffer& reference = greeting;
Buffer* pointer = &greeting;

// Sequences

MultiBuffer nothing;

MultiBuffer make_stream() { // whose ring goes round
    MultiBuffer pieces(greeting);
    pieces.push_back(Buffer());
    pieces.push_front(world);
    return pieces;
}

MultiBuffer stream = make_stream();
MultiBuffer::iterator first = stream.begin();
MultiBuffer::const_iterator second = ++stream.cbegin();
MultiBuffer::iterator last = stream.end();
MultiBuffer::iterator no_place;

nuriccl::deque<int> make_numbers(int count) {
    nuriccl::deque<int> numbers;
    for (int number = 1; number <= count; ++number) {
        numbers.push_back(number * number);
    }
    return numbers;
}

nuriccl::deque<int> numbers = make_numbers(4);
nuriccl::deque<int> many_numbers = make_numbers(100'000);
nuriccl::deque<int> no_numbers;

MultiBuffer make_long_stream() {
    MultiBuffer pieces;
    for (int i = 0; i < 20'000; ++i) {
        pieces.push_back(taker);
    }
    return pieces;
}

MultiBuffer long_stream = make_long_stream();

// Lists, maps and the rest

struct Tabbed : nuriccl::FSVList {
    Tabbed() : FSVList("\t") {
        quote_ = 0;
        escape_ = '\\';
        parse("one\ttwo");
    }
};

nuriccl::FSVList no_fields;
nuriccl::FSVList fields = nuriccl::FSVList().parse("plain,\"a, b\",\"say \"\"hi\"\"\",,\\");
Tabbed tabbed;
nuriccl::FSVList long_field = nuriccl::FSVList().parse(std::string(1000, 'f'));
nuriccl::FSVList control_characters = nuriccl::FSVList(";").parse("a\tb;c\x1b;\xff");

nuriccl::AddressMap make_addresses() {
    nuriccl::AddressMap map;
    map["web"] = {"192.0.2.1", "2001:db8::1"};
    map["Backup"] = {"192.0.2.7"};
    map["nowhere"] = {};
    map["a name that is longer than what a string holds by itself"] = {"192.0.2.9"};
    return map;
}

nuriccl::AddressMap no_addresses;
nuriccl::AddressMap addresses = make_addresses();
nuriccl::AddressMap many_addresses;

CodePage utf_8(nuriccl::Encoding::CP_UTF8);
CodePage cp_850(nuriccl::Encoding::CP_DEFAULT);
CodePage other_code_page(static_cast<nuriccl::Encoding::CodePages_e>(42));

nuriccl::Version version("7.12.345");
nuriccl::Version no_version("");

nuriccl::Cron at_night("0,30 22-23 * * mon-fri");
nuriccl::Cron last_day("5/15 */2 L 1-3 *");
nuriccl::Cron refused("61 * * * *");
cronblk empty_schedule{};

isotime noon = nuriccl::to_isotime("2026-03-01T12:00:30.25-03:30");
isotime no_time{};
isotime no_such_time = nuriccl::to_isotime("2026-13-01T12:00:30.25+00:00");

nuriccl::SingleInstance idle;
nuriccl::SingleInstance holder;

nuriccl::Signature open_signature;
nuriccl::Signature closed_signature;

// What is none

// An object that was not made.
template <class T>
union Unmade {
    explicit Unmade(int byte) { std::memset(static_cast<void*>(&object), byte, sizeof object); }
    ~Unmade() {}
    T object;
};

template <class T>
struct Garbage {
    Unmade<T> zero{0};
    Unmade<T> pattern{0xaa};
};

Garbage<Buffer> no_buffer;
Garbage<MultiBuffer> no_multi_buffer;
Garbage<MultiBuffer::iterator> no_iterator;
Garbage<nuriccl::deque<int>> no_deque;
Garbage<nuriccl::FSVList> no_list;
Garbage<nuriccl::AddressMap> no_map;
Garbage<CodePage> no_code_page;
Garbage<nuriccl::Cron> no_cron;
Garbage<nuriccl::SingleInstance> no_instance;
Garbage<nuriccl::Signature> no_signature;

// The bytes of an object that has other owners, or none any more.
template <class T>
void take_bytes(Unmade<T>& place, const T& object) {
    std::memcpy(static_cast<void*>(&place.object), static_cast<const void*>(&object),
                sizeof object);
}

Unmade<Buffer> given_back{0};
Unmade<Buffer> overlong{0};
MultiBuffer broken_stream = make_stream();
MultiBuffer::iterator outside = broken_stream.end();
Unmade<nuriccl::deque<int>> cut_off{0};
Unmade<nuriccl::AddressMap> overgrown{0};

void set_word(void* place, std::size_t index, std::uint32_t value) {
    std::memcpy(static_cast<unsigned char*>(place) + index * sizeof value, &value, sizeof value);
}

void break_objects() {
    {
        const Buffer buffer = buffer_of("gone");
        take_bytes(given_back, buffer);
    }
    const std::size_t length = 2 * sizeof(void*) / sizeof(std::uint32_t); // behind two pointers
    take_bytes(overlong, greeting);
    set_word(&overlong.object, length, 25);
    std::memset(static_cast<void*>(&*broken_stream.begin()), 0x55, sizeof(Buffer));
    ++outside; // past the end
    const std::size_t head = sizeof(void*) / sizeof(std::uint32_t) + 1;
    take_bytes(cut_off, numbers);
    set_word(&cut_off.object, head, 10);
    // Its header is elsewhere: the nodes lead back to the map that they belong to.
    take_bytes(overgrown, addresses);
}

// The library's own answers

template <class T, std::size_t SIZE>
struct Answer {
    T object;
    char text[SIZE];
};

template <class T, std::size_t SIZE>
void set_answer(Answer<T, SIZE>& answer, const T& object, const std::string& text) {
    answer.object = object;
    text.copy(answer.text, SIZE - 1); // the rest is 0
}

std::array<Answer<cronblk, 300>, 3000> schedules;
std::array<Answer<isotime, 32>, 1000> times;
std::array<Answer<Buffer, 5000>, 300> dumps;

class Random {
public:
    std::uint32_t below(std::uint32_t bound) { return bits() % bound; }
    std::uint8_t byte(std::uint32_t bound) { return static_cast<std::uint8_t>(below(bound)); }

    // Steps, runs, everything, or any bits: what a schedule's text has forms for.
    std::uint32_t mask() {
        const std::uint32_t kind = below(6);
        std::uint32_t mask = kind == 0 ? 0xffffffff : 0;
        if (kind == 1) {
            for (std::uint32_t bit = below(32), step = 1 + below(9); bit < 32; bit += step) {
                mask |= std::uint32_t{1} << bit;
            }
        } else if (kind == 2) {
            mask = (std::uint32_t{0xffffffff} >> below(32)) << below(32);
        } else if (kind == 3) {
            mask = bits() & bits() & bits();
        } else if (kind == 4) {
            mask = bits();
        }
        return mask;
    }

private:
    std::uint32_t bits() { return static_cast<std::uint32_t>(engine_()); }

    std::mt19937 engine_; // the same numbers each time
};

void ask_library() {
    Random random;
    for (auto& answer : schedules) {
        const cronblk block = {random.mask(), random.mask(), random.mask(),
                               random.mask(), random.mask(), random.mask()};
        set_answer(answer, block, pln_crn2str(&block));
    }
    for (auto& answer : times) {
        isotime time{};
        time.zone_flag = random.below(2) != 0;
        const int offset = static_cast<int>(random.below(4096)) - 2048;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion" // 12 bits
        time.zone_offset = time.zone_flag != 0 || random.below(9) == 0 ? offset : 0;
#pragma GCC diagnostic pop
        time.year = static_cast<std::uint16_t>(random.below(10'050));
        time.month = random.byte(13);
        time.day = random.byte(33);
        time.hour = random.byte(25);
        time.minute = random.byte(61);
        time.second = random.byte(61);
        time.hundredths = random.byte(101);
        time.ten_thousandths = random.byte(101);
        time.millionths = random.byte(101);
        set_answer(answer, time, nuriccl::to_str(time));
    }
    for (auto& answer : dumps) {
        std::string text;
        for (std::uint32_t left = 1 + random.below(700); left > 0; --left) {
            text += static_cast<char>(random.byte(256));
        }
        std::string dump;
        nuriccl::string::hex_dump(dump, text.data(), static_cast<int>(text.size()), nullptr,
                                  nullptr);
        set_answer(answer, buffer_of(text, 720), dump);
    }
}

void fill() {
    no_storage_in_update.begin_update();
    updated = in_update(updated);
    updated.begin_update();
    updated.begin_update();
    cp_850.init(850, "CP850");
    for (int i = 0; i < 1000; ++i) {
        many_addresses["host" + std::to_string(i)] = {"192.0.2.1"};
    }
    const unsigned char abc[] = {'a', 'b', 'c'};
    open_signature.update(abc, sizeof abc);
    closed_signature.update(abc, sizeof abc).close();
    ask_library();
    break_objects();
}

[[gnu::noinline]] std::size_t is_open(const Buffer& left, const Buffer& right) {
    return left.data_length() + right.data_length();
}

} // namespace gallery

int main() {
    gallery::fill();
    // The identifier of a semaphore set that nobody makes: it would stay when gdb ends the program.
    const int semaphores = 32770;
    gallery::set_word(&gallery::holder, 0, semaphores);
    const std::size_t length = gallery::is_open(gallery::greeting, gallery::copy);
    gallery::set_word(&gallery::holder, 0, 0xffffffff);
    // The Buffer that was overwritten is not to be destroyed.
    new (&*gallery::broken_stream.begin()) gallery::Buffer();
    return length == 24 ? 0 : 1;
}
