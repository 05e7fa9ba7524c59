# Empty dependencies file for kelpra_core.
# This may be replaced when dependencies are built.
