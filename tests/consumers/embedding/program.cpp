// Makes sure that the library calls the services of the agent that embeds it.

#include "../check.hpp"
#include "agent.hpp"

#include <nuriccl/nuriccl.hpp>

namespace {

void check_trace_and_copies() {
    nuriccl::Buffer buffer(8);
    buffer.begin_update();
    buffer.end_update(8);
    const nuriccl::Buffer shared = buffer;
    buffer.begin_update(); // copies the bytes into a block of its own and says so
    CHECK(agent::calls.copies == 1);
    CHECK(agent::calls.records ==
          std::vector<std::string>{"level 1 in operator=: buffer contents were "
                                   "replaced during update"});
}

void check_digests() {
    CHECK(nuriccl::Signature::of("abcd", 4) == "0404040404040404040404040404040404040404");
    CHECK(agent::calls.digests == 1);
}

void check_time_stamps() {
    const isotime time = nuriccl::to_isotime("2021-03-04T05:06:07+01:00");
    CHECK(time.year == 2021 && time.second == 7 && time.zone_offset == 60);
    CHECK(agent::calls.numbers == 0); // plain digits are read without it
    CHECK(nuriccl::to_isotime("2021- 3-04T05:06:07+01:00").month == 3);
    CHECK(agent::calls.numbers == 1);
    CHECK(nuriccl::to_str(time) == "2021-03-04T05:06:07.00+01:00");
}

void check_base64() {
    std::string text;
    CHECK(nuriccl::Base64Wrapper::encode("ab", text) && text == "aabb");
    CHECK(!nuriccl::Base64Wrapper::decode("YWI=", text) && text == "aabb");
}

void check_messages() {
    std::string message;
    try {
        nuriccl::AddressMap().Save("/nowhere/map");
    } catch (const VI18NError& error) {
        message = error.what();
    }
    CHECK(message == "furious about 60-4145: /nowhere/map");
}

void check_schedules() {
    nuriccl::Cron cron("noon");
    CHECK(cron.valid() && cron.Hour() == 12 && cron.to_str() == "noon");
    CHECK(cron.Hour("noon") == 7 && cron.Minute("30") == 0);
    CHECK(!cron.convert("0 12 * * *") && cron.Hour() == 12);
}

} // namespace

int main() {
    check_trace_and_copies();
    check_digests();
    check_time_stamps();
    check_base64();
    check_messages();
    check_schedules();
    return failures;
}
