# Manual pages are compressed in Debian packages, and the same bytes come out at every build.
file(GLOB_RECURSE pages "${CPACK_TEMPORARY_DIRECTORY}/usr/share/man/man?/*.?")
execute_process(COMMAND gzip --best --no-name ${pages} COMMAND_ERROR_IS_FATAL ANY)
