# Tests of the examples, minibackup aside. Included by the top level once the test suite is set up.

set(examples ${PROJECT_SOURCE_DIR}/examples)

# examples_test(<name> <script> <argument>...)
function(examples_test name script)
    add_test(NAME examples.${name} COMMAND bash ${examples}/tests/${script} ${ARGN})
    set_tests_properties(examples.${name} PROPERTIES LABELS examples)
endfunction()

get_target_property(families nuriccl NURICCL_FAMILIES)
get_target_property(header_families nuriccl NURICCL_HEADER_FAMILIES)
list(APPEND families ${header_families})
foreach(family ${families})
    examples_test(${family}
        transcript.sh ${PROJECT_BINARY_DIR}/examples ${examples}/expected/${family}.txt)
endforeach()

# No family without an example.
list(JOIN families " " families)
examples_test(families families.sh ${examples} ${families})

examples_test(links ../../tests/docs/links.sh ${examples}/README.md)
examples_test(excerpts
    excerpts.sh ${PROJECT_SOURCE_DIR} examples/README.md docs/embedding.md)
