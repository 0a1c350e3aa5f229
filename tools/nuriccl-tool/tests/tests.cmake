# Tests of nuriccl-tool. Included by the top level once the test suite is set up.

find_package(Python3 REQUIRED COMPONENTS Interpreter)

foreach(case Base64 Completion Convert Examples Lock Manual Sign Streams Texts Usage Zlib)
    add_test(NAME nuriccl-tool.${case}
        COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_LIST_DIR}/tool_test.py
            $<TARGET_FILE:nuriccl-tool> ${PROJECT_SOURCE_DIR} ${PROJECT_VERSION} ${case})
    set_tests_properties(nuriccl-tool.${case} PROPERTIES TIMEOUT 120)
endforeach()
