#include "catching.hpp"

#include <nuriagent/message.hpp>
#include <nuriccl/address_map.hpp>
#include <nuriccl/Base64Wrapper.hpp>
#include <nuriccl/buffer.hpp>

#include <exception>
#include <iostream>
#include <stdexcept>

namespace {

template <class Exception, class Call>
bool throws(const char* what, Call call) {
    try {
        call();
    } catch (const Exception&) {
        return true;
    } catch (const std::exception& other) {
        std::cerr << what << " threw something else: " << other.what() << '\n';
        return false;
    } catch (...) {
        std::cerr << what << " threw what is no std::exception\n";
        return false;
    }
    std::cerr << what << " threw nothing\n";
    return false;
}

} // namespace

bool exceptions_are_caught() {
    const bool of_the_standard_library =
        throws<std::range_error>("segment", [] { nuriccl::Buffer(1).segment(0x7FFFFFFF, 1); });
    const bool of_the_services = throws<VI18NError>(
        "Save", [] { nuriccl::AddressMap().Save("/there is no such folder/addresses"); });
    // Thrown here, it has to be what the library and other modules know by that name.
    const bool of_the_library = throws<nuriccl::Base64Wrapper::exception>(
        "this module", [] { throw nuriccl::Base64Wrapper::encode_failure(); });
    return of_the_standard_library && of_the_services && of_the_library;
}
