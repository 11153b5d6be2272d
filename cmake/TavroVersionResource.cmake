# A version resource for a Windows binary of the product, so that Explorer, installers and support
# tools see which version a file is.
#   tavro_version_resource(TARGET FILE_NAME FILE_TYPE DESCRIPTION VERSION)
# FILE_TYPE is VFT_DLL or VFT_APP; VERSION is MAJOR.MINOR.PATCH. The installer's upgrade test
# builds the same binaries again under the next version, which is why the version is an argument.
function(tavro_version_resource target file_name file_type description version)
  string(REPLACE "." ";" numbers ${version})
  list(GET numbers 0 rc_major)
  list(GET numbers 1 rc_minor)
  list(GET numbers 2 rc_patch)
  set(rc_version ${version})
  set(rc_file_type ${file_type})
  set(rc_file_name ${file_name})
  set(rc_description ${description})
  get_filename_component(rc_name ${file_name} NAME_WE)
  set(rc ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${rc} @ONLY)
  target_sources(${target} PRIVATE ${rc})
endfunction()
