file(REMOVE_RECURSE
  "CMakeFiles/kelpra.dir/src/main.cpp.o"
  "CMakeFiles/kelpra.dir/src/main.cpp.o.d"
  "kelpra"
  "kelpra.pdb"
)

# Per-language clean rules from dependency scanning.
foreach(lang CXX)
  include(CMakeFiles/kelpra.dir/cmake_clean_${lang}.cmake OPTIONAL)
endforeach()
