# Windows x64 with GCC from any system that has mingw-w64. Programs run under Wine there.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)

# Of the two runtimes this is the one with the threads of the C++ library.
find_program(CMAKE_C_COMPILER NAMES x86_64-w64-mingw32-gcc-posix x86_64-w64-mingw32-gcc REQUIRED)
find_program(CMAKE_CXX_COMPILER NAMES x86_64-w64-mingw32-g++-posix x86_64-w64-mingw32-g++ REQUIRED)
find_program(CMAKE_RC_COMPILER NAMES x86_64-w64-mingw32-windres REQUIRED)
find_program(TAMRA_WINE NAMES wine64 wine)
if(TAMRA_WINE)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${TAMRA_WINE})
endif()

# Windows gives the stack of a function 16 bytes of alignment, and GCC stores vectors of 32 and 64 bytes in it as if
# it had theirs. The assembler makes those stores ones that take any address.
set(CMAKE_CXX_FLAGS_INIT "-Wa,-muse-unaligned-vector-move")

# What scripts/windows.sh has built: libraries only from there, programs (ccache, python) only from this machine.
if(DEFINED ENV{TAMRA_WINDOWS_DEPENDENCIES})
    list(APPEND CMAKE_FIND_ROOT_PATH $ENV{TAMRA_WINDOWS_DEPENDENCIES}/prefix)
else()
    list(APPEND CMAKE_FIND_ROOT_PATH ${CMAKE_CURRENT_LIST_DIR}/../../build/windows-dependencies/prefix)
endif()
list(APPEND CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Paths of this machine, as Wine shows them to programs.
set(TAMRA_PATH_PREFIX "Z:")
