file(REMOVE_RECURSE
  "libkelpra_core.a"
)
