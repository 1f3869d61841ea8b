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
