# `cmake --install`: libraries, headers, tools, assets, and the package that find_package(TamraGameEngine) finds.
#
# Components, for `cmake --install --component` as for find_package: each library by its name, with its headers; "Tools",
# the programs, which run beside the libraries; "Assets". A library needs those before it: TamraDeps, TamraEngine, Corvex,
# TamraGameEngine.

include(CMakePackageConfigHelpers)

get_property(libraries GLOBAL PROPERTY TAMRA_LIBRARIES)
get_property(folders GLOBAL PROPERTY TAMRA_LIBRARY_FOLDERS)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/TamraGameEngine)
set(asset_folder ${CMAKE_INSTALL_DATADIR}/TamraGameEngine)

function(tamra_install component)
    install(TARGETS ${ARGN} EXPORT ${component}Targets COMPONENT ${component})
    install(EXPORT ${component}Targets
        NAMESPACE TamraGameEngine:: DESTINATION ${package_folder} COMPONENT ${component}
        FILE TamraGameEngine-${component}.cmake)
endfunction()

foreach(library folder IN ZIP_LISTS libraries folders)
    tamra_install(${library} ${library})
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder} ${PROJECT_BINARY_DIR}/generated/${folder}
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT ${library}
        FILES_MATCHING PATTERN "*.h" PATTERN "*Internal.h" EXCLUDE)
endforeach()

get_property(tools GLOBAL PROPERTY TAMRA_TOOLS)
if(tools)
    file(RELATIVE_PATH libraries_from_tools ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(${tools} PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_tools}")
    tamra_install(Tools ${tools})
endif()
install(DIRECTORY assets/ DESTINATION ${asset_folder} COMPONENT Assets)

# The lowest library brings the package's own files.
configure_package_config_file(cmake/TamraGameEngineConfig.cmake.in ${PROJECT_BINARY_DIR}/TamraGameEngineConfig.cmake
    INSTALL_DESTINATION ${package_folder} PATH_VARS asset_folder)
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/TamraGameEngineConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/TamraGameEngineConfig.cmake
    ${PROJECT_BINARY_DIR}/TamraGameEngineConfigVersion.cmake
    DESTINATION ${package_folder} COMPONENT TamraDeps)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT TamraDeps)
