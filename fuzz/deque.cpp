// A deque under a sequence of operations, held against the standard library's; its elements keep
// count of themselves.

#include "fuzz.hpp"

#include <nuriccl/deque.hpp>

#include <algorithm>
#include <deque>
#include <iterator>
#include <memory>

namespace {

// A value in memory of its own, so that the sanitizers see an element that is used when it should
// not be. One that was moved away is 0.
class Element {
public:
    explicit Element(int value) : value_(std::make_unique<int>(value)) { ++count; }
    Element(const Element& other) : Element(other.value()) {}
    Element(Element&& other) noexcept : value_(std::move(other.value_)) { ++count; }
    Element& operator=(const Element& other) {
        value_ = std::make_unique<int>(other.value());
        return *this;
    }
    Element& operator=(Element&& other) noexcept = default;
    ~Element() { --count; }

    int value() const { return value_ ? *value_ : 0; }

    static int count; // of elements that live

private:
    std::unique_ptr<int> value_;
};

int Element::count = 0;

bool operator==(const Element& a, const Element& b) { return a.value() == b.value(); }

using Queue = nuriccl::deque<Element>;
using Model = std::deque<Element>;

void check(Queue& queue, const Model& model) {
    const Queue& constant = queue;
    FUZZ_REQUIRE(queue.empty() == model.empty());
    FUZZ_REQUIRE(queue.size() == model.size());
    FUZZ_REQUIRE(queue.slot_count() > queue.size());
    FUZZ_REQUIRE(std::equal(constant.begin(), constant.end(), model.begin(), model.end()));
    auto place = queue.end();
    for (auto expected = model.rbegin(); expected != model.rend(); ++expected) {
        FUZZ_REQUIRE(*--place == *expected);
    }
    FUZZ_REQUIRE(place == queue.begin());
    if (!model.empty()) {
        FUZZ_REQUIRE(constant.front() == model.front() && constant.back() == model.back());
    }
}

class Machine {
public:
    explicit Machine(FuzzInput input) : input_(input) {}

    void run() {
        while (!input_.empty()) {
            step();
            check(queue_, model_);
            check(other_, other_model_);
            const std::size_t living =
                queue_.size() + other_.size() + model_.size() + other_model_.size();
            FUZZ_REQUIRE(Element::count == static_cast<int>(living));
        }
    }

private:
    void step() {
        const int value = input_.byte();
        switch (value % 16) {
        case 0:
        case 1:
        case 2:
            push_back(Element(value));
            break;
        case 3:
        case 4:
            push_front(Element(value));
            break;
        case 5:
            pop_front();
            break;
        case 6:
            pop_back();
            break;
        case 7: // an element of its own, also when the ring has to grow
            if (!model_.empty()) {
                push_back(queue_.front());
            }
            break;
        case 8:
            if (!model_.empty()) {
                push_front(queue_.back());
            }
            break;
        case 9: // many at once, so that short inputs reach large rings too
            for (int i = input_.byte() % 32; i > 0; --i) {
                push_back(Element(i));
            }
            break;
        case 10:
            for (std::size_t i = input_.byte() % 32U; i > 0 && !model_.empty(); --i) {
                pop_front();
            }
            break;
        case 11:
            other_ = queue_;
            other_model_ = model_;
            break;
        case 12:
            move_away();
            break;
        case 13:
            swap(queue_, other_);
            model_.swap(other_model_);
            break;
        case 14: {
            const unsigned int slots = queue_.slot_count();
            queue_.clear();
            model_.clear();
            FUZZ_REQUIRE(queue_.slot_count() == slots);
            break;
        }
        default:
            if (!model_.empty()) {
                *queue_.begin() = Element(value);
                model_.front() = Element(value);
            }
            break;
        }
    }

    // The model first: the element may be one of the queue, which moves away when the ring grows.
    void push_back(const Element& element) {
        if (model_.size() < MANY) {
            model_.push_back(element);
            queue_.push_back(element);
        }
    }

    void push_front(const Element& element) {
        if (model_.size() < MANY) {
            model_.push_front(element);
            queue_.push_front(element);
        }
    }

    void pop_front() {
        if (!model_.empty()) {
            queue_.pop_front();
            model_.pop_front();
        }
    }

    void pop_back() {
        if (!model_.empty()) {
            queue_.pop_back();
            model_.pop_back();
        }
    }

    void move_away() {
        Queue moved(std::move(queue_));
        check(queue_, Model());
        FUZZ_REQUIRE(queue_.slot_count() == 1);
        other_ = std::move(moved);
        other_model_ = std::move(model_);
        model_.clear();
    }

    static constexpr std::size_t MANY = 300; // elements, which keeps a run short

    FuzzInput input_;
    Queue queue_;
    Queue other_;
    Model model_;
    Model other_model_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Machine(FuzzInput(data, size)).run();
    FUZZ_REQUIRE(Element::count == 0);
    return 0;
}
