# Installs the build into a fresh prefix and uses it as a client would:
# checks the installed files (the library's soname link chain, the headers,
# the CMake package, zandb4.pc, the tool, and nothing else), then builds the
# README's client example twice against the prefix, once through
# find_package and once through pkg-config, and runs both on one catalogue
# root. Before anything, the example file must be the README's code block.
# Run with -P and:
#   BUILD_DIR SOURCE_DIR WORK    the build tree, the sources, a scratch folder
#   LIBDIR BINDIR INCLUDEDIR     the install folders, relative to the prefix
#   VERSION SOVERSION            the library's version and soname number
#   GENERATOR MAKE_PROGRAM CXX   for building the example
#   CLIENT_FLAGS                 compile and link flags the client needs
#                                (the sanitizer flags in a sanitizer build)
#   PKG_CONFIG                   the pkg-config program
cmake_minimum_required(VERSION 3.25)

function(fail text)
  message(FATAL_ERROR "${text}")
endfunction()

# Runs a command; stops the test unless it exits with expected_code. Leaves
# its output in out and err.
function(run expected_code)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE output ERROR_VARIABLE error)
  if(NOT code STREQUAL expected_code)
    string(JOIN " " command ${ARGN})
    fail("${command}\nexit ${code}, expected ${expected_code}\nstdout:\n${output}\nstderr:\n${error}")
  endif()
  set(out "${output}" PARENT_SCOPE)
  set(err "${error}" PARENT_SCOPE)
endfunction()

function(expect_contains text haystack what)
  string(FIND "${haystack}" "${text}" at)
  if(at EQUAL -1)
    fail("${what} lacks '${text}':\n${haystack}")
  endif()
endfunction()

function(expect_equal actual expected what)
  if(NOT "${actual}" STREQUAL "${expected}")
    fail("${what}:\n'${actual}'\nexpected\n'${expected}'")
  endif()
endfunction()

# The README's example and examples/client/client.cpp must not drift apart:
# the first cpp block of the section "## Using the library" is the file,
# character for character.
file(READ ${SOURCE_DIR}/README.md readme)
file(READ ${SOURCE_DIR}/examples/client/client.cpp example)
string(FIND "${readme}" "\n## Using the library\n" section)
if(section EQUAL -1)
  fail("README.md has no section '## Using the library'")
endif()
string(SUBSTRING "${readme}" ${section} -1 readme)
string(FIND "${readme}" "\n```cpp\n" begin)
string(FIND "${readme}" "\n```\n" end)
if(begin EQUAL -1 OR end LESS begin)
  fail("README.md's section '## Using the library' has no ```cpp block")
endif()
math(EXPR begin "${begin} + 8")
math(EXPR length "${end} + 1 - ${begin}")
string(SUBSTRING "${readme}" ${begin} ${length} block)
if(NOT block STREQUAL example)
  file(WRITE ${WORK}-readme-block.cpp "${block}")
  fail("README.md's client example differs from examples/client/client.cpp; the README's block is in \
${WORK}-readme-block.cpp (diff the two)")
endif()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
set(prefix ${WORK}/prefix)
set(libdir ${prefix}/${LIBDIR})

