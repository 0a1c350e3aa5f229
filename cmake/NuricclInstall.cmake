# The installed tree: headers, both libraries, the programs, the CMake package and nuriccl.pc. Every
# path in it is relative, so the prefix is chosen at install time and the tree may be moved
# afterwards. Its components: runtime (what programs need that are linked already), dev (what it
# takes to build one), minibackup and tool.

if(NURICCL_AGENT_TARGET)
    message(FATAL_ERROR
        "NURICCL_INSTALL is on, but the agent services come from '${NURICCL_AGENT_TARGET}': an "
        "installed nuriccl needs the headers and the library of those services, which only their "
        "own project can install. Configure with -DNURICCL_INSTALL=OFF and install the target "
        "nuriccl from there.")
endif()

include(CMakePackageConfigHelpers)
set(package_dir ${NURICCL_INSTALL_LIBDIR}/cmake/nuriccl)

install(TARGETS nuriagent nuriccl EXPORT nuricclTargets
    LIBRARY DESTINATION ${NURICCL_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
install(DIRECTORY SharedLibraries/nuriagent/include/ SharedLibraries/nuriccl/include/
    DESTINATION include COMPONENT dev FILES_MATCHING PATTERN *.hpp)
install(EXPORT nuricclTargets NAMESPACE nuriccl:: DESTINATION ${package_dir} COMPONENT dev)

configure_package_config_file(cmake/nuricclConfig.cmake.in nuricclConfig.cmake
    INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
# Below 1.0 a minor version may change the interface. The version file also refuses a package of the
# other pointer size.
write_basic_package_version_file(nuricclConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/nuricclConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/nuricclConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT dev)

set(pkgconfig_dir ${NURICCL_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH nuriccl_pkgconfig_to_prefix /${pkgconfig_dir} /)
string(REGEX REPLACE "/$" "" nuriccl_pkgconfig_to_prefix ${nuriccl_pkgconfig_to_prefix})
configure_file(cmake/nuriccl.pc.in nuriccl.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/nuriccl.pc DESTINATION ${pkgconfig_dir} COMPONENT dev)

# Installed programs find the libraries of their tree.
file(RELATIVE_PATH libraries /bin /${NURICCL_INSTALL_LIBDIR})
foreach(program minibackup nuriccl-tool)
    if(TARGET ${program})
        set_target_properties(${program} PROPERTIES INSTALL_RPATH $ORIGIN/${libraries})
    endif()
endforeach()
