# What is written is as it should be and reads again, a broken file fails and tells why, and the document shows all
# of that.

include( check_example.cmake )

run( 0 data/settings.txt ${Output}/settings.txt )
if( NOT Messages STREQUAL "written, 2 lamps\n" )
    message( FATAL_ERROR "${Messages}" )
endif()
expect_same( ${Output}/settings.txt data/settings_written.txt )
run( 0 ${Output}/settings.txt ${Output}/again.txt )

file( REMOVE ${Output}/none )
run( 1 data/broken_settings.txt ${Output}/none )
expect_shown( token-format.md "${Messages}" )
run( 1 ${Output}/missing ${Output}/none )
file( WRITE ${Output}/early_end.txt "room = { width = 1 } } room = { width = 2 }" )
run( 1 ${Output}/early_end.txt ${Output}/none )
if( EXISTS ${Output}/none )
    message( FATAL_ERROR "written from a file that was not read" )
endif()
run( 1 data/settings.txt ${Output}/no/folder )

expect_file_shown( token-format.md data/settings.txt )
expect_file_shown( token-format.md data/settings_written.txt )
expect_file_shown( token-format.md data/broken_settings.txt )
