# The Debian packages libnuriccl1, libnuriccl-dev, minibackup and nuriccl-tool. Their tree differs
# from that of `cmake --install`: libraries lie in the folder of the architecture and have no run
# path. So they come from a build folder of their own; what is in them comes from the build folder
# NURICCL_PACKAGES_OF, and is not compiled again. scripts/package shows how.

set(debian ${PROJECT_SOURCE_DIR}/cmake/debian)
set(scratch ${PROJECT_BINARY_DIR}/debian)
file(MAKE_DIRECTORY ${scratch})

if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(architecture i386)
else()
    set(architecture amd64)
endif()

if(NOT nuriccl_makes_manuals)
    message(FATAL_ERROR
        "Debian's packages have man pages, which lowdown makes. Install Debian's package lowdown.")
endif()

# The release of the packages: Debian's changelog begins with "nuriccl (VERSION-REVISION)". A
# revision below 1 leaves the others to Debian.
file(STRINGS ${debian}/changelog entry LIMIT_COUNT 1)
if(NOT entry MATCHES "^nuriccl \\(${PROJECT_VERSION}-([^)]+)\\)")
    message(FATAL_ERROR "${debian}/changelog has no entry for ${PROJECT_VERSION}. Add one.")
endif()
set(revision ${CMAKE_MATCH_1})
set(package_version ${PROJECT_VERSION}-${revision})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL "")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${architecture})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${revision})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "nuriccl developers <developers@nuriccl.invalid>")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Each package has a description of its own, whose first line is the summary.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")

# run(<variable> <command>...): what a command prints
function(run variable)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
    set(${variable} ${printed} PARENT_SCOPE)
endfunction()

# Compressed in the same way each time, as both architectures have to have the same file.
function(compress source file)
    execute_process(COMMAND gzip -9nc ${source} OUTPUT_FILE ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# The files that every package has.
file(READ ${PROJECT_SOURCE_DIR}/LICENSE license)
string(REGEX MATCH "Copyright \\(c\\) ([^\n]*)" copyright ${license})
set(holder ${CMAKE_MATCH_1})
string(REGEX REPLACE "^.*(Permission is hereby.*[^\n])\n*$" "\\1" license ${license})
string(REPLACE "\n\n" "\n.\n" license ${license})
string(REPLACE "\n" "\n " license ${license})
configure_file(${debian}/copyright.in ${scratch}/copyright @ONLY)
compress(${debian}/changelog ${scratch}/changelog.Debian.gz)
compress(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${scratch}/changelog.gz)

# debian_package(<component> <name> <section> <multi-arch> <depends> <description>)
function(debian_package component name section multi_arch depends description)
    string(TOUPPER ${component} upper)
    set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
    # CPack knows no field for it, but writes fields as they are.
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION "${section}\nMulti-Arch: ${multi_arch}" PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS ${depends} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_DESCRIPTION ${description} PARENT_SCOPE)
    install(FILES
        ${scratch}/copyright ${scratch}/changelog.Debian.gz ${scratch}/changelog.gz
        DESTINATION share/doc/${name} COMPONENT ${component})
endfunction()

# built(<variable> <target> <folder> <component>): the file that was made of a target, which this
# build folder takes from the other one; it is installed in the folder. The system knows where its
# libraries are: nothing is left of the run path.
function(built variable target installed component)
    get_target_property(folder ${target} BINARY_DIR)
    file(RELATIVE_PATH folder ${PROJECT_BINARY_DIR} ${folder})
    set(folder ${NURICCL_PACKAGES_OF}/${folder})
    set_target_properties(${target} PROPERTIES
        LIBRARY_OUTPUT_DIRECTORY ${folder} RUNTIME_OUTPUT_DIRECTORY ${folder})
    get_target_property(type ${target} TYPE)
    set(file ${target})
    if(type STREQUAL SHARED_LIBRARY)
        set(file lib${target}.so.${NURICCL_SOVERSION})
    endif()
    if(NOT EXISTS ${folder}/${file})
        message(FATAL_ERROR "There is no ${folder}/${file}: build it first.")
    endif()
    set(packed "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${installed}/${file}")
    install(CODE "file(RPATH_REMOVE FILE \"${packed}\")" COMPONENT ${component})
    set(${variable} ${folder}/${file} PARENT_SCOPE)
endfunction()

# What programs have to depend on that are linked with the libraries: by library, and by the version
# of the symbols that they use, which stands in the lists of exports with the release it came with.
set(shlibs "")
set(symbols "")
set(libraries "")
foreach(library nuriagent nuriccl)
    string(APPEND shlibs
        "lib${library} ${NURICCL_SOVERSION} libnuriccl1 (>= ${PROJECT_VERSION})\n")
    string(APPEND symbols "lib${library}.so.${NURICCL_SOVERSION} libnuriccl1 #MINVER#\n"
        "* Build-Depends-Package: libnuriccl-dev\n")
    file(STRINGS ${PROJECT_SOURCE_DIR}/SharedLibraries/${library}/exports.txt versions
        REGEX "^\\[")
    foreach(version ${versions})
        string(REGEX REPLACE "^.(.*) (.*).$" " (symver)\\1 \\2\n" version ${version})
        string(APPEND symbols ${version})
    endforeach()
    built(file ${library} ${NURICCL_INSTALL_LIBDIR} runtime)
    list(APPEND libraries ${file})
endforeach()
file(WRITE ${scratch}/shlibs ${shlibs})
file(WRITE ${scratch}/symbols.in ${symbols})
file(WRITE ${scratch}/triggers "activate-noawait ldconfig\n")
list(TRANSFORM libraries PREPEND -e OUTPUT_VARIABLE arguments)
run(ignored dpkg-gensymbols -c4 -plibnuriccl1 -v${package_version} -a${architecture}
    -I${scratch}/symbols.in -O${scratch}/symbols ${arguments})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${scratch}/shlibs ${scratch}/symbols ${scratch}/triggers)

set(depends bash ${debian}/depends.sh ${scratch} ${scratch}/shlibs)
run(runtime_depends ${depends} -xlibnuriccl1 ${libraries})
debian_package(runtime libnuriccl1 libs same ${runtime_depends}
[[class library of a backup agent
Buffers that pass between the components of an agent without copying, text
utilities, conversions between code pages, compression, signatures, schedules,
and the names of files on several systems.

This package contains the shared libraries: nuriccl, and nuriagent with the
services of the agent that it calls.]])
debian_package(dev libnuriccl-dev libdevel same
    "libnuriccl1 (= ${package_version}), libboost-dev"
[[class library of a backup agent - development files
Buffers that pass between the components of an agent without copying, text
utilities, conversions between code pages, compression, signatures, schedules,
and the names of files on several systems.

This package contains the headers, and what CMake and pkg-config need to find
the libraries.]])
built(file minibackup bin minibackup)
run(minibackup_depends ${depends} ${file})
debian_package(minibackup minibackup utils foreign ${minibackup_depends}
[[backup into a store of blocks that are kept once
Saves folders, checks what was saved and restores it. Files are cut into
blocks, which are compressed and kept once however often they occur. It leaves
out what matches patterns, and tells when a schedule is due next.

It is the example program of libnuriccl1.]])
if(TARGET nuriccl-tool)
    built(file nuriccl-tool bin tool)
    run(tool_depends ${depends} ${file})
    debian_package(tool nuriccl-tool utils foreign ${tool_depends}
[[shows what a backup agent would do
Asks the class library of a backup agent from a shell: encodings of bytes and
names, signatures, fields and words of lines, paths, code pages, times,
versions, schedules and locks.]])
endif()
