# What is written reads as the same again, a broken file fails and tells why, and the document shows all of that.

include( check_example.cmake )

run( 0 data/settings.txt ${Output}/settings.txt )
if( NOT Messages MATCHES "window 640 x 360, 2 lamps" )
    message( FATAL_ERROR "${Messages}" )
endif()

run( 1 data/broken_settings.txt ${Output}/none )
expect_shown( token-format.md "${Messages}" )
run( 1 ${Output}/missing ${Output}/none )
run( 1 data/settings.txt ${Output}/no/folder )

expect_file_shown( token-format.md data/settings.txt )
expect_file_shown( token-format.md data/broken_settings.txt )
