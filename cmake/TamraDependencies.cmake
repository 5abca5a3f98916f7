# System packages; scripts/install-dependencies.sh installs all of them by name.

find_package(Threads REQUIRED)
find_package(SQLite3 REQUIRED)
find_package(LibLZMA REQUIRED)
find_package(spdlog REQUIRED)
set(OpenGL_GL_PREFERENCE GLVND)
find_package(OpenGL REQUIRED)
find_package(GLEW REQUIRED)
find_package(glfw3 3.3 REQUIRED)

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

tamra_header_only(TamraStb stb_image.h stb)

# CMake's own module knows no targets, and takes an older Lua where there are several.
find_path(TAMRA_LUA_INCLUDE_DIR lua.h PATH_SUFFIXES lua5.4 lua-5.4 lua54 REQUIRED)
find_library(TAMRA_LUA_LIBRARY NAMES lua5.4 lua-5.4 lua54 lua REQUIRED)
add_library(TamraLua INTERFACE IMPORTED)
target_include_directories(TamraLua SYSTEM INTERFACE ${TAMRA_LUA_INCLUDE_DIR})
target_link_libraries(TamraLua INTERFACE ${TAMRA_LUA_LIBRARY})

if(TAMRA_BUILD_APPS OR TAMRA_BUILD_TESTS)
    tamra_header_only(TamraOsmium osmium/io/pbf_input.hpp)
    tamra_header_only(TamraCli CLI/CLI.hpp)
    target_compile_options(TamraCli INTERFACE ${TAMRA_QUICK_TO_COMPILE})
    find_package(ZLIB REQUIRED)
    target_link_libraries(TamraOsmium INTERFACE ZLIB::ZLIB Threads::Threads)
endif()
if(TAMRA_BUILD_TESTS)
    find_package(GTest REQUIRED)
endif()
if(TAMRA_BUILD_BENCHMARKS)
    find_package(benchmark REQUIRED)
    tamra_header_only(TamraBoost boost/geometry/index/rtree.hpp)
    target_compile_definitions(TamraBoost INTERFACE BOOST_DISABLE_PRAGMA_MESSAGE)
    tamra_header_only(TamraBullet BulletCollision/BroadphaseCollision/btDbvt.h bullet)
    foreach(library BulletCollision LinearMath)
        find_library(TAMRA_${library}_LIBRARY ${library} REQUIRED)
        target_link_libraries(TamraBullet INTERFACE ${TAMRA_${library}_LIBRARY})
    endforeach()
    tamra_header_only(TamraImgui imgui.h imgui)
    find_library(TAMRA_IMGUI_LIBRARY imgui REQUIRED)
    find_library(TAMRA_STB_LIBRARY stb REQUIRED) # which Debian's Dear ImGui is built on
    target_link_libraries(TamraImgui INTERFACE ${TAMRA_IMGUI_LIBRARY} ${TAMRA_STB_LIBRARY})
endif()
