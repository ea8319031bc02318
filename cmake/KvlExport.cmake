# kvl_export_scenes: scenes turned into KVL files as part of a CMake build.
#
#   kvl_export_scenes(TARGET name
#                     SCENES a.gltf b.fbx ...
#                     OUTPUT_DIR dir
#                     [SETTINGS kvlexp.ini]
#                     [TXT])
#
# Each scene becomes one custom command that runs `kvlexp export` and writes
# OUTPUT_DIR/STEM.kvl (STEM.txt with TXT), and TARGET (built by default)
# builds them all. Each command writes a depfile naming every file its export
# read, so Ninja runs it again only when one of those changed, and runs the
# commands side by side.
#
# An export reads its settings from kvlexp.ini beside its output. That file
# is made here, by a command of the build: from SETTINGS when given,
# otherwise with the exporter's defaults. It is written as an export saves
# it, so the exports, which save their settings on every run, leave it
# untouched and no export dirties another. Drive C, where the exporter keeps
# its fixed files (the log), is OUTPUT_DIR/.drive-c, so a build never reads
# or writes the settings of whoever runs it.
#
# The program is KVLEXP_PROGRAM: a path, or the target kvlexp when the
# project builds it; find_package(kvlexp) sets it to the installed program.
include_guard(GLOBAL)

function(kvl_export_scenes)
  cmake_parse_arguments(PARSE_ARGV 0 ARG "TXT" "TARGET;OUTPUT_DIR;SETTINGS" "SCENES")
  if(ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "kvl_export_scenes: unknown arguments: ${ARG_UNPARSED_ARGUMENTS}")
  endif()
  foreach(required TARGET OUTPUT_DIR SCENES)
    if(NOT ARG_${required})
      message(FATAL_ERROR "kvl_export_scenes: ${required} is missing")
    endif()
  endforeach()

  if(TARGET kvlexp)
    set(program kvlexp)
    set(program_file $<TARGET_FILE:kvlexp>)
  elseif(KVLEXP_PROGRAM)
    set(program ${KVLEXP_PROGRAM})
    set(program_file ${KVLEXP_PROGRAM})
  else()
    message(FATAL_ERROR "kvl_export_scenes: no kvlexp: call find_package(kvlexp) or set KVLEXP_PROGRAM")
  endif()

  cmake_path(ABSOLUTE_PATH ARG_OUTPUT_DIR BASE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR} NORMALIZE
             OUTPUT_VARIABLE out_dir)
  set(drive_c ${out_dir}/.drive-c)
  file(MAKE_DIRECTORY ${out_dir} ${drive_c})
  set(extension kvl)
  if(ARG_TXT)
    set(extension txt)
  endif()

  set(settings_file ${out_dir}/kvlexp.ini)
  if(ARG_SETTINGS)
    cmake_path(ABSOLUTE_PATH ARG_SETTINGS BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE
               OUTPUT_VARIABLE settings_source)
    set(settings_command ${program} settings ${settings_file} --from ${settings_source})
  else()
    set(settings_source "")
    set(settings_command ${program} settings ${settings_file})
  endif()
  # kvlexp leaves a settings file that already says the same untouched, and
  # CMake's custom commands are restat ones for Ninja: a touched SETTINGS
  # with the same values, or a new kvlexp, reruns no export for its sake.
  add_custom_command(
    OUTPUT ${settings_file}
    COMMAND ${settings_command}
    DEPENDS ${settings_source} ${program_file}
    COMMENT "Settings for the scenes of ${ARG_TARGET}"
    VERBATIM)

  set(outputs "")
  set(stems "")
  foreach(scene IN LISTS ARG_SCENES)
    cmake_path(ABSOLUTE_PATH scene BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE OUTPUT_VARIABLE scene_path)
    cmake_path(GET scene_path STEM LAST_ONLY stem)
    if(stem IN_LIST stems)
      message(FATAL_ERROR "kvl_export_scenes: two scenes named ${stem} would both write ${stem}.${extension}")
    endif()
    list(APPEND stems ${stem})
    set(output ${out_dir}/${stem}.${extension})
    add_custom_command(
      OUTPUT ${output}
      COMMAND ${program} export ${scene_path} ${output} --depfile ${output}.d --drive-c ${drive_c}
      DEPENDS ${scene_path} ${settings_file} ${program_file}
      DEPFILE ${output}.d
      WORKING_DIRECTORY ${out_dir}
      COMMENT "Exporting ${scene} to ${stem}.${extension}"
      VERBATIM)
    list(APPEND outputs ${output})
  endforeach()
  add_custom_target(${ARG_TARGET} ALL DEPENDS ${outputs})
endfunction()
