# The packages that tools/package makes: two .deb, one a component, and archives that hold both.
set(CPACK_PACKAGE_NAME common-services)
set(CPACK_PACKAGE_VENDOR "The common-services maintainers")
set(CPACK_PACKAGE_CONTACT "The common-services maintainers <common-services@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL common-services common-services-dev)

set(CPACK_COMPONENT_COMMON-SERVICES_DESCRIPTION "Settings, a log, an exact clock, seeds, a frame
scheduler, a profiler and run-time ids, in two dynamic libraries. This package
is what a program that uses them needs to run.")
set(CPACK_COMPONENT_COMMON-SERVICES-DEV_DESCRIPTION "Settings, a log, an exact clock, seeds, a frame
scheduler, a profiler and run-time ids, in two dynamic libraries. This package
is what a program that uses them is built with: headers, CMake and pkg-config
files, guides and the sample host.")

# An archive, for a system without dpkg, is one file that holds everything.
set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMMON-SERVICES_PACKAGE_NAME common-services)
set(CPACK_DEBIAN_COMMON-SERVICES_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_COMMON-SERVICES-DEV_PACKAGE_NAME common-services-dev)
set(CPACK_DEBIAN_COMMON-SERVICES-DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_COMMON-SERVICES-DEV_PACKAGE_DEPENDS "common-services (= ${PROJECT_VERSION})")

include(CPack)
