# The suites, in the order in which their cases register: zan_suite( name folder tags... ). A suite's source is
# zan_core/<folder>/tests/<name>.cpp; every case of it carries one of the tag strings. suite_order.txt says where
# a new one belongs.

set( ZanSuites "" )
set( ZanSuiteSources "" )
macro( zan_suite Name Folder )
    list( APPEND ZanSuites ${Name} )
    list( APPEND ZanSuiteSources ${PROJECT_SOURCE_DIR}/zan_core/${Folder}/tests/${Name}.cpp )
    set( ZanTags_${Name} ${ARGN} )
endmacro()

zan_suite( fnv1a_test hashing "[fnva1]" )
zan_suite( hash hashing "[hash]" )
zan_suite( optional_test holders "[optional]" )
zan_suite( zan_catch2_assertions_tests . "[assert]" "[assert][!throws]" )
zan_suite( zan_pool_allocator_tests memory "[allocator][pool_allocator]" )
zan_suite( zanarray containers "[misc]" "[zanhybridarray]" "[zan_array]" )
zan_suite( robin_hood_table hashing "[robin_hood_table]" )
zan_suite( string_view text "[string_view]" )
zan_suite( text_test text "[text]" )
zan_suite( unordered_map hashing "[unordered_map]" "[hybrid_unordered_map]" "[unordered_set]" )
zan_suite( unordered_set hashing "[unordered_set]" "[hybrid_unordered_set]" )
zan_suite( zan_string_tests text "[string][text][operators]" )

# Suites of our own, behind the others.
zan_suite( zan_allocator_tests memory "[allocator]" )
zan_suite( zan_expects_tests . "[expects]" )
zan_suite( zan_log_tests . "[log]" )
zan_suite( zan_platform_tests . "[platform]" )
zan_suite( zan_ref_countable_tests memory "[ref_countable]" )
zan_suite( zan_test_allocator_tests . "[zan_test]" )
zan_suite( zan_test_layer_tests . "[zan_test]" )
