# How every target of this tree is compiled, and the two helpers that make libraries and programs.

include(GenerateExportHeader)

if(PROJECT_IS_TOP_LEVEL)
    set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
    set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
    set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
    find_program(TAMRA_CCACHE ccache)
    if(TAMRA_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
        # Without these it leaves alone what uses precompiled headers.
        set(CMAKE_CXX_COMPILER_LAUNCHER
            ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${TAMRA_CCACHE})
    endif()
endif()

set(refuse_warnings "")
if(TAMRA_WARNINGS_AS_ERRORS)
    set(refuse_warnings $<IF:$<CXX_COMPILER_ID:MSVC>,/WX,-Werror>)
endif()
add_library(TamraCompileOptions INTERFACE)
target_compile_features(TamraCompileOptions INTERFACE cxx_std_20)
# Contraction to fused multiply-add differs from machine to machine; saved scenes must not.
target_compile_options(TamraCompileOptions INTERFACE
    $<$<CXX_COMPILER_ID:GNU,Clang>:-Wall -Wextra -Wpedantic -Wshadow -Wconversion ${refuse_warnings} -ffp-contract=off>
    $<$<CXX_COMPILER_ID:MSVC>:/W4 ${refuse_warnings} /fp:precise /utf-8>)
target_compile_definitions(TamraCompileOptions INTERFACE $<$<CXX_COMPILER_ID:MSVC>:NOMINMAX>)
if(TAMRA_SANITIZE)
    target_compile_options(TamraCompileOptions INTERFACE
        -fsanitize=${TAMRA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(TamraCompileOptions INTERFACE -fsanitize=${TAMRA_SANITIZE})
endif()

# For code that is built to be run a few times: what it spends itself matters less than what the compiler does with it.
set(TAMRA_QUICK_TO_COMPILE -O1)
if(TAMRA_SANITIZE)
    set(TAMRA_QUICK_TO_COMPILE -O0)
endif()
set(TAMRA_QUICK_TO_COMPILE $<$<AND:$<CXX_COMPILER_ID:GNU,Clang>,$<NOT:$<CONFIG:Debug>>>:${TAMRA_QUICK_TO_COMPILE}>)

# tamra_precompile(<target>): a third of the time that most files take to compile is that of these headers. Inside other
# projects everything compiles without, so that each file still includes what it uses.
function(tamra_precompile target)
    if(PROJECT_IS_TOP_LEVEL AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_precompile_headers(${target} PRIVATE
            <algorithm> <array> <cmath> <functional> <memory> <span> <string> <string_view> <utility> <vector> ${ARGN})
        target_compile_options(${target} PRIVATE -fpch-preprocess) # has ccache see what is in them
    endif()
endfunction()

# tamra_add_library(<Name> <folder>): the shared library of everything below the folder, with hidden
# visibility and the generated header "<folder>/export.h" that defines <NAME>_API.
function(tamra_add_library name folder)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.cpp ${PROJECT_SOURCE_DIR}/${folder}/*.h)
    add_library(${name} SHARED ${sources})
    add_library(TamraGameEngine::${name} ALIAS ${name})
    tamra_precompile(${name})
    set_target_properties(${name} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        INSTALL_RPATH "$ORIGIN"  # the libraries lie side by side, wherever the prefix is moved
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR})
    string(TOUPPER ${name} upper)
    generate_export_header(${name}
        EXPORT_MACRO_NAME ${upper}_API
        EXPORT_FILE_NAME ${PROJECT_BINARY_DIR}/generated/${folder}/export.h)
    target_include_directories(${name} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
        $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/generated>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_compile_features(${name} PUBLIC cxx_std_20)
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:TamraCompileOptions>)
    # Nobody replaces our functions from outside: calls inside a library may be direct and inlined.
    target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU,Clang>:-fno-semantic-interposition;-fno-plt>)
    if(UNIX AND NOT APPLE)
        target_link_options(${name} PRIVATE -Wl,-Bsymbolic-functions)
    elseif(WIN32)
        set_target_properties(${name} PROPERTIES PREFIX "")
    endif()
    set_property(GLOBAL APPEND PROPERTY TAMRA_LIBRARIES ${name})
    set_property(GLOBAL APPEND PROPERTY TAMRA_LIBRARY_FOLDERS ${folder})
endfunction()

# tamra_add_program(<name> <source>...): a program in bin/ that links the product.
function(tamra_add_program name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE TamraCompileOptions TamraGameEngine)
    if(MSVC)
        target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/windows/program.manifest)
    elseif(WIN32)
        target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/windows/program.rc)
    endif()
endfunction()

# tamra_add_tool(<name> <source>...): a program that is installed, and knows its version.
function(tamra_add_tool name)
    tamra_add_program(${name} ${ARGN})
    add_executable(TamraGameEngine::${name} ALIAS ${name})
    target_compile_definitions(${name} PRIVATE TAMRA_VERSION="${PROJECT_VERSION}")
    set_property(GLOBAL APPEND PROPERTY TAMRA_TOOLS ${name})
endfunction()
