# Holds the documents against the library: the examples in the public headers, in the guides and in
# the other documents are compiled and run, and so is what the README tells its reader to do; links
# lead somewhere, and the site is made without a warning.

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
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(nuriccl_doc_tests ${PROJECT_SOURCE_DIR}/tests/docs)
file(GLOB nuriccl_guides CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/guides/*.md)
file(GLOB nuriccl_documents CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/*.md ${PROJECT_SOURCE_DIR}/docs/*.md ${PROJECT_SOURCE_DIR}/docs/man/*.md
    ${PROJECT_SOURCE_DIR}/docs/site/*.md)
add_test(NAME docs.links
    COMMAND ${NURICCL_BASH} ${nuriccl_doc_tests}/links.sh ${nuriccl_documents} ${nuriccl_guides})

# nuriccl_add_document_tests(<folder> <document>...)
#
# Makes programs of the documents' examples, whose sources go to the folder, and defines
# nuriccl_add_document_test. What the documents hold is known only after they were read, so a change
# of one of them configures the build anew.
function(nuriccl_add_document_tests folder)
    execute_process(
        COMMAND ${Python3_EXECUTABLE} -B ${nuriccl_doc_tests}/examples.py split ${folder} ${ARGN}
        OUTPUT_VARIABLE listing
        ERROR_VARIABLE fault
        RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "A document cannot be tested: ${fault}")
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
        ${nuriccl_doc_tests}/examples.py ${ARGN})
    nuriccl_add_document_program(statements ${folder}/statements.cpp)
    string(REGEX MATCHALL "program [^\n]+" programs "${listing}")
    foreach(program ${programs})
        string(REGEX MATCH "^program ([^ ]+) (.+)$" program "${program}")
        nuriccl_add_document_program(${CMAKE_MATCH_1} ${CMAKE_MATCH_2})
    endforeach()
    if(listing MATCHES "tool ([^\n]+)" AND NOT TARGET nuriccl-tool)
        message(FATAL_ERROR
            "'${CMAKE_MATCH_1}' shows commands with nuriccl-tool, which is not built. Configure "
            "with -DNURICCL_BUILD_TOOLS=ON, or without the tests (-DNURICCL_BUILD_TESTS=OFF).")
    endif()
endfunction()

# The examples say what holds by assert.
function(nuriccl_add_document_program name source)
    add_executable(docs_${name} ${source})
    nuriccl_configure_target(docs_${name})
    target_compile_options(docs_${name} PRIVATE ${nuriccl_test_options} -UNDEBUG)
    target_link_libraries(docs_${name} PRIVATE nuriccl)
    target_link_options(docs_${name} PRIVATE ${nuriccl_test_link_options})
    set_target_properties(docs_${name} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
endfunction()

# nuriccl_add_document_test(<name> <document>...): runs the examples of the documents.
function(nuriccl_add_document_test name)
    set(commands /nowhere)
    if(TARGET nuriccl-tool)
        set(commands $<TARGET_FILE_DIR:nuriccl-tool>)
    endif()
    add_test(NAME docs.${name}
        COMMAND Python3::Interpreter -B ${nuriccl_doc_tests}/examples.py run
            ${PROJECT_BINARY_DIR}/tests ${commands} ${PROJECT_BINARY_DIR}/docs/run/${name} ${ARGN})
endfunction()

# The README has blocks of other kinds.
set(nuriccl_plain_documents ${nuriccl_documents})
list(REMOVE_ITEM nuriccl_plain_documents ${PROJECT_SOURCE_DIR}/README.md)
# What each kind of block is good for, compiled and run also when no guide has one of it.
set(nuriccl_sample_document ${nuriccl_doc_tests}/fixtures/kinds.md)
nuriccl_add_document_tests(${PROJECT_BINARY_DIR}/docs/examples
    ${nuriccl_sample_document} ${nuriccl_plain_documents} ${nuriccl_guides})
nuriccl_add_document_test(sample ${nuriccl_sample_document})
nuriccl_add_document_test(plain ${nuriccl_plain_documents})
foreach(guide ${nuriccl_guides})
    cmake_path(GET guide STEM name)
    nuriccl_add_document_test(guide.${name} ${guide})
endforeach()
# Fails when there are no man pages, for want of lowdown, or no mandoc to look at them.
get_property(nuriccl_manuals GLOBAL PROPERTY NURICCL_MANUALS)
add_test(NAME docs.manuals
    COMMAND ${NURICCL_BASH} ${nuriccl_doc_tests}/manuals.sh ${nuriccl_manuals})
if(TARGET minibackup)
    add_test(NAME docs.manual.minibackup
        COMMAND ${NURICCL_BASH} ${nuriccl_doc_tests}/manual_of_program.sh
            $<TARGET_FILE:minibackup> ${PROJECT_BINARY_DIR}/man/man1/minibackup.1.gz)
endif()

add_test(NAME docs.extraction
    COMMAND Python3::Interpreter -B ${nuriccl_doc_tests}/examples_test.py)

# The site does not depend on the pointer size, nor on what is built.
if(CMAKE_SIZEOF_VOID_P EQUAL 8 AND NOT NURICCL_SANITIZE AND NOT NURICCL_COVERAGE)
    add_test(NAME docs.site
        COMMAND ${NURICCL_BASH} ${nuriccl_doc_tests}/site.sh
            ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/docs/site)
endif()

# The README's reader builds for the product's pointer size, without sanitizers. The tests of the
# consumers take the same steps in both sizes.
if(PROJECT_IS_TOP_LEVEL AND CMAKE_SIZEOF_VOID_P EQUAL 4 AND NOT NURICCL_SANITIZE)
    add_test(NAME docs.readme
        COMMAND ${NURICCL_BASH} ${nuriccl_doc_tests}/readme.sh
            ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/docs/readme)
    set_tests_properties(docs.readme PROPERTIES TIMEOUT 900 COST 100)
endif()
