# Installs the headers, the library, a CMake package (find_package(VekString
# CONFIG) gives Vek::String) with a version file, and vek-string.pc.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VEK_CMAKE_INSTALL_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/VekString")

install(TARGETS vek_string EXPORT VekStringTargets
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(DIRECTORY include/ DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(EXPORT VekStringTargets NAMESPACE Vek:: DESTINATION "${VEK_CMAKE_INSTALL_DIR}")

configure_package_config_file(cmake/VekStringConfig.cmake.in
    "${CMAKE_CURRENT_BINARY_DIR}/VekStringConfig.cmake"
    INSTALL_DESTINATION "${VEK_CMAKE_INSTALL_DIR}")
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/VekStringConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/VekStringConfig.cmake"
    "${CMAKE_CURRENT_BINARY_DIR}/VekStringConfigVersion.cmake"
    DESTINATION "${VEK_CMAKE_INSTALL_DIR}")

# The .pc file finds its prefix from its own location, so an install made
# with `cmake --install --prefix DIR` works wherever DIR is.
file(RELATIVE_PATH VEK_PC_TO_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" VEK_PC_TO_PREFIX "${VEK_PC_TO_PREFIX}")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(VEK_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
else()
    set(VEK_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
    set(VEK_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
else()
    set(VEK_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
if(APPLE)
    set(VEK_PC_LIBS_PRIVATE "-framework CoreFoundation")
endif()
configure_file(cmake/vek-string.pc.in "${CMAKE_CURRENT_BINARY_DIR}/vek-string.pc" @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/vek-string.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
