# The test suite: GoogleTest from the sources that Debian packages, one program per family.

set(NURICCL_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "Sources of GoogleTest")
if(NOT EXISTS ${NURICCL_GOOGLETEST_SOURCE}/CMakeLists.txt)
    message(FATAL_ERROR
        "GoogleTest's sources are not in '${NURICCL_GOOGLETEST_SOURCE}'. Install Debian's package "
        "googletest, set NURICCL_GOOGLETEST_SOURCE, or configure with -DNURICCL_BUILD_TESTS=OFF.")
endif()
set(INSTALL_GTEST OFF)
set(BUILD_GMOCK OFF)
add_subdirectory(${NURICCL_GOOGLETEST_SOURCE} googletest EXCLUDE_FROM_ALL SYSTEM)
include(CheckLinkerFlag)
include(GoogleTest)

# Test code is bulky, and what it is compiled with says nothing of the library: in an optimised
# build the full treatment would take three quarters of the time of the whole. (Checked copies come
# with optimisation only.)
set(nuriccl_test_options -g1 -U_FORTIFY_SOURCE $<$<CONFIG:RelWithDebInfo,Release>:-O0>)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # What the library's own code has, and what the headers of the kernels are written for.
    list(APPEND nuriccl_test_options -msse2)
endif()
if(NURICCL_SANITIZE MATCHES address,undefined)
    # Half of the time. The library is checked in full, and what a test does to its memory, too.
    list(APPEND nuriccl_test_options
        -fno-sanitize=undefined -fno-sanitize-address-use-after-scope)
endif()
if(NURICCL_SANITIZE)
    list(APPEND nuriccl_test_options -w) # the other presets warn of the same
    add_compile_definitions(NURICCL_SANITIZED) # for what is left out then
endif()
# Of a program with one thread, it is enough to watch the library: half of the time again.
set(nuriccl_test_options_for_threads ${nuriccl_test_options})
if(NURICCL_SANITIZE STREQUAL "thread")
    list(APPEND nuriccl_test_options -fno-sanitize=thread)
endif()
# A hundred programs are linked, each in half the time.
check_linker_flag(CXX -fuse-ld=gold NURICCL_HAS_GOLD)
if(NURICCL_HAS_GOLD)
    set(nuriccl_test_link_options -fuse-ld=gold)
endif()
target_link_options(gtest_main INTERFACE ${nuriccl_test_link_options})
target_compile_options(gtest PRIVATE ${nuriccl_test_options})
target_compile_options(gtest_main PRIVATE ${nuriccl_test_options})

# What nearly every test includes, compiled once. No header or source of the library sees it.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/tests/test_headers.cpp CONTENT "")
add_library(nuriccl_test_headers OBJECT ${PROJECT_BINARY_DIR}/tests/test_headers.cpp)
nuriccl_configure_target(nuriccl_test_headers)
target_compile_options(nuriccl_test_headers PRIVATE ${nuriccl_test_options})
target_link_libraries(nuriccl_test_headers PRIVATE gtest_main)
target_precompile_headers(nuriccl_test_headers PRIVATE
    <gtest/gtest.h> <algorithm> <array> <fstream> <functional> <locale> <map> <optional> <random>
    <set> <sstream> <string> <vector>)

# Programs that run their models so often that a little optimisation takes less time than it saves.
# It does not with a sanitizer.
set(nuriccl_busy_tests
    kernels_codepages nuriagent_schedule nuriccl_filenamehelper nuriccl_fsvlist nuriccl_string)

# For test programs of code that is compiled elsewhere. What lies in headers is tested as a program
# would have it.
function(nuriccl_compile_test_quickly target)
    if(NURICCL_SANITIZE STREQUAL "thread")
        get_target_property(sources ${target} SOURCES)
        list(GET sources 0 source)
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
        file(STRINGS ${source} threads REGEX "std::(thread|async)|pthread_create" LIMIT_COUNT 1)
        if(threads)
            target_compile_options(${target} PRIVATE ${nuriccl_test_options_for_threads})
            return()
        endif()
    endif()
    target_compile_options(${target} PRIVATE ${nuriccl_test_options})
    if(target IN_LIST nuriccl_busy_tests AND NOT NURICCL_SANITIZE)
        # Precompiled headers are for one level of it.
        target_compile_options(${target} PRIVATE $<$<CONFIG:RelWithDebInfo,Release>:-Og>)
        return()
    endif()
    target_precompile_headers(${target} REUSE_FROM nuriccl_test_headers)
endfunction()

# A test program from one file; `target` is the library that it is about.
function(nuriccl_add_test name source)
    add_executable(${name} ${source})
    nuriccl_configure_target(${name})
    # No more than where in the source something is: variables take as long as all else.
    target_compile_options(${name} PRIVATE -g1)
    target_link_libraries(${name} PRIVATE ${ARGN} gtest_main)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
    if(NURICCL_SANITIZE OR NURICCL_COVERAGE)
        nuriccl_add_dealt_tests(${name})
    else()
        gtest_discover_tests(${name}
            TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 600)
    endif()
endfunction()

# With a sanitizer or counters most cases take less time than a process needs to start and end. So
# the cases of a program are dealt out to four processes; GoogleTest names the one that fails.
function(nuriccl_add_dealt_tests name)
    set(hands 4)
    foreach(hand RANGE 1 ${hands})
        math(EXPR index "${hand} - 1")
        add_test(NAME ${name}.${hand}_of_${hands} COMMAND ${name})
        set_tests_properties(${name}.${hand}_of_${hands} PROPERTIES
            ENVIRONMENT "GTEST_TOTAL_SHARDS=${hands};GTEST_SHARD_INDEX=${index}"
            TIMEOUT 1200)
    endforeach()
endfunction()

# The test programs of all families of the libraries that are built here.
function(nuriccl_add_family_tests)
    foreach(library ${nuriccl_libraries})
        get_target_property(families ${library} NURICCL_FAMILIES)
        get_target_property(header_families ${library} NURICCL_HEADER_FAMILIES)
        if(NURICCL_AGENT_TARGET)
            # They look at a trace and at messages in ways that nuriccl itself does not need.
            list(REMOVE_ITEM families address_map buffer)
        endif()
        foreach(family ${families} ${header_families})
            nuriccl_add_test(${library}_${family}
                SharedLibraries/${library}/tests/${family}.cpp ${library})
        endforeach()
        if(NURICCL_SANITIZE STREQUAL "thread")
            list(APPEND families ${header_families}) # which have nothing that threads share
        endif()
        foreach(family ${families})
            nuriccl_compile_test_quickly(${library}_${family})
        endforeach()
    endforeach()
endfunction()

# The test programs of the services, for those of an agent. How its trace and its messages look is
# its own affair, and so is what it keeps in an unfinished SHA-1; nuriccl_signature knows digests.
function(nuriccl_add_service_tests agent)
    foreach(service base64 isotime safe schedule)
        nuriccl_add_test(nuriagent_${service}
            SharedLibraries/nuriagent/tests/${service}.cpp ${agent})
    endforeach()
endfunction()
