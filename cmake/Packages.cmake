# The archives that tools/package makes, of all that is installed. The packages for Debian are made from
# debian/.
set(CPACK_PACKAGE_NAME common-services)
set(CPACK_PACKAGE_VENDOR "The common-services maintainers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)
include(CPack)
