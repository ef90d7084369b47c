# The packages that tools/package makes: two .deb, one a component, and archives that hold both.
set(CPACK_PACKAGE_NAME common-services)
set(CPACK_PACKAGE_VENDOR "The common-services maintainers")
set(CPACK_PACKAGE_CONTACT "The common-services maintainers <root@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL common-services common-services-dev)

set(services "settings, a log, an exact clock, seeds, a frame scheduler, a profiler and run-time ids")
set(CPACK_COMPONENT_COMMON-SERVICES_DESCRIPTION "What the programs of a real-time game engine share:
 ${services}, in two dynamic libraries. This package is what such a program needs to run.")
set(CPACK_COMPONENT_COMMON-SERVICES-DEV_DESCRIPTION "${PROJECT_DESCRIPTION} (development files)
 What the programs of a real-time game engine share: ${services}. This package holds what such a
 program is built with: headers, CMake and pkg-config files, guides and the sample host.")

# An archive, for a system without dpkg, is one file that holds everything.
set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMMON-SERVICES_PACKAGE_NAME common-services)
set(CPACK_DEBIAN_COMMON-SERVICES_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_COMMON-SERVICES-DEV_PACKAGE_NAME common-services-dev)
set(CPACK_DEBIAN_COMMON-SERVICES-DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_COMMON-SERVICES-DEV_PACKAGE_DEPENDS "common-services (= ${PROJECT_VERSION})")

include(CPack)
