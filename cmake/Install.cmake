# What is installed where; the component of a file is the package that it goes into.
include(GNUInstallDirs)
