# Empty dependencies file for kelpra.
# This may be replaced when dependencies are built.
