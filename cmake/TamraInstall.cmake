# `cmake --install`: headers, libraries, assets and the package that find_package(TamraGameEngine) finds.

include(CMakePackageConfigHelpers)

get_property(libraries GLOBAL PROPERTY TAMRA_LIBRARIES)
get_property(folders GLOBAL PROPERTY TAMRA_LIBRARY_FOLDERS)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/TamraGameEngine)

install(TARGETS ${libraries} EXPORT TamraGameEngineTargets)
install(EXPORT TamraGameEngineTargets NAMESPACE TamraGameEngine:: DESTINATION ${package_folder})
foreach(folder IN LISTS folders)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder} ${PROJECT_BINARY_DIR}/generated/${folder}
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h" PATTERN "*Internal.h" EXCLUDE)
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/assets/ DESTINATION ${CMAKE_INSTALL_DATADIR}/TamraGameEngine)

configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/TamraGameEngineConfig.cmake.in
    ${PROJECT_BINARY_DIR}/TamraGameEngineConfig.cmake
    INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/TamraGameEngineConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/TamraGameEngineConfig.cmake
    ${PROJECT_BINARY_DIR}/TamraGameEngineConfigVersion.cmake
    DESTINATION ${package_folder})
