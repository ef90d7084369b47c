# What is installed, in two components: `common-services` is what a program needs to run,
# `common-services-dev` what it is built with.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS vorn_lnk common_services common_services_kit EXPORT CommonServicesTargets
        RUNTIME COMPONENT common-services
        LIBRARY COMPONENT common-services NAMELINK_COMPONENT common-services-dev
        ARCHIVE COMPONENT common-services-dev
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT common-services-dev
        FILE_SET log_format DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT common-services-dev)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/CommonServices)
install(EXPORT CommonServicesTargets NAMESPACE CommonServices:: DESTINATION ${package_folder}
        COMPONENT common-services-dev)
configure_package_config_file(cmake/CommonServicesConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/CommonServicesConfig.cmake
                              INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/CommonServicesConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/CommonServicesConfig.cmake
              ${PROJECT_BINARY_DIR}/CommonServicesConfigVersion.cmake
        DESTINATION ${package_folder} COMPONENT common-services-dev)

# A debug build has files of its own, such as common_servicesd.pc, as it has libraries of its own. The
# folders are found from the file's place, but for a system's own prefix, which stays where it is.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
           BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE prefix_from_pc)
if(CMAKE_INSTALL_PREFIX STREQUAL /usr)
  set(prefix_of_pc /usr)
else()
  set(prefix_of_pc "\${pcfiledir}/${prefix_from_pc}")
endif()
# A folder that is given as an absolute path takes the place of the prefix.
cmake_path(APPEND libdir_of_pc "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND includedir_of_pc "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})

function(install_pkg_config_file name_of_pc requires_of_pc)
  list(TRANSFORM ARGN REPLACE "(.+)" "-l$<TARGET_FILE_BASE_NAME:\\1>" OUTPUT_VARIABLE libs)
  list(JOIN libs " " libs_of_pc)
  configure_file(cmake/common_services.pc.in ${PROJECT_BINARY_DIR}/${name_of_pc}.pc.in @ONLY)
  set(file ${PROJECT_BINARY_DIR}/pkgconfig/${name_of_pc}$<$<CONFIG:Debug>:d>.pc)
  file(GENERATE OUTPUT ${file} INPUT ${PROJECT_BINARY_DIR}/${name_of_pc}.pc.in)
  install(FILES ${file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
          COMPONENT common-services-dev)
endfunction()
install_pkg_config_file(common_services "" common_services vorn_lnk)
install_pkg_config_file(common_services_kit "common_services$<$<CONFIG:Debug>:d>"
                        common_services_kit)

set(doc_folder ${CMAKE_INSTALL_DATADIR}/doc/common-services)
install(FILES debian/copyright DESTINATION ${doc_folder} COMPONENT common-services)

# Where README is installed, its links to the headers lead to the installed ones.
set(installed_readme ${PROJECT_BINARY_DIR}/installed/README.md)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR
           BASE_DIRECTORY ${CMAKE_INSTALL_FULL_DATADIR}/doc/common-services
           OUTPUT_VARIABLE include_from_doc)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS README.md)
file(READ README.md readme)
string(REPLACE "](include/" "](${include_from_doc}/" readme "${readme}")
file(WRITE ${installed_readme} "${readme}")
install(FILES ${installed_readme} CHANGELOG.md CONTRIBUTING.md
        DESTINATION ${doc_folder} COMPONENT common-services-dev)
install(DIRECTORY docs samples DESTINATION ${doc_folder} COMPONENT common-services-dev
        PATTERN docs/site EXCLUDE
        PATTERN samples/harbor/check EXCLUDE)
install(DIRECTORY share/lnav DESTINATION ${CMAKE_INSTALL_DATADIR}
        COMPONENT common-services-dev)
