# Holds the documents against the library: the examples in the public headers are compiled and run,
# and so is what the README tells its reader to do; links lead somewhere.

find_program(NURICCL_AWK awk REQUIRED)

file(GLOB nuriccl_public_headers CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/SharedLibraries/*/include/*/*.hpp)
set(nuriccl_header_examples ${PROJECT_BINARY_DIR}/docs/header_examples.cpp)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/docs)
add_custom_command(
    OUTPUT ${nuriccl_header_examples}
    COMMAND ${NURICCL_AWK} -v output=${nuriccl_header_examples}
        -f ${PROJECT_SOURCE_DIR}/tests/docs/header_examples.awk ${nuriccl_public_headers}
    DEPENDS ${PROJECT_SOURCE_DIR}/tests/docs/header_examples.awk ${nuriccl_public_headers}
    COMMENT "Gathering the examples of the public headers"
    VERBATIM)
add_executable(docs_header_examples ${nuriccl_header_examples})
nuriccl_configure_target(docs_header_examples)
# The examples say what holds by assert.
target_compile_options(docs_header_examples PRIVATE -UNDEBUG)
target_link_libraries(docs_header_examples PRIVATE nuriccl)
set_target_properties(docs_header_examples PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
add_test(NAME docs.header_examples COMMAND docs_header_examples)

find_program(NURICCL_BASH bash REQUIRED)
file(GLOB nuriccl_documents CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/*.md ${PROJECT_SOURCE_DIR}/docs/*.md)
add_test(NAME docs.links
    COMMAND ${NURICCL_BASH} ${PROJECT_SOURCE_DIR}/tests/docs/links.sh ${nuriccl_documents})

# The README's reader builds without sanitizers.
if(PROJECT_IS_TOP_LEVEL AND NOT NURICCL_SANITIZE)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
        set(nuriccl_readme_preset i386)
    else()
        set(nuriccl_readme_preset x86_64)
    endif()
    add_test(NAME docs.readme
        COMMAND ${NURICCL_BASH} ${PROJECT_SOURCE_DIR}/tests/docs/readme.sh
            ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/docs/readme
            ${nuriccl_readme_preset})
    set_tests_properties(docs.readme PROPERTIES TIMEOUT 900 PROCESSORS 2)
endif()
