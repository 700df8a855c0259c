# What is installed, by component:
#   runtime  the libraries that programs of both sides stand on
#   host     orva-host, the server library, the framework and its engine
#   client   orva
#   dev      headers, the client library, the CMake package, pkg-config files
#   python   the Python client
#   docs     the pages of docs/, the examples
# What is installed finds its own by its own place, so the whole can be moved. Only the platform's
# libraries are the system's, and stay where they are.
include(CMakePackageConfigHelpers)

set(includes ${CMAKE_INSTALL_INCLUDEDIR}/orva)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/orva)
# Built of what a build makes for others' use, which names its own folders.
set(made ${CMAKE_BINARY_DIR}/install)

# orva_install(TARGET COMPONENT [AS NAME]): a library or program, and where it looks for libraries.
# As NAME it is a target of the CMake package, with its headers in the one folder that all share.
function(orva_install target component)
    cmake_parse_arguments(PARSE_ARGV 2 install "" "AS" "")
    get_target_property(type ${target} TYPE)
    if(type STREQUAL EXECUTABLE)
        set(own $ORIGIN/${ORVA_BIN_TO_LIB})
    else()
        set(own $ORIGIN)
    endif()
    if(NOT type STREQUAL INTERFACE_LIBRARY)
        set_target_properties(${target} PROPERTIES
            INSTALL_RPATH "${own};${AndroidPlatform_LIBRARY_DIR}")
    endif()
    if(NOT install_AS)
        install(TARGETS ${target} COMPONENT ${component})
        return()
    endif()
    foreach(property INTERFACE_INCLUDE_DIRECTORIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES)
        get_target_property(folders ${target} ${property})
        if(folders)
            set_target_properties(${target} PROPERTIES ${property} "$<BUILD_INTERFACE:${folders}>")
        endif()
    endforeach()
    set_target_properties(${target} PROPERTIES
        EXPORT_NAME ${install_AS} INTERFACE_COMPILE_FEATURES cxx_std_17)
    install(TARGETS ${target} EXPORT orva-targets COMPONENT ${component}
        INCLUDES DESTINATION ${includes})
endfunction()

orva_install(orva_platform runtime AS platform)
orva_install(vendor.selkat.hardware.ai runtime AS interface)
orva_install(orva_ion runtime AS ion)
orva_install(orva-host host)
orva_install(orva_hidl_server host)
orva_install(orva host AS framework)
orva_install(orva_headers dev AS framework_headers)
orva_install(orva_reference_headers dev AS reference_headers)
orva_install(orva_client dev AS client)
orva_install(orva-client client)
if(ORVA_ONNXRUNTIME_COPY)
    install(PROGRAMS ${ORVA_ONNXRUNTIME_COPY}
        DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT host)
endif()

# The unit names the program where it is installed, which is known only then.
install(CODE "set(program \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/orva-host\")
configure_file(\"${CMAKE_SOURCE_DIR}/packaging/orva-host.service.in\"
    \"${made}/orva-host.service\" @ONLY)" COMPONENT host)
install(FILES ${made}/orva-host.service
    DESTINATION ${CMAKE_INSTALL_DATADIR}/systemd/user COMPONENT host)

# Manual pages and completions, with what they are of. Debian's zsh looks for those of packages in a
# folder of its own.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(zsh_folder zsh/vendor-completions)
else()
    set(zsh_folder zsh/site-functions)
endif()
set(programs orva-host orva)
set(components host client)
foreach(program component IN ZIP_LISTS programs components)
    if(NOT TARGET ${program}_described)
        continue()
    endif()
    install(FILES ${made}/man/${program}.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component})
    install(FILES ${made}/bash/${program}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT ${component})
    install(FILES ${made}/zsh/_${program}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/${zsh_folder} COMPONENT ${component})
    install(FILES ${made}/fish/${program}.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT ${component})
endforeach()

if(TARGET orva_python)
    set(folder ${CMAKE_INSTALL_PREFIX}/${ORVA_PYTHON_FOLDER}/orva)
    file(RELATIVE_PATH to_lib ${folder} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(orva_python PROPERTIES
        INSTALL_RPATH "$ORIGIN/${to_lib};${AndroidPlatform_LIBRARY_DIR}")
    install(TARGETS orva_python DESTINATION ${ORVA_PYTHON_FOLDER}/orva COMPONENT python)
    install(FILES python/orva/__init__.py DESTINATION ${ORVA_PYTHON_FOLDER}/orva COMPONENT python)
endif()

# Public headers, each where its name in an #include is found.
install(DIRECTORY
    ${CMAKE_SOURCE_DIR}/platform/hidl/include/
    ${CMAKE_SOURCE_DIR}/platform/ion/include/
    ${CMAKE_SOURCE_DIR}/framework/include/
    ${CMAKE_SOURCE_DIR}/framework/reference/include/
    ${ORVA_HIDL_OUT}/android ${ORVA_HIDL_OUT}/vendor
    DESTINATION ${includes} COMPONENT dev FILES_MATCHING PATTERN *.h)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/programs/client/lib
    DESTINATION ${includes}/client COMPONENT dev FILES_MATCHING PATTERN *.h)

# The CMake package.
install(EXPORT orva-targets NAMESPACE orva:: DESTINATION ${package} COMPONENT dev)
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/orva-config.cmake.in
    ${made}/orva-config.cmake INSTALL_DESTINATION ${package})
# Before 1.0 a minor version may change what there is.
write_basic_package_version_file(${made}/orva-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${made}/orva-config.cmake ${made}/orva-config-version.cmake
    ${CMAKE_SOURCE_DIR}/cmake/FindAndroidPlatform.cmake DESTINATION ${package} COMPONENT dev)

# For pkg-config.
# Ends in a slash.
file(RELATIVE_PATH ORVA_PC_TO_PREFIX
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(name orva orva-framework)
    configure_file(${CMAKE_SOURCE_DIR}/cmake/${name}.pc.in ${made}/${name}.pc @ONLY)
    install(FILES ${made}/${name}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endforeach()

file(GLOB pages ${CMAKE_SOURCE_DIR}/docs/*)
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/orva/docs COMPONENT docs)
install(FILES README.md CHANGELOG.md LICENSE
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/orva COMPONENT docs)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/examples
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/orva COMPONENT docs)

include(Packages)
