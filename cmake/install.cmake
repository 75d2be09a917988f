include(CMakePackageConfigHelpers)

install(TARGETS norviktdm_shared norvikruntime_shared norviktdm_static norvikruntime_static
        norvikhistory_shared norvikhistory_static
    EXPORT norviktdmTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS tdm RUNTIME DESTINATION bin)

add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/tdm.1
    COMMAND ${CMAKE_COMMAND} -DTDM=$<TARGET_FILE:tdm> -DOUTPUT=${CMAKE_BINARY_DIR}/tdm.1
        -DVERSION=${PROJECT_VERSION} -P ${PROJECT_SOURCE_DIR}/cmake/man_page.cmake
    DEPENDS tdm ${PROJECT_SOURCE_DIR}/cmake/man_page.cmake VERBATIM)
add_custom_target(man_page ALL DEPENDS ${CMAKE_BINARY_DIR}/tdm.1)
install(FILES ${CMAKE_BINARY_DIR}/tdm.1 DESTINATION share/man/man1)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/norviktdm DESTINATION include)

set_target_properties(norviktdm_shared PROPERTIES EXPORT_NAME norviktdm)
set_target_properties(norvikruntime_shared PROPERTIES EXPORT_NAME norvikruntime)
set_target_properties(norvikhistory_shared PROPERTIES EXPORT_NAME norvikhistory)
install(EXPORT norviktdmTargets NAMESPACE norviktdm::
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/norviktdm)
file(WRITE ${CMAKE_BINARY_DIR}/norviktdmConfig.cmake
    "include(\"\${CMAKE_CURRENT_LIST_DIR}/norviktdmTargets.cmake\")\n")
write_basic_package_version_file(${CMAKE_BINARY_DIR}/norviktdmConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/norviktdmConfig.cmake
    ${CMAKE_BINARY_DIR}/norviktdmConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/norviktdm)

# The prefix is taken from where the file lies, so that an installed tree can be moved.
function(install_pkgconfig name description libraries private)
    file(WRITE ${CMAKE_BINARY_DIR}/${name}.pc
"prefix=\${pcfiledir}/../..
libdir=\${prefix}/${CMAKE_INSTALL_LIBDIR}
includedir=\${prefix}/include

Name: ${name}
Description: ${description}
Version: ${PROJECT_VERSION}
Libs: -L\${libdir} ${libraries}
Libs.private: ${private}
Cflags: -I\${includedir}
")
    install(FILES ${CMAKE_BINARY_DIR}/${name}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
install_pkgconfig(norviktdm "Text-file delta manager: versioned containers, comparison and merge"
    "-lnorviktdm -lnorvikruntime" "")
install_pkgconfig(norvikhistory "Versioned containers, comparison and merge, for programs"
    "-lnorvikhistory" "-lstdc++ -lm")
