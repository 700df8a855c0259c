# Debian packages, one for each component:
#
#   cmake --preset package && cmake --build --preset package && cpack --preset package
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orva)
set(CPACK_PACKAGE_VENDOR "The orva project")
set(CPACK_PACKAGE_CONTACT "The orva project")
set(CPACK_VERBATIM_VARIABLES ON)
# What is installed is what CMAKE_INSTALL_PREFIX says, which the unit names.
set(CPACK_SET_DESTDIR ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The packages' own libraries are found where the build has them; no package of the distribution's
# has them.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

set(CPACK_COMPONENTS_ALL runtime host client dev docs)
if(TARGET orva_python)
    list(APPEND CPACK_COMPONENTS_ALL python)
endif()

# orva_package(COMPONENT NAME SUMMARY DEPENDENCIES): the package NAME of a component.
macro(orva_package component name summary dependencies)
    string(TOUPPER ${component} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
    set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}")
    set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${dependencies}")
endmacro()
set(same "(= ${PROJECT_VERSION})")
orva_package(runtime orva-runtime "Runtime libraries of the orva AI services" "")
orva_package(host orva-host "Host of the orva AI services" "orva-runtime ${same}")
orva_package(client orva-client "Command-line client of the orva AI services" "orva-runtime ${same}")
orva_package(dev liborva-dev "Headers and libraries for clients and nodes of the orva AI services"
    "orva-runtime ${same}, orva-host ${same}, android-libutils-dev, android-libcutils-dev, \
android-liblog-dev")
if(TARGET orva_python)
    # Compiled for this minor version of Python alone.
    math(EXPR next "${ORVA_PYTHON_MINOR} + 1")
    set(interpreter "python3 (>= 3.${ORVA_PYTHON_MINOR}), python3 (<< 3.${next})")
endif()
orva_package(python python3-orva "Python client of the orva AI services"
    "orva-runtime ${same}, ${interpreter}, python3-numpy")
orva_package(docs orva-doc "Pages and examples of the orva AI services" "")
set(CPACK_DEBIAN_CLIENT_PACKAGE_RECOMMENDS orva-host)
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS orva-host)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_DOCS_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCS_PACKAGE_ARCHITECTURE all)
include(CPack)
