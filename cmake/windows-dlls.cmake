# Copies the DLLs that Windows executables need into a folder, found from their import tables
# (windeployqt does not run here):
#   cmake -DOBJDUMP=... -DDEST=folder -DFILES="a.exe;b.dll" -DSEARCH="dir;dir" -P windows-dlls.cmake
# FILES (or every file matching FILES_GLOB) are read, not copied. Every imported DLL that lies in one of the SEARCH folders is copied
# into DEST and read in turn; a DLL found in none of them is the system's own (KERNEL32.dll,
# USER32.dll, ...) and stays out. PLUGINS names "kind/file.dll" pairs relative to PLUGIN_DIR that
# are copied into DEST/kind (Qt loads its platform plug-in from there) and read the same way.
# Names are compared without letter case, as Windows does.
cmake_minimum_required(VERSION 3.25)

set(queue ${FILES})
if(FILES_GLOB)
    file(GLOB globbed LIST_DIRECTORIES false ${FILES_GLOB})
    list(APPEND queue ${globbed})
endif()
foreach(plugin IN LISTS PLUGINS)
    get_filename_component(kind ${plugin} DIRECTORY)
    file(MAKE_DIRECTORY ${DEST}/${kind})
    file(COPY ${PLUGIN_DIR}/${plugin} DESTINATION ${DEST}/${kind})
    list(APPEND queue ${PLUGIN_DIR}/${plugin})
endforeach()

set(available)
foreach(dir IN LISTS SEARCH)
    file(GLOB dlls LIST_DIRECTORIES false ${dir}/*.dll)
    list(APPEND available ${dlls})
endforeach()

set(seen)
while(queue)
    list(POP_FRONT queue file)
    execute_process(COMMAND ${OBJDUMP} -p ${file} OUTPUT_VARIABLE dump RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "cannot read the import table of ${file}")
    endif()
    string(REGEX MATCHALL "DLL Name: [^\r\n]+" imports "${dump}")
    foreach(line IN LISTS imports)
        string(REGEX REPLACE "DLL Name: " "" name "${line}")
        string(STRIP "${name}" name)
        string(TOLOWER "${name}" key)
        if(key IN_LIST seen)
            continue()
        endif()
        list(APPEND seen ${key})
        # The first folder that has it wins, in the order given.
        set(found "")
        foreach(candidate IN LISTS available)
            get_filename_component(candidateName ${candidate} NAME)
            string(TOLOWER "${candidateName}" candidateKey)
            if(candidateKey STREQUAL key)
                set(found ${candidate})
                break()
            endif()
        endforeach()
        if(found)
            file(COPY ${found} DESTINATION ${DEST})
            list(APPEND queue ${found})
        endif()
    endforeach()
endwhile()
