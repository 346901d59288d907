# Installs the library into a scratch prefix, builds the host in this directory against it, once with find_package and once
# with pkg-config, and the examples, and runs them all on a LAS file that ptcloud writes.
#
#   cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DEXAMPLES_DIR=... -DWORK_DIR=... -DPTCLOUD=... -DWORKER=... -DCXX=... -DFLAGS=... -P run.cmake

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}\nended with ${result}:\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix)
run(${PTCLOUD} demo-las ${WORK_DIR}/survey.las --points 1000)

function(build source build)
  run(${CMAKE_COMMAND} -S ${source} -B ${build} -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=${CXX}
    "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror ${FLAGS}" -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix)
  run(${CMAKE_COMMAND} --build ${build})
endfunction()
macro(expect pattern)
  run(${ARGN})
  if(NOT output MATCHES "${pattern}")
    message(FATAL_ERROR "${ARGN}\nsaid:\n${output}")
  endif()
endmacro()

build(${SOURCE_DIR} ${WORK_DIR}/host-build)
expect("points in block 1" ${WORK_DIR}/host-build/host ${WORK_DIR}/survey.las ${WORK_DIR}/survey.blk)
expect("all [0-9]+ names are there\n$" ${WORK_DIR}/host-build/interface)

set(examples ${WORK_DIR}/examples-build)
build(${EXAMPLES_DIR} ${examples})
expect("opened again:\n  quarry: 1000 points" ${examples}/01-first-project ${WORK_DIR}/project ${WORK_DIR}/survey.las)
expect("after: [1-9]" ${examples}/02-edit-in-memory ${WORK_DIR}/survey.blk ${WORK_DIR}/edited.blk)
expect("points inside, the highest at" ${examples}/03-blocks-of-a-region ${WORK_DIR}/survey.blk 1000 1000 1005 1005)
# With a worker that plays a script, beside the program.
file(COPY ${WORKER} DESTINATION ${examples})
file(WRITE ${WORK_DIR}/script "value 100\ntext half way\nwait 300\ncopy\nexit 0\n")
file(WRITE ${WORK_DIR}/slow-script "text without end\nhang\n")
set(ENV{XDG_DATA_HOME} ${WORK_DIR}/home)
set(ENV{SCRIPTED_WORKER} ${WORK_DIR}/slow-script)
expect("without end\ncancelled" ${examples}/04-progress-and-cancel ${WORK_DIR}/project quarry 1)
set(ENV{SCRIPTED_WORKER} ${WORK_DIR}/script)
expect("100 of 255  half way\ndone" ${examples}/04-progress-and-cancel ${WORK_DIR}/project quarry 60)
expect("cells of 0.5 x 0.5, dig" ${examples}/05-volumes ${WORK_DIR}/survey.blk)

file(GLOB_RECURSE pc_file ${WORK_DIR}/prefix/*/points_cloud.pc)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
get_filename_component(lib_dir ${pc_dir} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
run(pkg-config --cflags --libs points_cloud)
separate_arguments(pkg_flags UNIX_COMMAND "${output}")
separate_arguments(extra_flags UNIX_COMMAND "${FLAGS}")
run(${CXX} -std=c++17 -fPIC ${extra_flags} ${SOURCE_DIR}/host.cpp -o ${WORK_DIR}/pkg-host ${pkg_flags}
  -Wl,-rpath,${lib_dir} -Wl,-rpath-link,${lib_dir})
run(${WORK_DIR}/pkg-host ${WORK_DIR}/survey.las ${WORK_DIR}/survey.blk)

run(${WORK_DIR}/prefix/bin/ptcloud dump ${WORK_DIR}/survey.blk)
# The installed worker, where there is one, needs nothing but the prefix that it lies in.
if(EXISTS ${WORK_DIR}/prefix/bin/open3d_wrapper)
  unset(ENV{LD_LIBRARY_PATH})
  expect("[1-9][0-9 ]* triangles in 1 blocks" ${WORK_DIR}/prefix/bin/ptcloud mesh quarry hill --method ball-pivoting
    -p ${WORK_DIR}/project)
endif()
