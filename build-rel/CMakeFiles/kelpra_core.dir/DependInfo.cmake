
# Consider dependencies only in project.
set(CMAKE_DEPENDS_IN_PROJECT_ONLY OFF)

# The set of languages for which implicit dependencies are needed:
set(CMAKE_DEPENDS_LANGUAGES
  )

# The set of dependency files which are needed:
set(CMAKE_DEPENDS_DEPENDENCY_FILES
  "/tmp/wt/rank/src/functional/belonging.cpp" "CMakeFiles/kelpra_core.dir/src/functional/belonging.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/functional/belonging.cpp.o.d"
  "/tmp/wt/rank/src/functional/diversity.cpp" "CMakeFiles/kelpra_core.dir/src/functional/diversity.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/functional/diversity.cpp.o.d"
  "/tmp/wt/rank/src/functional/settings.cpp" "CMakeFiles/kelpra_core.dir/src/functional/settings.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/functional/settings.cpp.o.d"
  "/tmp/wt/rank/src/functional/smoothing.cpp" "CMakeFiles/kelpra_core.dir/src/functional/smoothing.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/functional/smoothing.cpp.o.d"
  "/tmp/wt/rank/src/numeric/adjust.cpp" "CMakeFiles/kelpra_core.dir/src/numeric/adjust.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/numeric/adjust.cpp.o.d"
  "/tmp/wt/rank/src/numeric/congruence.cpp" "CMakeFiles/kelpra_core.dir/src/numeric/congruence.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/numeric/congruence.cpp.o.d"
  "/tmp/wt/rank/src/numeric/gower.cpp" "CMakeFiles/kelpra_core.dir/src/numeric/gower.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/numeric/gower.cpp.o.d"
  "/tmp/wt/rank/src/numeric/information.cpp" "CMakeFiles/kelpra_core.dir/src/numeric/information.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/numeric/information.cpp.o.d"
  "/tmp/wt/rank/src/numeric/matrix.cpp" "CMakeFiles/kelpra_core.dir/src/numeric/matrix.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/numeric/matrix.cpp.o.d"
  "/tmp/wt/rank/src/numeric/ordination.cpp" "CMakeFiles/kelpra_core.dir/src/numeric/ordination.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/numeric/ordination.cpp.o.d"
  "/tmp/wt/rank/src/numeric/random.cpp" "CMakeFiles/kelpra_core.dir/src/numeric/random.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/numeric/random.cpp.o.d"
  "/tmp/wt/rank/src/numeric/regression.cpp" "CMakeFiles/kelpra_core.dir/src/numeric/regression.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/numeric/regression.cpp.o.d"
  "/tmp/wt/rank/src/numeric/resemblance.cpp" "CMakeFiles/kelpra_core.dir/src/numeric/resemblance.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/numeric/resemblance.cpp.o.d"
  "/tmp/wt/rank/src/numeric/sort.cpp" "CMakeFiles/kelpra_core.dir/src/numeric/sort.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/numeric/sort.cpp.o.d"
  "/tmp/wt/rank/src/numeric/statistics.cpp" "CMakeFiles/kelpra_core.dir/src/numeric/statistics.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/numeric/statistics.cpp.o.d"
  "/tmp/wt/rank/src/ranking/criteria.cpp" "CMakeFiles/kelpra_core.dir/src/ranking/criteria.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/ranking/criteria.cpp.o.d"
  "/tmp/wt/rank/src/ranking/intermediate.cpp" "CMakeFiles/kelpra_core.dir/src/ranking/intermediate.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/ranking/intermediate.cpp.o.d"
  "/tmp/wt/rank/src/ranking/matrices.cpp" "CMakeFiles/kelpra_core.dir/src/ranking/matrices.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/ranking/matrices.cpp.o.d"
  "/tmp/wt/rank/src/ranking/packed.cpp" "CMakeFiles/kelpra_core.dir/src/ranking/packed.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/ranking/packed.cpp.o.d"
  "/tmp/wt/rank/src/ranking/ranking.cpp" "CMakeFiles/kelpra_core.dir/src/ranking/ranking.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/ranking/ranking.cpp.o.d"
  "/tmp/wt/rank/src/ranking/record.cpp" "CMakeFiles/kelpra_core.dir/src/ranking/record.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/ranking/record.cpp.o.d"
  "/tmp/wt/rank/src/ranking/report.cpp" "CMakeFiles/kelpra_core.dir/src/ranking/report.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/ranking/report.cpp.o.d"
  "/tmp/wt/rank/src/ranking/search.cpp" "CMakeFiles/kelpra_core.dir/src/ranking/search.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/ranking/search.cpp.o.d"
  "/tmp/wt/rank/src/ranking/settings.cpp" "CMakeFiles/kelpra_core.dir/src/ranking/settings.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/ranking/settings.cpp.o.d"
  "/tmp/wt/rank/src/session/checks.cpp" "CMakeFiles/kelpra_core.dir/src/session/checks.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/session/checks.cpp.o.d"
  "/tmp/wt/rank/src/session/datafile.cpp" "CMakeFiles/kelpra_core.dir/src/session/datafile.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/session/datafile.cpp.o.d"
  "/tmp/wt/rank/src/session/formda.cpp" "CMakeFiles/kelpra_core.dir/src/session/formda.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/session/formda.cpp.o.d"
  "/tmp/wt/rank/src/session/rawdata.cpp" "CMakeFiles/kelpra_core.dir/src/session/rawdata.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/session/rawdata.cpp.o.d"
  "/tmp/wt/rank/src/session/session.cpp" "CMakeFiles/kelpra_core.dir/src/session/session.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/session/session.cpp.o.d"
  "/tmp/wt/rank/src/session/track.cpp" "CMakeFiles/kelpra_core.dir/src/session/track.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/session/track.cpp.o.d"
  "/tmp/wt/rank/src/shell/arrays.cpp" "CMakeFiles/kelpra_core.dir/src/shell/arrays.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/shell/arrays.cpp.o.d"
  "/tmp/wt/rank/src/shell/complaint.cpp" "CMakeFiles/kelpra_core.dir/src/shell/complaint.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/shell/complaint.cpp.o.d"
  "/tmp/wt/rank/src/shell/console.cpp" "CMakeFiles/kelpra_core.dir/src/shell/console.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/shell/console.cpp.o.d"
  "/tmp/wt/rank/src/shell/failure.cpp" "CMakeFiles/kelpra_core.dir/src/shell/failure.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/shell/failure.cpp.o.d"
  "/tmp/wt/rank/src/shell/files.cpp" "CMakeFiles/kelpra_core.dir/src/shell/files.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/shell/files.cpp.o.d"
  "/tmp/wt/rank/src/shell/macro.cpp" "CMakeFiles/kelpra_core.dir/src/shell/macro.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/shell/macro.cpp.o.d"
  "/tmp/wt/rank/src/shell/mainmenu.cpp" "CMakeFiles/kelpra_core.dir/src/shell/mainmenu.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/shell/mainmenu.cpp.o.d"
  "/tmp/wt/rank/src/shell/preferences.cpp" "CMakeFiles/kelpra_core.dir/src/shell/preferences.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/shell/preferences.cpp.o.d"
  "/tmp/wt/rank/src/shell/prompts.cpp" "CMakeFiles/kelpra_core.dir/src/shell/prompts.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/shell/prompts.cpp.o.d"
  "/tmp/wt/rank/src/shell/scanners.cpp" "CMakeFiles/kelpra_core.dir/src/shell/scanners.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/shell/scanners.cpp.o.d"
  "/tmp/wt/rank/src/shell/table.cpp" "CMakeFiles/kelpra_core.dir/src/shell/table.cpp.o" "gcc" "CMakeFiles/kelpra_core.dir/src/shell/table.cpp.o.d"
  )

# Targets to which this target links.
set(CMAKE_TARGET_LINKED_INFO_FILES
  )

# Fortran module output directory.
set(CMAKE_Fortran_TARGET_MODULE_DIR "")
