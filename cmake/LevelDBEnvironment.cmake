# leveldb_environment: the example's storage environment, which the benchmarks use too, where LevelDB is. It is
# found by its file, as its CMake package asks for more than a program has to link.
include_guard(GLOBAL)
set(zukel_leveldb_parts
  Background.cpp
  Environment.cpp
  Files.cpp
  Log.cpp)
list(TRANSFORM zukel_leveldb_parts PREPEND leveldbenv/)
find_path(ZUKEL_LEVELDB_INCLUDE leveldb/env.h)
find_library(ZUKEL_LEVELDB_LIBRARY leveldb)
mark_as_advanced(ZUKEL_LEVELDB_INCLUDE ZUKEL_LEVELDB_LIBRARY)
if(NOT ZUKEL_LEVELDB_INCLUDE OR NOT ZUKEL_LEVELDB_LIBRARY)
  message(STATUS "LevelDB was not found (libleveldb-dev): what stands on it is left out")
  return()
endif()
add_library(leveldb_environment STATIC)
list(TRANSFORM zukel_leveldb_parts PREPEND ${PROJECT_SOURCE_DIR}/examples/ OUTPUT_VARIABLE zukel_leveldb_files)
target_sources(leveldb_environment PRIVATE ${zukel_leveldb_files})
target_include_directories(leveldb_environment PUBLIC ${PROJECT_SOURCE_DIR}/examples)
target_include_directories(leveldb_environment SYSTEM PUBLIC ${ZUKEL_LEVELDB_INCLUDE})
target_link_libraries(leveldb_environment PUBLIC zukel::zukel ${ZUKEL_LEVELDB_LIBRARY} Threads::Threads)
