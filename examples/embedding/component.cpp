// A component of the agent: it uses nuriccl as every program does, and finds the services of the
// agent behind it.
//
// usage: component [FILE]     the server table to write

#include <nuriagent/trace.hpp>
#include <nuriccl/nuriccl.hpp>

#include <iostream>
#include <string>

namespace {

// An update that nobody has ended: nuriccl tells the agent's trace of it.
void replace_during_update() {
    nuritrace::tMEMORY = true;
    nuriccl::Buffer buffer(64);
    buffer.begin_update();
    buffer = nuriccl::Buffer();
}

int save_servers(const std::string& path) {
    try {
        nuriccl::AddressMap servers;
        servers["alpha"] = {"10.0.0.1"};
        servers.Save(path);
        return 0;
    } catch (const VI18NError& error) { // a message of the agent's catalogue
        std::cout << "message:   " << error.what() << '\n';
        return 1;
    }
}

} // namespace

int main(int argc, char** argv) {
    std::cout << "signature: " << nuriccl::Signature::of("abc", 3) << '\n';
    std::string text;
    if (nuriccl::Base64Wrapper::encode("what the agent says", text)) {
        std::cout << "base64:    " << text << '\n';
    }
    std::cout << "schedule:  " << nuriccl::Cron("0 22 * * mon-fri").to_str() << '\n';
    const int status = save_servers(argc > 1 ? argv[1] : "/no/such/folder/servers");
    replace_during_update();
    for (const std::string& record : agent::recent_records()) {
        std::cout << "trace:     " << record << '\n';
    }
    return argc > 1 ? status : 0;
}
