# tessavox_library(NAME SOURCE...): a static library that other projects may link as tessavox::NAME.
function(tessavox_library aName)
    add_library(${aName} STATIC ${ARGN})
    set_target_properties(${aName} PROPERTIES OUTPUT_NAME tessavox-${aName})
    target_include_directories(${aName} PUBLIC
        $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/tessavox>)
    target_compile_features(${aName} PUBLIC cxx_std_20)
    install(TARGETS ${aName} EXPORT tessavox COMPONENT dev)
    cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${CMAKE_SOURCE_DIR} OUTPUT_VARIABLE lFolder)
    file(GLOB lHeaders CONFIGURE_DEPENDS *.h)
    install(FILES ${lHeaders} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tessavox/${lFolder} COMPONENT dev)
endfunction()
