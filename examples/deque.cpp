// The messages that were sent and not acknowledged yet: new ones are added at the back, those that
// are acknowledged leave at the front, and all that are left are sent again, in order, when the
// connection had to be made anew.
//
// usage: deque [COMMAND...]     commands: send, ack=N (all up to number N), reconnect

#include <nuriccl/deque.hpp>
#include <nuriccl/util.hpp>

#include <iostream>
#include <string>
#include <vector>

namespace {

class SendWindow {
public:
    // Returns false while too many messages are under way.
    bool send() {
        if (under_way_.size() == MOST) {
            return false;
        }
        under_way_.push_back(++last_);
        std::cout << "sent " << last_ << '\n';
        return true;
    }

    // Returns false when there is no such message.
    bool acknowledge(unsigned int number) {
        if (number > last_) {
            return false;
        }
        while (!under_way_.empty() && under_way_.front() <= number) {
            under_way_.pop_front();
        }
        return true;
    }

    void reconnect() const {
        for (const unsigned int number : under_way_) {
            std::cout << "sent again " << number << '\n';
        }
    }

    void show() const {
        std::cout << under_way_.size() << " under way";
        if (!under_way_.empty()) {
            std::cout << ", from " << under_way_.front() << " to " << under_way_.back();
        }
        std::cout << '\n';
    }

private:
    static constexpr unsigned int MOST = 4;
    nuriccl::deque<unsigned int>
        under_way_; // its slots are used again and again: nothing is allocated
    unsigned int last_ = 0;
};

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> commands(argv + 1, argv + argc);
    if (commands.empty()) {
        commands = {"send", "send", "send", "ack=1", "reconnect", "send", "send", "send", "ack=4"};
    }
    SendWindow window;
    for (const std::string& command : commands) {
        unsigned int number = 0;
        if (command == "send") {
            if (!window.send()) {
                std::cout << "waiting for an acknowledgement\n";
            }
        } else if (command == "reconnect") {
            window.reconnect();
        } else if (command.compare(0, 4, "ack=") != 0 ||
                   !nuriccl::fromStr(number, command.substr(4)) || !window.acknowledge(number)) {
            std::cerr << "not understood: " << command << '\n';
            return 2;
        }
    }
    window.show();
    return 0;
}
