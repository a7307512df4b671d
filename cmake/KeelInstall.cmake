include(CMakePackageConfigHelpers)

install(TARGETS relmark keelbase keelanim
        EXPORT KeelanimTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${KEEL_INCLUDE_DIR}/keelanim DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
install(EXPORT KeelanimTargets NAMESPACE Keelanim:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Keelanim)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/KeelanimConfig.cmake.in
                              ${CMAKE_CURRENT_BINARY_DIR}/KeelanimConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Keelanim)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/KeelanimConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KeelanimConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/KeelanimConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Keelanim)
