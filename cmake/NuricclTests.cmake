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
include(GoogleTest)

# A test program from one file; `target` is the library that it is about.
function(nuriccl_add_test name source)
    add_executable(${name} ${source})
    nuriccl_configure_target(${name})
    target_link_libraries(${name} PRIVATE ${ARGN} gtest_main)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
    gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 600)
endfunction()

# The test programs of all families of the libraries that are built here.
function(nuriccl_add_family_tests)
    foreach(library ${nuriccl_libraries})
        get_target_property(families ${library} NURICCL_FAMILIES)
        get_target_property(header_families ${library} NURICCL_HEADER_FAMILIES)
        foreach(family ${families} ${header_families})
            nuriccl_add_test(${library}_${family}
                SharedLibraries/${library}/tests/${family}.cpp ${library})
        endforeach()
    endforeach()
endfunction()
