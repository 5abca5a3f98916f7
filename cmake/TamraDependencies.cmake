# System packages; scripts/install-dependencies.sh installs all of them by name.

find_package(Threads REQUIRED)
find_package(SQLite3 REQUIRED)
find_package(LibLZMA REQUIRED)
find_package(spdlog REQUIRED)

# Header-only packages that come without a CMake configuration of their own.
function(tamra_header_only target header)
    find_path(${target}_INCLUDE_DIR ${header} PATH_SUFFIXES ${ARGN} REQUIRED)
    add_library(${target} INTERFACE IMPORTED)
    target_include_directories(${target} SYSTEM INTERFACE ${${target}_INCLUDE_DIR})
endfunction()

# xsimd's own configuration asks for a library that Debian does not ship.
tamra_header_only(TamraXsimd xsimd/xsimd.hpp)

find_package(glm QUIET)
if(NOT TARGET glm::glm)
    tamra_header_only(glm::glm glm/glm.hpp)
endif()

if(TAMRA_BUILD_APPS OR TAMRA_BUILD_TESTS)
    tamra_header_only(TamraStb stb_image_write.h stb)
    tamra_header_only(TamraOsmium osmium/io/pbf_input.hpp)
    tamra_header_only(TamraCli CLI/CLI.hpp)
    find_package(ZLIB REQUIRED)
    target_link_libraries(TamraOsmium INTERFACE ZLIB::ZLIB Threads::Threads)
endif()
if(TAMRA_BUILD_TESTS)
    find_package(GTest REQUIRED)
endif()
if(TAMRA_BUILD_BENCHMARKS)
    find_package(benchmark REQUIRED)
endif()
