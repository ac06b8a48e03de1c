# Headers that everything includes stay light: the most lines that each may have after preprocessing, measured
# with g++, whose standard library the limits are for.

set( Limits
    zan_core/zan_assert.h 1000
    zan_core/text/zan_string_view.h 3000
    zan_core/containers/zan_array.h 23000
    zan_core/holders/zan_optional.h 6000
    zan_core/holders/zan_scoped_ptr.h 7000
    zan_core/holders/zan_any.h 8000
    zan_core/hashing/zan_unordered_map.h 35000
)

cmake_path( GET CMAKE_CURRENT_LIST_DIR PARENT_PATH SourceDir )
set( bFailed FALSE )
while( Limits )
    list( POP_FRONT Limits Header Limit )
    execute_process( COMMAND ${Compiler} -std=c++20 -E -P -w -x c++ -I ${SourceDir} ${SourceDir}/${Header}
        OUTPUT_VARIABLE Text COMMAND_ERROR_IS_FATAL ANY
    )
    string( REGEX MATCHALL "\n" Lines "${Text}" )
    list( LENGTH Lines LineCount )
    message( STATUS "${Header}: ${LineCount} lines, limit ${Limit}" )
    if( NOT LineCount LESS Limit OR LineCount EQUAL 0 )
        set( bFailed TRUE )
    endif()
endwhile()
if( bFailed )
    message( FATAL_ERROR "A header is over its limit" )
endif()
