# station_subsystem(<name> LOGIC <files> [FORMS <files>] [LINKS <targets>] [FORM_LINKS <targets>])
#
# One product folder is one library target. Its logic files are plain C++ over core and the
# ports; its forms, and Qt with them, join the target only in the full build. The logic-only
# build (STATION_LOGIC_ONLY) therefore compiles every logic file without Qt on the include path,
# and a logic file that reaches for Qt stops that build.
function(station_subsystem name)
    cmake_parse_arguments(S "" "" "LOGIC;FORMS;LINKS;FORM_LINKS" ${ARGN})
    if(STATION_LOGIC_ONLY AND NOT S_LOGIC)
        return()
    endif()
    add_library(${name} STATIC ${S_LOGIC})
    target_link_libraries(${name} PUBLIC station_options ${S_LINKS} PRIVATE station_product)
    if(NOT STATION_LOGIC_ONLY AND S_FORMS)
        target_sources(${name} PRIVATE ${S_FORMS})
        target_link_libraries(${name} PUBLIC Qt6::Widgets ${S_FORM_LINKS})
        set_target_properties(${name} PROPERTIES AUTOMOC ON)
    endif()
endfunction()

# The mingw cross build of the whole program: where the DLLs it needs at run time come from (the
# Windows SDK's bin/ and plug-ins, the compiler's runtime), and the command that copies what a
# set of executables imports (cmake/windows-dlls.cmake). Sets STATION_WINDOWS_DLL_COMMAND, a
# command prefix to which -DDEST=..., -DFILES=... or -DFILES_GLOB=... and "-P script" are added.
function(station_windows_dll_command)
    get_filename_component(sdk "${Qt6_DIR}/../../.." ABSOLUTE)
    set(folders ${sdk}/bin)
    foreach(runtime libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${runtime} OUTPUT_VARIABLE path
                        OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT IS_ABSOLUTE "${path}" OR NOT EXISTS "${path}")
            message(FATAL_ERROR "the compiler's runtime ${runtime} was not found")
        endif()
        get_filename_component(folder ${path} DIRECTORY)
        list(APPEND folders ${folder})
    endforeach()
    list(REMOVE_DUPLICATES folders)
    find_program(STATION_OBJDUMP ${STATION_MINGW_TRIPLE}-objdump REQUIRED)
    string(REPLACE ";" "\\;" folders "${folders}")
    set(STATION_WINDOWS_SDK_DIR ${sdk} PARENT_SCOPE)
    set(STATION_WINDOWS_DLL_COMMAND ${CMAKE_COMMAND} -DOBJDUMP=${STATION_OBJDUMP} "-DSEARCH=${folders}"
                                    -DPLUGIN_DIR=${sdk}/plugins PARENT_SCOPE)
endfunction()
