# What `cmake --install` lays. Everything finds the rest by its own place, so a prefix may be chosen
# as late as with `cmake --install --prefix`.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS brindlemoss_program)
install(TARGETS brindlemoss_library EXPORT Brindlemoss)
install(DIRECTORY include/ TYPE INCLUDE FILES_MATCHING PATTERN "*.h")

# The folder in which src/platform/paths.h looks.
install(DIRECTORY share/languages DESTINATION share/brindlemoss)
install(FILES share/brindlemoss.idl DESTINATION share/brindlemoss)

# find_package(Brindlemoss)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Brindlemoss)
write_basic_package_version_file(BrindlemossConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/BrindlemossConfigVersion.cmake
  DESTINATION ${package_folder})
install(EXPORT Brindlemoss FILE BrindlemossConfig.cmake NAMESPACE Brindlemoss::
  DESTINATION ${package_folder})

# pkg-config brindlemoss
set(pkg_config_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkg_config /${pkg_config_folder} /)
string(REGEX REPLACE "/$" "" prefix_from_pkg_config ${prefix_from_pkg_config})
configure_file(cmake/brindlemoss.pc.in brindlemoss.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/brindlemoss.pc DESTINATION ${pkg_config_folder})

install(FILES docs/man/brindlemoss.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES docs/man/brindlemoss.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)
install(FILES share/bash-completion/completions/brindlemoss
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES README.md CHANGELOG.md TYPE DOC)
install(DIRECTORY docs examples TYPE DOC PATTERN man EXCLUDE PATTERN .gitattributes EXCLUDE)
