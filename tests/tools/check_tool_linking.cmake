# Checks that the zandb4 executable uses the shared library and carries no
# copy of the library's code: its dynamic section must name the library's
# soname among the NEEDED entries, with a run path to the library's folder;
# none of the symbols it defines may belong to the library's internals; and
# it must start (the run path finds the library). The same symbol check on
# libzandb4.so itself, whose symbol table holds the internals, must find
# them, so that the check is known to see what it looks for.
# Run with -DTOOL=<the zandb4 executable> -DLIBRARY=<libzandb4.so>.
function(read_dynamic_section file out)
  execute_process(COMMAND readelf -d ${file} OUTPUT_VARIABLE section RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "readelf -d failed on ${file}")
  endif()
  set(${out} "${section}" PARENT_SCOPE)
endfunction()

function(read_defined_symbols file out)
  execute_process(COMMAND nm -C --defined-only ${file} OUTPUT_VARIABLE symbols RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "nm -C --defined-only failed on ${file}")
  endif()
  set(${out} "${symbols}" PARENT_SCOPE)
endfunction()

# The library's own name for itself, e.g. libzandb4.so.4.
read_dynamic_section(${LIBRARY} library_section)
if(NOT library_section MATCHES "\\(SONAME\\)[^\n]*\\[(libzandb4\\.so[^]]*)\\]")
  message(FATAL_ERROR "${LIBRARY} has no soname libzandb4.so*:\n${library_section}")
endif()
set(soname ${CMAKE_MATCH_1})

read_dynamic_section(${TOOL} tool_section)
string(REGEX MATCHALL "\\(NEEDED\\)[^\n]*" needed "${tool_section}")
string(FIND "${needed}" "[${soname}]" at)
if(at EQUAL -1)
  message(FATAL_ERROR "${TOOL} does not need ${soname}; its NEEDED entries:\n${needed}")
endif()
get_filename_component(library_folder ${LIBRARY} DIRECTORY)
if(NOT tool_section MATCHES "\\((RUNPATH|RPATH)\\)[^\n]*\\[([^]\n]*)\\]")
  message(FATAL_ERROR "${TOOL} has no run path, so it cannot find ${soname} in the build tree:\n${tool_section}")
endif()
string(REPLACE ":" ";" run_path "${CMAKE_MATCH_2}")
list(FIND run_path ${library_folder} found)
if(found EQUAL -1)
  message(FATAL_ERROR "${TOOL}'s run path ${CMAKE_MATCH_2} does not hold ${library_folder}")
endif()

# Names of the library's internals: the stores, the file manager's class,
# the registry, the statement helper, the shard rules and the platform layer.
set(internals CSQLiteFileBasicDB CSQLiteDBBase CSQLiteAsyncDB CSQLiteThumbDB CZanDB4FileDBMgr
    "zandb4::DatabaseRegistry::" "zandb4::Statement::" "shard_files::" "zandb4::platform::")
function(find_internals symbols out)
  set(met)
  foreach(name ${internals})
    string(FIND "${symbols}" "${name}" at)
    if(NOT at EQUAL -1)
      list(APPEND met ${name})
    endif()
  endforeach()
  set(${out} "${met}" PARENT_SCOPE)
endfunction()

read_defined_symbols(${LIBRARY} library_symbols)
find_internals("${library_symbols}" in_library)
list(LENGTH internals wanted)
list(LENGTH in_library seen)
if(NOT seen EQUAL wanted)
  message(FATAL_ERROR "the check does not see every internal name in ${LIBRARY} (saw: ${in_library}); "
                      "it cannot tell whether the tool carries them")
endif()

read_defined_symbols(${TOOL} tool_symbols)
string(FIND "${tool_symbols}" " main\n" at)
if(at EQUAL -1)
  message(FATAL_ERROR "nm shows no main in ${TOOL}: not the executable expected")
endif()
find_internals("${tool_symbols}" in_tool)
if(in_tool)
  message(FATAL_ERROR "${TOOL} carries the library's internals: ${in_tool}")
endif()

execute_process(COMMAND ${TOOL} --version RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT code EQUAL 0)
  message(FATAL_ERROR "${TOOL} --version: exit ${code}\nstdout: ${out}\nstderr: ${err}")
endif()
message(STATUS "${TOOL} needs ${soname}, finds it through its run path, and carries none of: ${internals}")
