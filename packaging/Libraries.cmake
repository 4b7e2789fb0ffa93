# tessavox_library(NAME SOURCE... [INTERNAL header...]): a static library that other projects may link as
# tessavox::NAME.  The folder's headers are installed but for the internal ones.
function(tessavox_library aName)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "INTERNAL")
    add_library(${aName} STATIC ${arg_UNPARSED_ARGUMENTS})
    set_target_properties(${aName} PROPERTIES OUTPUT_NAME tessavox-${aName})
    target_include_directories(${aName} PUBLIC
        $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/tessavox>)
    target_compile_features(${aName} PUBLIC cxx_std_20)
    install(TARGETS ${aName} EXPORT tessavox COMPONENT dev)
    cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${CMAKE_SOURCE_DIR} OUTPUT_VARIABLE lFolder)
    file(GLOB lHeaders RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} CONFIGURE_DEPENDS *.h)
    list(REMOVE_ITEM lHeaders ${arg_INTERNAL})
    install(FILES ${lHeaders} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tessavox/${lFolder} COMPONENT dev)
endfunction()
