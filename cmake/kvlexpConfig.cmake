# find_package(kvlexp): the installed program and kvl_export_scenes.
get_filename_component(_kvlexp_prefix "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
set(KVLEXP_PROGRAM "${_kvlexp_prefix}/bin/kvlexp" CACHE FILEPATH "the kvlexp program that exports scenes")
unset(_kvlexp_prefix)
include("${CMAKE_CURRENT_LIST_DIR}/KvlExport.cmake")
