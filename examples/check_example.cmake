# For the checks of examples that work on files: Program runs in this folder, with results in the folder Output.

file( MAKE_DIRECTORY ${Output} )

# Runs Program with the arguments, requires its exit code, and gives what it told in Messages.
function( run ExpectedCode )
    execute_process( COMMAND ${Program} ${ARGN} RESULT_VARIABLE Code OUTPUT_VARIABLE Text ERROR_VARIABLE Text )
    if( NOT Code STREQUAL ExpectedCode )
        message( FATAL_ERROR "${ARGN} gave ${Code} instead of ${ExpectedCode}: ${Text}" )
    endif()
    set( Messages "${Text}" PARENT_SCOPE )
endfunction()

function( expect_same Left Right )
    execute_process( COMMAND ${CMAKE_COMMAND} -E compare_files ${Left} ${Right} RESULT_VARIABLE Code )
    if( NOT Code STREQUAL 0 )
        message( FATAL_ERROR "${Left} and ${Right} differ" )
    endif()
endfunction()

# A document shows a text as it is.
function( expect_shown Document Text )
    file( READ ../docs/${Document} DocumentText )
    string( FIND "${DocumentText}" "${Text}" Position )
    if( Position EQUAL -1 )
        message( FATAL_ERROR "${Document} does not show this as it is:\n${Text}" )
    endif()
endfunction()

function( expect_file_shown Document File )
    file( READ ${File} Text )
    expect_shown( ${Document} "${Text}" )
endfunction()
