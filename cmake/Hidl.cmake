# Runs the HIDL compiler at build time. What it writes stands in the build folder, never in git.
find_program(HIDL_GEN hidl-gen REQUIRED)

set(ORVA_HIDL_OUT ${CMAKE_BINARY_DIR}/hidl/include CACHE INTERNAL "Generated headers and sources")
set_property(GLOBAL PROPERTY ORVA_HIDL_ROOTS "")
set_property(GLOBAL PROPERTY ORVA_HIDL_INPUTS "")

# orva_hidl_root(ROOT FOLDER): the packages under the name ROOT stand in FOLDER/<ROOT as a path>,
# and the hashes of the frozen ones in FOLDER/current.txt. The compiler looks for that file inside
# the root itself, so it gets a root in the build folder that has both.
function(orva_hidl_root root folder)
    string(REPLACE . / path ${root})
    set(linked ${CMAKE_BINARY_DIR}/hidl/root/${root})
    file(MAKE_DIRECTORY ${linked})
    file(CREATE_LINK ${folder}/current.txt ${linked}/current.txt SYMBOLIC)
    file(GLOB entries RELATIVE ${folder}/${path} ${folder}/${path}/*)
    foreach(entry IN LISTS entries)
        file(CREATE_LINK ${folder}/${path}/${entry} ${linked}/${entry} SYMBOLIC)
    endforeach()
    file(GLOB_RECURSE inputs CONFIGURE_DEPENDS ${folder}/${path}/*.hal)
    set_property(GLOBAL APPEND PROPERTY ORVA_HIDL_ROOTS -r ${root}:${linked})
    set_property(GLOBAL APPEND PROPERTY ORVA_HIDL_INPUTS ${inputs} ${folder}/current.txt)
endfunction()

# orva_hidl_package(FILES FOLDER PACKAGE@VERSION): FILES becomes the C++ headers and sources made
# from the package's .hal files in FOLDER. A frozen file that was changed fails the build here.
function(orva_hidl_package files folder package)
    string(REPLACE . / path ${package})
    string(REGEX REPLACE "@(.*)/(.*)$" "/\\1.\\2" path ${path})
    file(GLOB inputs CONFIGURE_DEPENDS ${folder}/${path}/*.hal)
    set(names "")
    foreach(input IN LISTS inputs)
        get_filename_component(name ${input} NAME_WE)
        if(name STREQUAL types)
            list(APPEND names types.h hwtypes.h types.cpp)
        else()
            string(SUBSTRING ${name} 1 -1 name)
            list(APPEND names I${name}.h IHw${name}.h BnHw${name}.h BpHw${name}.h Bs${name}.h
                 ${name}All.cpp)
        endif()
    endforeach()
    list(TRANSFORM names PREPEND ${ORVA_HIDL_OUT}/${path}/)

    get_property(roots GLOBAL PROPERTY ORVA_HIDL_ROOTS)
    get_property(dependencies GLOBAL PROPERTY ORVA_HIDL_INPUTS)
    set(mend ${CMAKE_SOURCE_DIR}/cmake/hidl-mend.sed)
    add_custom_command(
        OUTPUT ${names}
        COMMAND ${HIDL_GEN} -R -L c++-headers -o ${ORVA_HIDL_OUT} ${roots} ${package}
        COMMAND ${HIDL_GEN} -R -L c++-sources -o ${ORVA_HIDL_OUT} ${roots} ${package}
        COMMAND sed -i -E -f ${mend} ${names}
        DEPENDS ${dependencies} ${mend}
        COMMENT "Generating ${package}"
        VERBATIM)
    set(${files} ${names} PARENT_SCOPE)
endfunction()
