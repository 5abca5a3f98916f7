# Bakes the shipped fonts anew and compares every byte, and tries what is no face.
#
# cmake -D FONTBAKE=<program> -D FACES=<folder of DejaVu> -D FONTS=<assets/fonts> -D OUT=<folder> -P fontbakeTest.cmake

if(NOT EXISTS ${FACES}/DejaVuSans.ttf)
    message("SKIPPED: there is no DejaVuSans.ttf in ${FACES}")
    return()
endif()
file(REMOVE_RECURSE ${OUT})
file(MAKE_DIRECTORY ${OUT})

function(bake result face size name)
    execute_process(COMMAND ${FONTBAKE} ${face} ${OUT}/${name} --size ${size} ${ARGN}
        RESULT_VARIABLE code OUTPUT_VARIABLE text ERROR_VARIABLE text)
    set(${result} ${code} PARENT_SCOPE)
    set(text "${text}" PARENT_SCOPE)
endfunction()

foreach(font "DejaVuSans.ttf 11 segoe_small.fnt" "DejaVuSans.ttf 16 segoe.fnt" "DejaVuSansMono.ttf 13 consolas.fnt")
    separate_arguments(font UNIX_COMMAND "${font}")
    list(GET font 0 face)
    list(GET font 1 size)
    list(GET font 2 name)
    bake(code ${FACES}/${face} ${size} ${name})
    file(SHA256 ${FONTS}/${name} wanted)
    set(made "nothing")
    if(code EQUAL 0)
        file(SHA256 ${OUT}/${name} made)
    endif()
    if(NOT made STREQUAL wanted)
        message(SEND_ERROR "${name} is not what is shipped (exit code ${code}): ${text}")
    endif()
endforeach()

bake(code ${FACES}/DejaVuSans.ttf 24 letters.fnt --charset "ABC" --padding 3 --line-height 40)
if(NOT code EQUAL 0)
    message(SEND_ERROR "Three letters could not be baked: ${text}")
endif()

# Each is refused in a line and leaves no file.
file(WRITE ${OUT}/text.ttf "This is no face.")
file(WRITE ${OUT}/empty.ttf "")
file(COPY ${FACES}/DejaVuSans.ttf DESTINATION ${OUT})
foreach(bad "text.ttf 16" "empty.ttf 16" "missing.ttf 16" "DejaVuSans.ttf 1000")
    separate_arguments(bad UNIX_COMMAND "${bad}")
    list(GET bad 0 face)
    list(GET bad 1 size)
    bake(code ${OUT}/${face} ${size} bad.fnt)
    if(code EQUAL 0 OR NOT code MATCHES "^[0-9]+$" OR text STREQUAL "" OR EXISTS ${OUT}/bad.fnt)
        message(SEND_ERROR "${face} at ${size}: exit code ${code}, \"${text}\"")
    endif()
endforeach()
