# Runs the zandb4 tool as a user would and checks its output and exit codes.
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

function(run expected_code)
  execute_process(COMMAND ${TOOL} ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT code EQUAL expected_code)
    message(FATAL_ERROR "zandb4 ${ARGN}: exit ${code}, expected ${expected_code}\nstdout: ${out}\nstderr: ${err}")
  endif()
  set(out "${out}" PARENT_SCOPE)
  set(err "${err}" PARENT_SCOPE)
endfunction()

function(expect text haystack what)
  string(FIND "${haystack}" "${text}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${what} lacks '${text}':\n${haystack}")
  endif()
endfunction()

run(0 --help)
expect("usage: zandb4" "${out}" "--help output")
expect("exit codes" "${out}" "--help output")

run(1)
expect("usage: zandb4" "${err}" "usage error")
run(1 frobnicate ${WORK}/root)
expect("unknown command" "${err}" "unknown command error")

# info on a root that does not exist, and on a folder that holds no catalogue
run(2 info ${WORK}/missing)
expect("does not exist" "${err}" "missing root error")
file(MAKE_DIRECTORY ${WORK}/plain)
run(2 info ${WORK}/plain)
expect("holds no catalogue" "${err}" "non-catalogue error")
if(EXISTS ${WORK}/plain/database)
  message(FATAL_ERROR "info created a database folder")
endif()

# init makes the layout and lists it; info then lists the same
run(0 init ${WORK}/root)
expect("database/" "${out}" "init output")
expect("information/" "${out}" "init output")
if(NOT IS_DIRECTORY ${WORK}/root/database OR NOT IS_DIRECTORY ${WORK}/root/information)
  message(FATAL_ERROR "init did not make the folders")
endif()
expect("database/FileBasic.db  version 1201, page size 4096" "${out}" "init output")
expect("    file_table: 0 rows" "${out}" "init output")
expect("    main_image_cache_file_table: 0 rows" "${out}" "init output")
set(init_out "${out}")
run(0 info ${WORK}/root)
if(NOT out STREQUAL init_out)
  message(FATAL_ERROR "info differs from init:\n${out}\n---\n${init_out}")
endif()
expect("memos   0 entries" "${out}" "info output")

# stats on the new catalogue's empty usage log says so and succeeds; a bad
# month is bad usage; a root without a usage log is exit 2
run(0 stats ${WORK}/root)
expect("no launches or day values recorded" "${err}" "stats on an empty usage log")
run(1 stats ${WORK}/root --from 2024-13)
expect("is not a month" "${err}" "stats with a bad month")
run(1 stats ${WORK}/root --from 2024-05 --to 2024-04)
run(2 stats ${WORK}/plain)
expect("holds no usage log" "${err}" "stats without a usage log")

# applog on the new catalogue's empty application log lists its empty tables;
# a root without one is exit 2, and applog does not make it
run(0 applog ${WORK}/root)
expect("counters: 0 counters" "${out}" "applog on an empty application log")
run(2 applog ${WORK}/plain)
expect("holds no application log" "${err}" "applog without an application log")
if(EXISTS ${WORK}/plain/information)
  message(FATAL_ERROR "applog created an information folder")
endif()

# tags and albums on the new catalogue list nothing, say so, and succeed
run(0 tags ${WORK}/root)
expect("no tags" "${err}" "tags on an empty catalogue")
run(0 albums ${WORK}/root --json)
expect("[]" "${out}" "albums --json on an empty catalogue")
expect("no albums" "${err}" "albums on an empty catalogue")
run(1 ls ${WORK}/root --where tag=none)
expect("no tag is named 'none'" "${err}" "ls with an unknown tag")

# ls on the new, empty catalogue lists nothing, says so, and succeeds
run(0 ls ${WORK}/root)
if(NOT out STREQUAL "")
  message(FATAL_ERROR "ls on an empty catalogue printed:\n${out}")
endif()
expect("zandb4 ls: no files" "${err}" "ls on an empty catalogue")
run(0 ls ${WORK}/root --where format=3 --where favorite=yes)
run(1 ls ${WORK}/root --where colour=red)
expect("bad condition 'colour=red'" "${err}" "ls with a bad condition")

# a root that is a file
file(WRITE ${WORK}/afile "x")
run(2 init ${WORK}/afile)
run(2 info ${WORK}/afile)

# a store file that is not a database is reported, not fatal
file(WRITE ${WORK}/root/database/Broken.db "this is not a database")
run(0 info ${WORK}/root)
expect("database/Broken.db  not a database" "${out}" "info on a broken store")

# info lists every shard folder; a new catalogue has none of them
expect("shard folders\n  database/thumb_0s  thumb kind 1: missing\n" "${out}" "info's shard folders")
expect("  database/meta  large metadata: missing\n" "${out}" "info's shard folders")

# thumb: a missing thumbnail is exit 1 naming where it was looked for, and
# makes no folder; bad arguments are usage errors; -o is written only after
# a read that succeeded
run(0 thumb --help)
expect("usage: zandb4 thumb ROOT ID" "${out}" "thumb --help")
run(1 thumb ${WORK}/root 5 -o ${WORK}/t.jpg)
expect("database/thumb_0s: no thumbnail of kind 1 for file 5 (the folder does not exist)" "${err}" "thumb without a thumbnail")
if(EXISTS ${WORK}/root/database/thumb_0s OR EXISTS ${WORK}/t.jpg)
  message(FATAL_ERROR "thumb made a shard folder or an output file")
endif()
run(1 thumb ${WORK}/root -1)
expect("bad ID '-1'" "${err}" "thumb with a negative id")
run(1 thumb ${WORK}/root 18446744073709551616)
expect("bad ID '18446744073709551616'" "${err}" "thumb with an id past 2^64 - 1")
run(1 thumb ${WORK}/root 5 --kind 3)
expect("bad kind '3'" "${err}" "thumb with kind 3")
run(2 thumb ${WORK}/missing 5)
expect("does not exist" "${err}" "thumb on a missing root")
file(MAKE_DIRECTORY ${WORK}/root/database/thumb_0s)
file(WRITE ${WORK}/root/database/thumb_0s/BAC710CB.db "not a database")
run(4 thumb ${WORK}/root 18446744073709551615)
expect("database/thumb_0s/BAC710CB.db: not a database" "${err}" "thumb on a broken shard")
run(0 info ${WORK}/root)
expect("  database/thumb_0s  thumb kind 1: 1 shard file, 0 thumbnails; 1 unreadable" "${out}" "info on a broken shard")
expect("    database/thumb_0s/BAC710CB.db  not a database" "${out}" "info on a broken shard")
file(REMOVE_RECURSE ${WORK})
