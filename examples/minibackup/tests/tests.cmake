# Tests of the minibackup program. Included by the top level once the test suite is set up.

set(minibackup_tests ${CMAKE_CURRENT_LIST_DIR})

add_library(minibackup_faults MODULE ${minibackup_tests}/faults.cpp)
nuriccl_configure_target(minibackup_faults)
set_target_properties(minibackup_faults PROPERTIES
    LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
target_link_libraries(minibackup_faults PRIVATE ${CMAKE_DL_LIBS})

nuriccl_add_test(minibackup_test ${minibackup_tests}/minibackup_test.cpp
    minibackup_parts minibackup_system)
nuriccl_compile_test_quickly(minibackup_test)
target_sources(minibackup_test PRIVATE
    ${minibackup_tests}/lock_test.cpp
    ${minibackup_tests}/names_test.cpp
    ${minibackup_tests}/next_test.cpp
    ${minibackup_tests}/reliability_test.cpp
    ${minibackup_tests}/selection_test.cpp)
target_compile_definitions(minibackup_test PRIVATE
    MINIBACKUP_PROGRAM="$<TARGET_FILE:minibackup>"
    MINIBACKUP_FAULTS="$<TARGET_FILE:minibackup_faults>")
add_dependencies(minibackup_test minibackup minibackup_faults)
