# What cpack makes of a build folder: an archive of the installed tree (TGZ), or Debian packages.

if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(CPACK_SYSTEM_NAME linux-i386)
else()
    set(CPACK_SYSTEM_NAME linux-x86_64)
endif()
set(CPACK_GENERATOR TGZ)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
if(NURICCL_PACKAGES_OF)
    include(cmake/NuricclDebian.cmake)
endif()
include(CPack)
