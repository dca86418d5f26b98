# What `cmake --install` and the packages install, and where, as Debian does: man pages are compressed, completions are
# in the folders that the shells read, the manual and the examples are in the folder for documentation.
include(GNUInstallDirs)

install(TARGETS tarvel tarvel-check tarvel-json tarvel-split RUNTIME)
install(PROGRAMS src/meet/tarvel-meet web/tarvel-page TYPE BIN)
install(FILES ${tarvel_page_folder}/page.js ${tarvel_page_folder}/page.css ${tarvel_page_folder}/meet.js ${tarvel_page_folder}/meet.css
  src/meet/meet_page.py DESTINATION ${CMAKE_INSTALL_DATADIR}/tarvel/page)
if(TARGET tarvel_browser)
  install(FILES ${tarvel_browser_page} DESTINATION ${CMAKE_INSTALL_DATADIR}/tarvel)
endif()

# gzip -n stores neither name nor time: a package that is made twice has the same bytes.
find_program(TARVEL_GZIP gzip REQUIRED)

# tarvel_install_compressed(FILE NAME DESTINATION): installs FILE as NAME.gz.
function(tarvel_install_compressed file name destination)
  set(compressed ${PROJECT_BINARY_DIR}/compressed/${name}.gz)
  add_custom_command(OUTPUT ${compressed}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/compressed
    COMMAND ${TARVEL_GZIP} -9nc ${file} > ${compressed}
    DEPENDS ${file} VERBATIM)
  add_custom_target(compressed_${name} ALL DEPENDS ${compressed})
  install(FILES ${compressed} DESTINATION ${destination})
endfunction()

foreach(page tarvel.1 tarvel-check.1 tarvel-json.1 tarvel-meet.1 tarvel-page.1 tarvel-split.1 tarvel-tvl.5
    tarvel-course.5 tarvel-json.5)
  string(REGEX MATCH "[0-9]$" section ${page})
  configure_file(docs/man/${page}.in ${PROJECT_BINARY_DIR}/man/${page} @ONLY)
  tarvel_install_compressed(${PROJECT_BINARY_DIR}/man/${page} ${page} ${CMAKE_INSTALL_MANDIR}/man${section})
endforeach()

# One file completes all programs. bash-completion looks for the one named like the command.
install(FILES docs/completions/tarvel.bash RENAME tarvel DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/bash-completion)
foreach(program tarvel-check tarvel-json tarvel-meet tarvel-page tarvel-split)
  file(CREATE_LINK tarvel ${PROJECT_BINARY_DIR}/bash-completion/${program} SYMBOLIC)
endforeach()
install(DIRECTORY ${PROJECT_BINARY_DIR}/bash-completion/ DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES docs/completions/_tarvel DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
install(DIRECTORY docs/completions/ DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d FILES_MATCHING PATTERN *.fish)

# The manual links to nothing outside docs/. The architecture is of use with the source only.
install(DIRECTORY docs/ TYPE DOC PATTERN man EXCLUDE
  PATTERN completions EXCLUDE PATTERN CHANGELOG.md EXCLUDE
  PATTERN schema EXCLUDE PATTERN architecture.md EXCLUDE
  PATTERN layers.svg EXCLUDE)
# For programs that validate documents.
install(DIRECTORY docs/schema DESTINATION ${CMAKE_INSTALL_DATADIR}/tarvel)
install(DIRECTORY examples TYPE DOC)
install(FILES cmake/debian/copyright TYPE DOC)
tarvel_install_compressed(${PROJECT_SOURCE_DIR}/docs/releases/CHANGELOG.md changelog ${CMAKE_INSTALL_DOCDIR})

set(CPACK_PACKAGE_VENDOR "The developers of Tarvel")
set(CPACK_PACKAGE_CONTACT "The developers of Tarvel <developers@tarvel.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "analyser for the GPS tracks of canopy-piloting runs")
set(CPACK_PACKAGE_DESCRIPTION
"Tarvel surveys a walked swoop course and analyses runs over it: it finds
the turn, the rollout, the gates and the touchdown, and writes scores, a
report, a map as KML and two pages of charts as PDF.
.
tarvel-meet analyses all runs of a meet on every core and ranks them.
tarvel-check says how far each figure of a run can be trusted.
tarvel-json writes what was found in a run as JSON, for other programs.
tarvel-page shows runs in one HTML file. share/tarvel/tarvel.html is all of
Tarvel in a browser, on any system and without a network.
tarvel-split lists the jumps in the track of a day and writes each as a
track of its own.")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The charts ask for "arial"; these fonts have the same widths.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "fonts-liberation")
# tarvel-page and tarvel-meet are Python programs. tarvel-meet runs tarvel through GNU parallel, on other machines with
# rsync as well.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "parallel, python3")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "rsync")

# Debian requires a changelog of the package, with its date in the format of RFC 5322.
set(TARVEL_DEBIAN_REVISION ${CPACK_DEBIAN_PACKAGE_RELEASE})
execute_process(COMMAND env LC_ALL=C date --utc --rfc-email --date=${TARVEL_DATE}
  OUTPUT_VARIABLE TARVEL_DEBIAN_DATE OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
configure_file(cmake/debian/changelog.Debian.in ${PROJECT_BINARY_DIR}/changelog.Debian @ONLY)
tarvel_install_compressed(${PROJECT_BINARY_DIR}/changelog.Debian changelog.Debian ${CMAKE_INSTALL_DOCDIR})

set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION})
set(CPACK_SOURCE_IGNORE_FILES "/\\\\.git/" "^${PROJECT_SOURCE_DIR}/build/" "^${PROJECT_SOURCE_DIR}/demo/")
include(CPack)
