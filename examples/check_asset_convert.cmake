# There and back gives the same, what cannot be converted is told by the exit code, and the document shows the files.

include( check_example.cmake )

run( 0 data/tree.asset ${Output}/tree.binary )
run( 0 ${Output}/tree.binary ${Output}/tree.text )
expect_same( ${Output}/tree.text data/tree_written.asset )
run( 0 ${Output}/tree.text ${Output}/tree_again.binary )
expect_same( ${Output}/tree.binary ${Output}/tree_again.binary )

file( WRITE ${Output}/short "@@t" )
file( WRITE ${Output}/broken "@@b@x" )
run( 3 ${Output}/broken ${Output}/none )
run( 1 ${Output}/short ${Output}/none )
run( 1 ${Output}/missing ${Output}/none )
run( 1 data/tree.asset ${Output}/no/folder )

expect_file_shown( asset-format.md data/tree.asset )
expect_file_shown( asset-format.md data/tree_written.asset )
