# Man pages, made of Markdown: section 1 of docs/man/NAME.1.md, section 3 of the guides. They are
# gzipped as Debian has them, and hold no date, so that they are the same each time.

set(nuriccl_makes_manuals OFF)
if(NURICCL_INSTALL OR NURICCL_BUILD_TESTS)
    find_program(NURICCL_LOWDOWN lowdown)
    if(NURICCL_LOWDOWN)
        find_program(NURICCL_SH sh REQUIRED)
        set(nuriccl_makes_manuals ON)
        add_custom_target(nuriccl_manuals ALL)
    else()
        message(STATUS "Without man pages: lowdown makes them (Debian's package of that name)")
    endif()
endif()

# nuriccl_add_manual(<source> COMPONENT <component> [NAME <name> SECTION <section>])
#
# A man page, made with the target nuriccl_manuals and installed with the component. Its name and
# section are those of the file, NAME.SECTION.md, unless they are given.
function(nuriccl_add_manual source)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "COMPONENT;NAME;SECTION" "")
    if(NOT nuriccl_makes_manuals)
        return()
    endif()
    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
    if(NOT arg_NAME)
        cmake_path(GET source FILENAME file)
        if(NOT file MATCHES "^(.+)\\.([1-8])\\.md$")
            message(FATAL_ERROR "'${source}' is not called NAME.SECTION.md")
        endif()
        set(arg_NAME ${CMAKE_MATCH_1})
        set(arg_SECTION ${CMAKE_MATCH_2})
    endif()
    set(manual man/man${arg_SECTION}/${arg_NAME}.${arg_SECTION}.gz)
    if(NURICCL_PACKAGES_OF)
        # A build folder that only packs has those of the one whose programs it packs.
        cmake_path(ABSOLUTE_PATH manual BASE_DIRECTORY ${NURICCL_PACKAGES_OF})
    else()
        cmake_path(ABSOLUTE_PATH manual BASE_DIRECTORY ${PROJECT_BINARY_DIR})
        file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/man/man${arg_SECTION})
        set(script ${PROJECT_SOURCE_DIR}/cmake/manual.sh)
        add_custom_command(
            OUTPUT ${manual}
            COMMAND ${NURICCL_SH} ${script} ${source} ${arg_NAME} ${arg_SECTION} ${PROJECT_VERSION}
                ${manual}
            DEPENDS ${script} ${source}
            COMMENT "Making the man page ${arg_NAME}(${arg_SECTION})"
            VERBATIM)
        add_custom_target(manual_${arg_NAME}.${arg_SECTION} DEPENDS ${manual})
        add_dependencies(nuriccl_manuals manual_${arg_NAME}.${arg_SECTION})
        set_property(GLOBAL APPEND PROPERTY NURICCL_MANUALS ${manual})
    endif()
    if(NURICCL_INSTALL)
        # Who builds the library alone installs it alone.
        install(FILES ${manual} DESTINATION share/man/man${arg_SECTION}
            COMPONENT ${arg_COMPONENT} OPTIONAL)
    endif()
endfunction()

file(GLOB nuriccl_guides CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/guides/*.md)
foreach(guide ${nuriccl_guides})
    cmake_path(GET guide STEM family)
    nuriccl_add_manual(${guide} COMPONENT dev NAME nuriccl_${family} SECTION 3)
endforeach()
if(NURICCL_BUILD_EXAMPLES)
    nuriccl_add_manual(docs/man/minibackup.1.md COMPONENT minibackup)
endif()
if(NURICCL_BUILD_TOOLS)
    nuriccl_add_manual(docs/man/nuriccl-tool.1.md COMPONENT tool)
endif()