# DESTDIR would put the files below another folder than the prefix.
run(0 ${CMAKE_COMMAND} -E env --unset=DESTDIR ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# What is installed, and nothing more: the library as a file named by its
# full version with the soname link to it and the link a linker looks for,
# the tool, every public header in its place, the package files and the .pc.
set(expected
    ${BINDIR}/zandb4
    ${LIBDIR}/libzandb4.so
    ${LIBDIR}/libzandb4.so.${SOVERSION}
    ${LIBDIR}/libzandb4.so.${VERSION}
    ${LIBDIR}/cmake/ZanDB4/ZanDB4Config.cmake
    ${LIBDIR}/cmake/ZanDB4/ZanDB4ConfigVersion.cmake
    ${LIBDIR}/cmake/ZanDB4/ZanDB4Targets.cmake
    ${LIBDIR}/pkgconfig/zandb4.pc)
file(GLOB public_headers RELATIVE ${SOURCE_DIR}/include ${SOURCE_DIR}/include/*.h ${SOURCE_DIR}/include/zandb4/*.h)
list(LENGTH public_headers header_count)
if(header_count LESS 10)
  fail("only ${header_count} public headers found under ${SOURCE_DIR}/include: ${public_headers}")
endif()
foreach(header ${public_headers})
  list(APPEND expected ${INCLUDEDIR}/${header})
  file(READ ${SOURCE_DIR}/include/${header} source_text)
  file(READ ${prefix}/${INCLUDEDIR}/${header} installed_text)
  if(NOT source_text STREQUAL installed_text)
    fail("${prefix}/${INCLUDEDIR}/${header} is not include/${header}")
  endif()
endforeach()
file(GLOB_RECURSE installed LIST_DIRECTORIES false RELATIVE ${prefix} ${prefix}/*)
foreach(file ${installed})
  # One file of imported locations per build type (ZanDB4Targets-debug.cmake).
  if(file MATCHES "^${LIBDIR}/cmake/ZanDB4/ZanDB4Targets-[a-z]+\\.cmake$")
    set(per_configuration ${file})
    continue()
  endif()
  list(FIND expected ${file} at)
  if(at EQUAL -1)
    fail("installed but not expected: ${file}")
  endif()
endforeach()
foreach(file ${expected})
  if(NOT EXISTS ${prefix}/${file})
    fail("not installed: ${file}")
  endif()
endforeach()
if(NOT per_configuration)
  fail("no ZanDB4Targets-<build type>.cmake installed")
endif()

file(READ_SYMLINK ${libdir}/libzandb4.so link)
expect_equal("${link}" libzandb4.so.${SOVERSION} "libzandb4.so points to")
file(READ_SYMLINK ${libdir}/libzandb4.so.${SOVERSION} link)
expect_equal("${link}" libzandb4.so.${VERSION} "libzandb4.so.${SOVERSION} points to")
if(IS_SYMLINK ${libdir}/libzandb4.so.${VERSION})
  fail("${libdir}/libzandb4.so.${VERSION} is a link, not the library")
endif()
run(0 readelf -d ${libdir}/libzandb4.so.${VERSION})
if(NOT out MATCHES "\\(SONAME\\)[^\n]*\\[([^]\n]*)\\]")
  fail("the installed library has no SONAME:\n${out}")
endif()
expect_equal("${CMAKE_MATCH_1}" libzandb4.so.${SOVERSION} "the installed library's SONAME")

# The package points into the prefix only, relative to its own place (it
# may move), and asks for no other package: a client needs no SQLite.
file(READ ${prefix}/${LIBDIR}/cmake/ZanDB4/ZanDB4Targets.cmake targets)
file(READ ${prefix}/${per_configuration} locations)
file(READ ${prefix}/${LIBDIR}/cmake/ZanDB4/ZanDB4Config.cmake config)
foreach(text targets locations config)
  foreach(tree ${BUILD_DIR} ${SOURCE_DIR} ${prefix})
    string(FIND "${${text}}" "${tree}" at)
    if(NOT at EQUAL -1)
      fail("the installed package names ${tree}:\n${${text}}")
    endif()
  endforeach()
  foreach(other find_dependency find_package SQLite:: Threads:: sqlite3)
    string(FIND "${${text}}" "${other}" at)
    if(NOT at EQUAL -1)
      fail("the installed package names ${other}:\n${${text}}")
    endif()
  endforeach()
endforeach()
expect_contains("add_library(ZanDB4::zandb4 SHARED IMPORTED)" "${targets}" "ZanDB4Targets.cmake")

# The version file takes any request of the same major version, up to this
# one, and turns down the others.
function(expect_version_answer requested compatible)
  set(PACKAGE_FIND_VERSION ${requested})
  string(REPLACE "." ";" parts ${requested})
  list(GET parts 0 PACKAGE_FIND_VERSION_MAJOR)
  include(${prefix}/${LIBDIR}/cmake/ZanDB4/ZanDB4ConfigVersion.cmake)
  expect_equal("${PACKAGE_VERSION}" "${VERSION}" "the package's version")
  if(compatible AND NOT PACKAGE_VERSION_COMPATIBLE OR NOT compatible AND PACKAGE_VERSION_COMPATIBLE)
    fail("ZanDB4ConfigVersion.cmake answers ${PACKAGE_VERSION_COMPATIBLE} to a request for ${requested}")
  endif()
endfunction()
expect_version_answer(${SOVERSION} TRUE)
expect_version_answer(${VERSION} TRUE)
math(EXPR next_major "${SOVERSION} + 1")
math(EXPR previous_major "${SOVERSION} - 1")
expect_version_answer(${next_major}.0 FALSE)
expect_version_answer(${previous_major}.0 FALSE)
expect_version_answer(${SOVERSION}.99 FALSE)

# The installed tool finds the installed library through its own run path,
# relative to where it lies, and not through the build tree.
run(0 readelf -d ${prefix}/${BINDIR}/zandb4)
if(NOT out MATCHES "\\((RUNPATH|RPATH)\\)[^\n]*\\[([^]\n]*)\\]")
  fail("the installed tool has no run path:\n${out}")
endif()
set(tool_run_path "${CMAKE_MATCH_2}")
expect_contains("$ORIGIN/" "${tool_run_path}" "the installed tool's run path")
string(FIND "${tool_run_path}" "${BUILD_DIR}" at)
if(NOT at EQUAL -1)
  fail("the installed tool's run path names the build tree: ${tool_run_path}")
endif()

# ldd says where each program's libzandb4 comes from, with LD_LIBRARY_PATH
# unset so that only the program's own run path counts.
function(expect_installed_library program)
  run(0 ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ldd ${program})
  if(NOT out MATCHES "libzandb4\\.so\\.${SOVERSION} => ([^ \n]+)")
    fail("ldd does not find libzandb4.so.${SOVERSION} for ${program}:\n${out}")
  endif()
  file(REAL_PATH ${CMAKE_MATCH_1} found)
  file(REAL_PATH ${libdir}/libzandb4.so.${VERSION} wanted)
  expect_equal("${found}" "${wanted}" "the libzandb4 ${program} loads")
endfunction()

expect_installed_library(${prefix}/${BINDIR}/zandb4)
run(0 ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${prefix}/${BINDIR}/zandb4 --version)
expect_contains("${VERSION}" "${out}" "zandb4 --version")
run(0 ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${prefix}/${BINDIR}/zandb4 --help)
expect_contains("usage: zandb4" "${out}" "zandb4 --help")

# The example through find_package. Warnings are errors here too, so that
# the README shows clean code.
set(warnings -Wall -Wextra -Wpedantic -Werror)
string(JOIN " " client_cxx_flags ${warnings} ${CLIENT_FLAGS})
string(JOIN " " client_link_flags ${CLIENT_FLAGS})
run(0 ${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/client -B ${WORK}/client-cmake -G ${GENERATOR}
    -DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM} -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_BUILD_TYPE=Debug
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
    "-DCMAKE_CXX_FLAGS=${client_cxx_flags}" "-DCMAKE_EXE_LINKER_FLAGS=${client_link_flags}")
file(STRINGS ${WORK}/client-cmake/CMakeCache.txt package_dir REGEX "^ZanDB4_DIR:")
expect_equal("${package_dir}" "ZanDB4_DIR:PATH=${libdir}/cmake/ZanDB4" "the package find_package found")
run(0 ${CMAKE_COMMAND} --build ${WORK}/client-cmake)
set(client_cmake ${WORK}/client-cmake/client)

# The example through pkg-config, with the run path of the library folder
# that pkg-config names, as a client of a prefix outside the linker's own
# search path builds it. Only zandb4.pc is visible to pkg-config.
set(pkg_env ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${libdir}/pkgconfig PKG_CONFIG_LIBDIR=${libdir}/pkgconfig)
run(0 ${pkg_env} ${PKG_CONFIG} --modversion zandb4)
expect_equal("${out}" "${VERSION}\n" "pkg-config --modversion zandb4")
run(0 ${pkg_env} ${PKG_CONFIG} --variable=libdir zandb4)
string(STRIP "${out}" pc_libdir)
expect_equal("${pc_libdir}" "${libdir}" "zandb4.pc's libdir")
run(0 ${pkg_env} ${PKG_CONFIG} --cflags --libs zandb4)
string(STRIP "${out}" pc_flags)
expect_equal("${pc_flags}" "-I${prefix}/${INCLUDEDIR} -L${libdir} -lzandb4" "pkg-config --cflags --libs zandb4")
# What the library links itself shows only for a static link.
run(0 ${pkg_env} ${PKG_CONFIG} --static --libs zandb4)
expect_contains("-lzandb4 -lsqlite3 -pthread" "${out}" "pkg-config --static --libs zandb4")
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
set(client_pkg_config ${WORK}/client-pkg-config)
run(0 ${CXX} ${warnings} ${CLIENT_FLAGS} ${SOURCE_DIR}/examples/client/client.cpp -o ${client_pkg_config} ${pc_flags}
    -Wl,-rpath,${pc_libdir})

expect_installed_library(${client_cmake})
expect_installed_library(${client_pkg_config})

# Both on one catalogue root: each run adds an import run, so the second
# reads back two, written by another process; the camera list gets its
# picture once.
set(root ${WORK}/catalogue)
set(camera ${WORK}/camera)
file(MAKE_DIRECTORY ${camera})
# The camera list's cross-process lock file lies in XDG_RUNTIME_DIR, else in
# /tmp, where another user's lock file of the same name may already lie and
# not be open to this one. A folder of the test's own keeps it apart, as a
# user's session does.
file(MAKE_DIRECTORY ${WORK}/runtime)
set(client_env ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH XDG_RUNTIME_DIR=${WORK}/runtime)
run(0 ${client_env} ${client_cmake} ${root} ${camera})
expect_equal("${out}" "import runs: 1\ncamera files: 1\n" "the find_package client's output")
expect_equal("${err}" "" "the find_package client's errors")
run(0 ${client_env} ${client_pkg_config} ${root} ${camera})
expect_equal("${out}" "import runs: 2\ncamera files: 1\n" "the pkg-config client's output")
expect_equal("${err}" "" "the pkg-config client's errors")
foreach(file ${root}/database/FileBasic.db ${camera}/TethraDB.db)
  if(NOT EXISTS ${file})
    fail("the client made no ${file}")
  endif()
endforeach()

# Wrong use is told and fails: no arguments, and a root where no catalogue
# can be made (a plain file; its "database" folder fails for root too).
run(2 ${client_env} ${client_cmake})
expect_contains("usage: " "${err}" "the client without arguments")
file(WRITE ${WORK}/plain-file "not a folder\n")
run(1 ${client_env} ${client_pkg_config} ${WORK}/plain-file ${camera})
expect_contains("ZanDB4_Initialize failed" "${err}" "the client on a plain file as root")

# The prefix may move: the tool still finds the library beside it, and the
# package still names its own folders.
set(moved ${WORK}/moved-prefix)
file(RENAME ${prefix} ${moved})
set(libdir ${moved}/${LIBDIR})
expect_installed_library(${moved}/${BINDIR}/zandb4)
run(0 ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${moved}/${BINDIR}/zandb4 --version)
expect_contains("${VERSION}" "${out}" "zandb4 --version in the moved prefix")
run(0 ${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/client -B ${WORK}/client-moved -G ${GENERATOR}
    -DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM} -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_PREFIX_PATH=${moved}
    -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF "-DCMAKE_CXX_FLAGS=${client_cxx_flags}"
    "-DCMAKE_EXE_LINKER_FLAGS=${client_link_flags}")
run(0 ${CMAKE_COMMAND} --build ${WORK}/client-moved)
expect_installed_library(${WORK}/client-moved/client)

message(STATUS "installed into ${prefix}; the README's example built through find_package and pkg-config and ran")
