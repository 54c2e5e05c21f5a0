# What Debian expects in a package, run by cpack on the folders that it packs.
set(debian ${CMAKE_CURRENT_LIST_DIR}/debian)
set(staged ${CPACK_TEMPORARY_DIRECTORY})

function(compress)
  execute_process(COMMAND gzip -9nf ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# A file that refers to the licence takes the place of its text, which every Debian system has.
file(GLOB_RECURSE copyrights ${staged}/copyright)
foreach(copyright IN LISTS copyrights)
  file(COPY_FILE ${debian}/copyright ${copyright})
  get_filename_component(folder ${copyright} DIRECTORY)
  file(COPY_FILE ${debian}/changelog ${folder}/changelog)
  compress(${folder}/changelog)
endforeach()
file(GLOB_RECURSE pages ${staged}/*.1)
list(FILTER pages INCLUDE REGEX "/share/man/")
if(pages)
  compress(${pages})
endif()
