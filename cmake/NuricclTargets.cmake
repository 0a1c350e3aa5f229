# Settings that every target of this tree shares.

set(NURICCL_WARNINGS -Wall -Wextra -Wpedantic -Wconversion -Wshadow)

# Stack canaries, marks on the targets of indirect branches, copies that are checked where the
# compiler knows the room (which takes an optimised build), and tables of addresses that are
# read-only once a program runs. The sanitizers check more, and would miss what these catch first.
if(NURICCL_HARDEN AND NOT NURICCL_SANITIZE)
    set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
    set(NURICCL_HARDENING -fstack-protector-strong -fcf-protection
        $<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=2>)
    set(NURICCL_LINK_HARDENING LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endif()

# Language level, warnings and sanitizers for one target.
function(nuriccl_configure_target target)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
    target_compile_options(${target} PRIVATE
        ${NURICCL_WARNINGS} $<$<BOOL:${NURICCL_WERROR}>:-Werror>)
    # A 32-bit off_t or time_t would make lstat fail on files beyond 2 GiB, 64-bit inode numbers and
    # time stamps after 2038.
    target_compile_definitions(${target} PRIVATE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
    target_compile_options(${target} PRIVATE ${NURICCL_HARDENING})
    target_link_options(${target} PRIVATE ${NURICCL_LINK_HARDENING})
    if(NURICCL_SANITIZE)
        target_compile_options(${target} PRIVATE
            -fsanitize=${NURICCL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${NURICCL_SANITIZE})
    endif()
    if(NURICCL_COVERAGE)
        target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
        target_link_options(${target} PRIVATE --coverage)
    endif()
endfunction()

# What code needs in order to lie in a shared library of this tree.
function(nuriccl_configure_library_code target)
    set_target_properties(${target} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        POSITION_INDEPENDENT_CODE ON)
    # Calls inside the library go straight to its own functions.
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
        # SSE2 is the floor in both pointer sizes. The stack of a 32-bit caller may be aligned to 4
        # bytes only; vector registers that are put there need more.
        target_compile_options(${target} PRIVATE -msse2 -mstackrealign)
    endif()
endfunction()

# nuriccl_export(<target> <list>)
#
# The library exports what the reviewed list names, with the versions of the symbols that the list
# tells. Visibility already hides the rest of the library's own code; this also keeps in what the
# templates of the standard library would leave behind.
function(nuriccl_export target list)
    set(script ${PROJECT_SOURCE_DIR}/cmake/version_script.sh)
    set(map ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
    add_custom_command(TARGET ${target} PRE_LINK
        COMMAND ${CMAKE_COMMAND} -E env NM=${CMAKE_NM}
            bash ${script} ${list} $<TARGET_OBJECTS:${target}> > ${map}
        COMMAND_EXPAND_LISTS
        VERBATIM)
    target_link_options(${target} PRIVATE LINKER:--version-script=${map})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS
        ${list} ${script} ${PROJECT_SOURCE_DIR}/cmake/symbol_names.sed)
endfunction()

# nuriccl_add_library(<target> FAMILIES <name>... HEADER_FAMILIES <name>... KERNELS <name>...)
#
# A shared library of this tree, and the one list of its families: each is a header, a source (but
# for a header family) and a test file of the same name. The library gets its soname, hidden
# visibility, and exports what its reviewed list, exports.txt, names. The kernels that its families
# use become part of it.
function(nuriccl_add_library target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "FAMILIES;HEADER_FAMILIES;KERNELS")
    list(TRANSFORM arg_FAMILIES REPLACE ".+" "source/\\0.cpp" OUTPUT_VARIABLE sources)
    foreach(kernel ${arg_KERNELS})
        list(APPEND sources $<TARGET_OBJECTS:nuriccl_kernel_${kernel}>)
    endforeach()
    add_library(${target} SHARED ${sources})
    add_library(nuriccl::${target} ALIAS ${target})
    nuriccl_configure_target(${target})
    nuriccl_configure_library_code(${target})
    set_target_properties(${target} PROPERTIES
        NURICCL_FAMILIES "${arg_FAMILIES}"
        NURICCL_HEADER_FAMILIES "${arg_HEADER_FAMILIES}"
        SOVERSION ${NURICCL_SOVERSION}
        INSTALL_RPATH "$ORIGIN")
    nuriccl_export(${target} ${CMAKE_CURRENT_SOURCE_DIR}/exports.txt)
    if(NOT NURICCL_SANITIZE)
        target_link_options(${target} PRIVATE LINKER:-z,defs)
    endif()
    target_include_directories(${target} PUBLIC
        $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>
        $<INSTALL_INTERFACE:include>)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/SharedLibraries)
endfunction()
