# A Debian package, by `cpack` in a build whose prefix is /usr: the preset `package`.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME brindlemoss)
set(CPACK_PACKAGE_CONTACT "Brindlemoss <maintainers@brindlemoss.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/packaging/debian/finish_files.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"One raw message goes in, a number from 0 (let it pass) to 100 (spam) comes out,
with the reasons. The program never moves, changes or deletes mail.
.
The package holds the program, the shared library, and what is needed to build
programs with it in C and C++.")

# Beside what the files name, the libraries that are opened when a message needs them. Nobody should
# be without: undecoded pictures count as spam, texts in most character sets cannot be read, and
# where a language is refused but none can be told, no message is analysed.
string(REGEX MATCH "^[0-9]+" icu_release ${ICU_VERSION})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libcld2-0, libfreeimage3, libicu${icu_release}")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS bash-completion)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

foreach(script postinst postrm triggers)
  list(APPEND CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/packaging/debian/${script})
endforeach()
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
