# The package for find_package( zan_core ), and zan_core.pc for everything else.

include( CMakePackageConfigHelpers )

install( TARGETS zan_core zan_core_archive EXPORT zan_core_targets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} )
install( DIRECTORY ${PROJECT_SOURCE_DIR}/zan_core DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h" PATTERN "tests" EXCLUDE
)

set( ZanPackageDir ${CMAKE_INSTALL_LIBDIR}/cmake/zan_core )
install( EXPORT zan_core_targets NAMESPACE zan:: DESTINATION ${ZanPackageDir} )
configure_package_config_file( ${PROJECT_SOURCE_DIR}/cmake/zan_coreConfig.cmake.in
    ${PROJECT_BINARY_DIR}/zan_coreConfig.cmake INSTALL_DESTINATION ${ZanPackageDir}
)
write_basic_package_version_file( ${PROJECT_BINARY_DIR}/zan_coreConfigVersion.cmake
    COMPATIBILITY SameMinorVersion
)
install( FILES
    ${PROJECT_BINARY_DIR}/zan_coreConfig.cmake
    ${PROJECT_BINARY_DIR}/zan_coreConfigVersion.cmake
    DESTINATION ${ZanPackageDir}
)

# The prefix is where the file lies, so that the installed tree may be moved.
set( ZanPcBoost "" ) # nothing, where the compiler looks anyway
if( NOT Boost_INCLUDE_DIR IN_LIST CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES )
    set( ZanPcBoost "-I${Boost_INCLUDE_DIR} " )
endif()
file( RELATIVE_PATH ZanPcToPrefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig / )
configure_file( ${PROJECT_SOURCE_DIR}/cmake/zan_core.pc.in ${PROJECT_BINARY_DIR}/zan_core.pc @ONLY )
install( FILES ${PROJECT_BINARY_DIR}/zan_core.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig )
