# Checks that clang-format 14 would change no source.

execute_process( COMMAND ${ClangFormat} --version OUTPUT_VARIABLE Version COMMAND_ERROR_IS_FATAL ANY )
if( NOT Version MATCHES "version 14\\." )
    message( FATAL_ERROR "clang-format 14 is needed; this is ${Version}" )
endif()

cmake_path( GET CMAKE_CURRENT_LIST_DIR PARENT_PATH SourceDir )
set( Files "" )
foreach( Folder zan_core zan_test zan_core_test benchmarks examples fuzz )
    file( GLOB_RECURSE FolderFiles ${SourceDir}/${Folder}/*.h ${SourceDir}/${Folder}/*.cpp )
    list( APPEND Files ${FolderFiles} )
endforeach()
execute_process( COMMAND ${ClangFormat} --dry-run --Werror --style=file ${Files} RESULT_VARIABLE Result )
if( NOT Result EQUAL 0 )
    message( FATAL_ERROR "Format these files with clang-format -i" )
endif()
