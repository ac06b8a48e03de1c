# Warnings, sanitizers and file names for the project's own targets. Nothing of this reaches a program that links zan_core.

function( zan_set_compile_options Target )
    target_compile_options( ${Target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align
        $<$<BOOL:${ZAN_WARNINGS_AS_ERRORS}>:-Werror>
        -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/= # __FILE__ tells no path of the machine that built it
    )
    if( ZAN_SANITIZE )
        target_compile_options( ${Target} PRIVATE
            -fsanitize=${ZAN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
            -O1 -g1 # half the time to compile, and reports still name their lines
        )
        target_link_options( ${Target} PUBLIC -fsanitize=${ZAN_SANITIZE} )
    endif()
endfunction()
